// SPDX-License-Identifier: Apache-2.0
#include "tools/render/render_pass.h"

#include <algorithm>
#include <thread>

#include "tools/render/interrupt.h"
#include "tools/render/progress.h"

namespace render {
namespace {

// The effect remembers what the tail and the longest of its Fourier transforms hold, and the pose
// of the block before.
constexpr size_t kTransformFrames = 8192;
constexpr size_t kShortestSegment = size_t{4} * kEffectRateHz;
constexpr size_t kLongestSegment = size_t{12} * kEffectRateHz;
constexpr size_t kWarmUpsPerSegment = 12;

std::optional<Trajectory> read_trajectory(const std::string& path) {
  if (path.empty()) return std::nullopt;
  return Trajectory(path);
}

size_t round_up(size_t count, size_t unit) { return (count + unit - 1) / unit * unit; }

// Pipes are to be heard at once, and what waits for a pipe cannot be stopped.
size_t count_threads(const Options& options) {
  if (options.output == "-" || options.input.path == "-") return 1;
  if (options.threads > 0) return options.threads;
  return std::max(1u, std::thread::hardware_concurrency());
}

}  // namespace

RenderPass::RenderPass(const Options& options, Bed& bed)
    : options_(options),
      source_(bed),
      trajectory_(read_trajectory(options.trajectory)),
      tail_(settings_tail_frames(options.settings)) {
  const size_t unit = block_unit(options);
  warm_up_frames_ = round_up(tail_ + kTransformFrames + 2 * options.block_frames, unit);
  segment_frames_ = round_up(
      std::max(warm_up_frames_,
               std::clamp(kWarmUpsPerSegment * warm_up_frames_, kShortestSegment, kLongestSegment)),
      unit);
  const size_t threads = count_threads(options);
  for (size_t i = 0; i < threads; ++i) {
    renderers_.push_back(std::make_unique<BlockRenderer>(options, bed.layout(),
                                                         trajectory_ ? &*trajectory_ : nullptr));
  }
}

uint64_t RenderPass::expected_frames() const {
  if (source_.expected_frames() == 0) return 0;
  return source_.expected_frames() + settings_tail_frames(options_.settings);
}

uint64_t RenderPass::run(const Sink& sink) {
  return renderers_.size() == 1 ? run_alone(sink) : run_in_threads(sink);
}

// The bed and the silence after it.
size_t RenderPass::read(float* bed, size_t count) {
  const size_t frames = source_.read(bed, count);
  const size_t channels = source_.layout().rows.size();
  const size_t silent = std::min(tail_, count - frames);
  std::fill_n(bed + frames * channels, silent * channels, 0.0f);
  tail_ -= silent;
  return frames + silent;
}

uint64_t RenderPass::run_alone(const Sink& sink) {
  Progress progress(expected_frames(), kEffectRateHz);
  BlockRenderer& renderer = *renderers_.front();
  std::vector<float> bed(options_.block_frames * source_.layout().rows.size());
  std::vector<float> ears(options_.block_frames * 2);
  renderer.settle_head();
  uint64_t position = 0;
  for (;;) {
    interrupt_check();
    const size_t frames = read(bed.data(), renderer.block_at(position));
    if (frames == 0) return position;
    renderer.render(position, bed.data(), ears.data(), frames);
    sink(ears.data(), frames);
    position += frames;
    progress.update(position);
  }
}

// In the reader's thread.
bool RenderPass::read_segment(Segments::Segment* segment) {
  const size_t channels = source_.layout().rows.size();
  segment->warm_up = last_.size() / channels;
  segment->first = read_position_ - segment->warm_up;
  segment->bed.reserve((segment->warm_up + segment_frames_) * channels);
  segment->bed = last_;
  size_t frames = 0;
  // In blocks, since sources keep buffers of what they are asked for, and short beds fill few.
  while (frames < segment_frames_) {
    interrupt_check();
    const size_t block = std::min(kEffectMaxFrames, segment_frames_ - frames);
    const size_t end = segment->bed.size();
    segment->bed.resize(end + block * channels);
    const size_t done = read(segment->bed.data() + end, block);
    frames += done;
    if (done < block) break;
  }
  segment->frames = segment->warm_up + frames;
  read_position_ += frames;
  if (frames == segment_frames_) {
    const auto end = segment->bed.begin() + static_cast<ptrdiff_t>(segment->frames * channels);
    last_.assign(end - static_cast<ptrdiff_t>(warm_up_frames_ * channels), end);
  }
  return frames > 0;
}

// In one of the workers' threads, each with an effect of its own.
void RenderPass::render_segment(BlockRenderer* renderer, Segments::Segment* segment) const {
  const size_t channels = source_.layout().rows.size();
  segment->ears.resize(segment->frames * 2);
  if (segment->first == 0 && segment->warm_up == 0) renderer->settle_head();
  for (size_t done = 0; done < segment->frames;) {
    const uint64_t position = segment->first + done;
    const size_t frames = std::min(renderer->block_at(position), segment->frames - done);
    renderer->render(position, segment->bed.data() + done * channels,
                     segment->ears.data() + done * 2, frames);
    done += frames;
  }
}

uint64_t RenderPass::run_in_threads(const Sink& sink) {
  Progress progress(expected_frames(), kEffectRateHz);
  Segments segments(
      renderers_.size(), [this](Segments::Segment* segment) { return read_segment(segment); },
      [this](size_t worker, Segments::Segment* segment) {
        render_segment(renderers_[worker].get(), segment);
      });
  uint64_t position = 0;
  while (Segments::Segment* segment = segments.take()) {
    // As much at a time as with one thread: encoders and meters see the same blocks.
    for (size_t done = segment->warm_up; done < segment->frames;) {
      interrupt_check();
      const size_t frames =
          std::min(renderers_.front()->block_at(segment->first + done), segment->frames - done);
      sink(segment->ears.data() + 2 * done, frames);
      done += frames;
      position += frames;
      progress.update(position);
    }
  }
  return position;
}

}  // namespace render
