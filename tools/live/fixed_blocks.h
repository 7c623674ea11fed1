// SPDX-License-Identifier: Apache-2.0
// Blocks of one length from periods of any.
#ifndef ORVANE_TOOLS_LIVE_FIXED_BLOCKS_H_
#define ORVANE_TOOLS_LIVE_FIXED_BLOCKS_H_

#include <array>
#include <cstddef>
#include <functional>
#include <vector>

namespace live {

// A server whose periods change from one to the next, as they do where it resamples, would make the
// effect take memory for each new length. Here it meets one length only. Periods that are multiples
// of it pass without delay; the first that is not delays what follows by kFrames - 1.
class FixedBlocks {
 public:
  static constexpr size_t kFrames = 128;

  // `inputs` channels of kFrames frames to two ears.
  using Render = std::function<void(const float* const* inputs, float* const* ears)>;

  FixedBlocks(size_t channels, Render render);

  // One period. A null input is silent. Neither waits, allocates nor calls the system.
  void process(const float* const* inputs, float* const* ears, size_t frames);

  // Forgets what is under way.
  void reset();

  size_t delay_frames() const { return delays_ ? kFrames - 1 : 0; }

 private:
  void push(const float* const* inputs, size_t begin, size_t frames);
  void pop(float* const* ears, size_t begin, size_t frames);

  Render render_;
  std::vector<std::vector<float>> block_;
  std::vector<const float*> block_rows_;
  std::array<std::array<float, 2 * kFrames>, 2> ears_ = {};  // `ready_` frames that wait
  size_t filled_ = 0;                                        // frames of the block
  size_t ready_ = 0;
  bool delays_ = false;
};

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_FIXED_BLOCKS_H_
