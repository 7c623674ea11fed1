// SPDX-License-Identifier: Apache-2.0
#include "tools/render/block_renderer.h"

#include <algorithm>
#include <vector>

#include "tools/render/pose.h"

namespace render {
namespace {

constexpr size_t kPoseFrames = kEffectRateHz / 100;  // longest fade from pose to pose: 10 ms

double seconds(uint64_t frames) { return static_cast<double>(frames) / kEffectRateHz; }

}  // namespace

EffectHost effect_make(const std::string& library, const Layout& layout, const Settings& settings,
                       const std::string& ears) {
  const std::string path = effect_library_find(library);
  if (layout.ambisonic_order == 0) return EffectHost(path, layout.mask, ears);
  const auto mode = static_cast<uint32_t>(settings.value(kReflectionsMode));
  return EffectHost(path, ears::Field{layout.ambisonic_order, mode}, ears);
}

size_t block_unit(const Options& options) {
  return options.trajectory.empty() ? options.block_frames : kPoseFrames;
}

BlockRenderer::BlockRenderer(const Options& options, const Layout& layout,
                             const Trajectory* trajectory)
    : options_(options),
      trajectory_(trajectory),
      channels_(layout.rows.size()),
      effect_(effect_make(options.library, layout, options.settings, options.ears)) {
  settings_send(options.settings, &effect_);
  if (options.pose) effect_.set_head_to_stage(pose_head_to_stage(pose_rotation(*options.pose)));
}

// A silent block, dropped, ends the fade.
void BlockRenderer::settle_head() {
  if (!options_.pose && !trajectory_) return;
  if (trajectory_) effect_.set_head_to_stage(pose_head_to_stage(trajectory_->at(0.0)));
  std::vector<float> bed(options_.block_frames * channels_), ears(options_.block_frames * 2);
  effect_.process(bed.data(), ears.data(), options_.block_frames);
}

// With a trajectory no block goes past a multiple of 10 ms.
size_t BlockRenderer::block_at(uint64_t position) const {
  if (!trajectory_) return options_.block_frames;
  return std::min<size_t>(options_.block_frames, kPoseFrames - position % kPoseFrames);
}

// Because the effect fades over one block, a block is given the pose that the head has at its end.
// Every block has a pose of its own, so that short blocks do not turn the head in steps.
void BlockRenderer::render(uint64_t position, float* bed, float* ears, size_t frames) {
  if (trajectory_) {
    const double end = seconds(position + block_at(position));
    effect_.set_head_to_stage(pose_head_to_stage(trajectory_->at(end)));
  }
  effect_.process(bed, ears, frames);
}

}  // namespace render
