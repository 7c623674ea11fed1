// SPDX-License-Identifier: Apache-2.0
// One passage of a bed through the effect, from its first sample to the end of what sounds
// on.
#ifndef ORVANE_TOOLS_RENDER_RENDER_PASS_H_
#define ORVANE_TOOLS_RENDER_RENDER_PASS_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/render/bed.h"
#include "tools/render/block_renderer.h"
#include "tools/render/options.h"
#include "tools/render/segments.h"
#include "tools/render/trajectory.h"

namespace render {

class RenderPass {
 public:
  // Sets up an effect of its own for each thread, so that passes with the same options and bed
  // sound the same, to the last bit for every number of threads. Keeps references to both, which
  // must outlive it. Throws Failure.
  RenderPass(const Options& options, Bed& bed);

  // Length of what run() delivers, 0 where it is unknown; a frame more or less after resampling.
  uint64_t expected_frames() const;

  // Of the trajectory, see there.
  std::string notice() const { return trajectory_ ? trajectory_->notice() : ""; }

  // Takes `frames` interleaved stereo frames, which it may change. Called in the thread of run().
  using Sink = std::function<void(float* ears, size_t frames)>;

  // Renders block by block, in memory that does not grow with the bed. Returns the frames
  // delivered. Only once. Throws Failure or Interrupted.
  uint64_t run(const Sink& sink);

 private:
  size_t read(float* bed, size_t count);
  uint64_t run_alone(const Sink& sink);
  uint64_t run_in_threads(const Sink& sink);
  bool read_segment(Segments::Segment* segment);
  void render_segment(BlockRenderer* renderer, Segments::Segment* segment) const;

  const Options& options_;
  Bed& source_;
  std::optional<Trajectory> trajectory_;
  std::vector<std::unique_ptr<BlockRenderer>> renderers_;  // one of each thread
  size_t tail_;                                            // silent frames still to come
  size_t warm_up_frames_ = 0, segment_frames_ = 0;
  uint64_t read_position_ = 0;  // of the segments
  std::vector<float> last_;     // end of the last segment, for the next one's warm-up
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_RENDER_PASS_H_
