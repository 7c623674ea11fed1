#include "tools/render/render_pass.h"

#include <algorithm>

#include "tools/render/interrupt.h"
#include "tools/render/pose.h"
#include "tools/render/progress.h"

namespace render {
namespace {

constexpr size_t kPoseFrames = kEffectRateHz / 100;  // longest fade from pose to pose: 10 ms

std::optional<Trajectory> read_trajectory(const std::string& path) {
  if (path.empty()) return std::nullopt;
  return Trajectory(path);
}

double seconds(uint64_t frames) { return static_cast<double>(frames) / kEffectRateHz; }

}  // namespace

RenderPass::RenderPass(const Options& options, Bed& bed)
    : options_(options),
      source_(bed),
      trajectory_(read_trajectory(options.trajectory)),
      effect_(effect_library_find(options.library), bed.layout().mask),
      bed_(options.block_frames * bed.layout().rows.size()),
      ears_(options.block_frames * 2) {
  settings_send(options.settings, &effect_);
  settle_head();
}

uint64_t RenderPass::expected_frames() const {
  if (source_.expected_frames() == 0) return 0;
  return source_.expected_frames() + settings_tail_frames(options_.settings);
}

// The effect fades over to a new pose within one block. A silent block, dropped, lets the first
// sample of the bed have the pose already.
void RenderPass::settle_head() {
  if (!options_.pose && !trajectory_) return;
  const Rotation head = trajectory_ ? trajectory_->at(0.0) : pose_rotation(*options_.pose);
  effect_.set_head_to_stage(pose_head_to_stage(head));
  effect_.process(bed_.data(), ears_.data(), options_.block_frames);
}

// Length of the block that comes. With a trajectory no block goes past a multiple of 10 ms,
// and because the effect fades over one block, it is given the pose that the head has at its end.
// Every block has a pose of its own, so that short blocks do not turn the head in steps.
size_t RenderPass::begin_block() {
  if (!trajectory_) return options_.block_frames;
  const size_t since_pose = position_ % kPoseFrames;
  const size_t frames = std::min(options_.block_frames, kPoseFrames - since_pose);
  effect_.set_head_to_stage(pose_head_to_stage(trajectory_->at(seconds(position_ + frames))));
  return frames;
}

uint64_t RenderPass::run(const Sink& sink) {
  Progress progress(expected_frames(), kEffectRateHz);
  const size_t channels = source_.layout().rows.size();
  size_t tail = settings_tail_frames(options_.settings);
  for (;;) {
    interrupt_check();
    const size_t block = begin_block();
    size_t frames = source_.read(bed_.data(), block);
    const size_t silent = std::min(tail, block - frames);
    std::fill_n(bed_.data() + frames * channels, silent * channels, 0.0f);
    tail -= silent;
    frames += silent;
    if (frames == 0) return position_;
    effect_.process(bed_.data(), ears_.data(), frames);
    sink(ears_.data(), frames);
    position_ += frames;
    progress.update(position_);
  }
}

}  // namespace render
