// One passage of a bed through the effect, from its first sample to the end of what sounds
// on.
#ifndef ORVANE_TOOLS_RENDER_RENDER_PASS_H_
#define ORVANE_TOOLS_RENDER_RENDER_PASS_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "tools/render/bed.h"
#include "tools/render/effect_host.h"
#include "tools/render/options.h"
#include "tools/render/trajectory.h"

namespace render {

class RenderPass {
 public:
  // Sets up an effect of its own, so that passes with the same options and bed sound the same.
  // Keeps references to both, which must outlive it. Throws Failure.
  RenderPass(const Options& options, Bed& bed);

  // Length of what run() delivers, 0 where it is unknown; a frame more or less after resampling.
  uint64_t expected_frames() const;

  // Takes `frames` interleaved stereo frames, which it may change.
  using Sink = std::function<void(float* ears, size_t frames)>;

  // Renders block by block, in memory that does not grow with the bed. Returns the frames
  // delivered. Only once. Throws Failure or Interrupted.
  uint64_t run(const Sink& sink);

 private:
  void settle_head();
  size_t begin_block();

  const Options& options_;
  Bed& source_;
  std::optional<Trajectory> trajectory_;
  EffectHost effect_;
  std::vector<float> bed_;
  std::vector<float> ears_;
  uint64_t position_ = 0;  // frames rendered
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_RENDER_PASS_H_
