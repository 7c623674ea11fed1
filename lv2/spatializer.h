// SPDX-License-Identifier: Apache-2.0
// What a plug-in does on the audio thread: loudspeakers in, two ears out, with a head that turns
// smoothly and a room that another one takes the place of.
#ifndef ORVANE_LV2_SPATIALIZER_H_
#define ORVANE_LV2_SPATIALIZER_H_

#include <array>
#include <cstdint>
#include <memory>

#include "lv2/ports.h"
#include "lv2/room.h"
#include "tools/live/head_glide.h"
#include "tools/render/pose.h"

namespace lv2_plugin {

// The turn of a head with this pose, a rotation vector in the room frame.
std::array<float, 3> head_vector_of(const render::Pose& head);

class Spatializer {
 public:
  static constexpr uint32_t kFadeFrames = 2048;  // from one room to the next

  explicit Spatializer(uint32_t channels) : channels_(channels) {}

  // Begins anew, in silence, with a head that has this pose; `room` was built for it.
  void start(std::unique_ptr<Room> room, const render::Pose& head);

  // Takes the place of the room within the next kFadeFrames. Not while is_fading().
  void enter(std::unique_ptr<Room> room);

  bool is_fading() const { return next_ != nullptr; }

  // The room that has been left since the last call, if any, to be released elsewhere.
  Room* take_left_room() { return left_.release(); }

  // The head's turn at the end of the last block, a rotation vector in the room frame.
  const std::array<float, 3>& head_vector() const { return head_vector_; }

  // Renders any number of frames. A null input is silent. `ears` may be among `inputs`. The head
  // glides to a new pose from wherever it is. Neither waits, allocates nor calls the system.
  void process(const float* const* inputs, float* const* ears, uint32_t frames,
               const render::Pose& head);

 private:
  void aim(const render::Pose& head);
  void process_block(const float* const* inputs, float* const* ears, uint32_t begin,
                     uint32_t frames);
  void fade(float* const* ears, uint32_t begin, uint32_t frames);

  uint32_t channels_;
  std::unique_ptr<Room> room_, next_, left_;
  uint32_t faded_frames_ = 0;
  live::HeadGlide glide_;
  render::Pose head_;
  std::array<float, 3> head_vector_ = {};
  // One block.
  float inputs_[max_channels()][ORVANE_MAX_FRAME_SIZE];
  float ears_[2][ORVANE_MAX_FRAME_SIZE], next_ears_[2][ORVANE_MAX_FRAME_SIZE];
};

}  // namespace lv2_plugin

#endif  // ORVANE_LV2_SPATIALIZER_H_
