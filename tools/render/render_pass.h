// One passage of a recording through the effect, from its first sample to the end of what sounds
// on.
#ifndef ORVANE_TOOLS_RENDER_RENDER_PASS_H_
#define ORVANE_TOOLS_RENDER_RENDER_PASS_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "tools/render/audio_reader.h"
#include "tools/render/bed_source.h"
#include "tools/render/channel_map.h"
#include "tools/render/effect_host.h"
#include "tools/render/options.h"
#include "tools/render/trajectory.h"

namespace render {

class RenderPass {
 public:
  // Opens the recording and sets up an effect of its own, so that passes with the same options
  // sound the same. Keeps a reference to `options`, which must outlive it. Throws Failure.
  explicit RenderPass(const Options& options);

  const AudioReader& reader() const { return reader_; }
  const ChannelPlan& plan() const { return plan_; }

  // Length of what run() delivers; a frame more or less after resampling.
  uint64_t expected_frames() const;

  // Takes `frames` interleaved stereo frames, which it may change.
  using Sink = std::function<void(float* ears, size_t frames)>;

  // Renders block by block, in memory that does not grow with the recording. Returns the frames
  // delivered. Only once. Throws Failure or Interrupted.
  uint64_t run(const Sink& sink);

 private:
  void settle_head();
  size_t begin_block();

  const Options& options_;
  AudioReader reader_;
  ChannelPlan plan_;
  BedSource source_;
  std::optional<Trajectory> trajectory_;
  EffectHost effect_;
  std::vector<float> bed_;
  std::vector<float> ears_;
  uint64_t position_ = 0;  // frames rendered
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_RENDER_PASS_H_
