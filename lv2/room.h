// SPDX-License-Identifier: Apache-2.0
// A renderer of one layout in one room. A room is never changed: for another one, another renderer
// is built, which takes memory and time, and takes the place of the first.
#ifndef ORVANE_LV2_ROOM_H_
#define ORVANE_LV2_ROOM_H_

#include <array>
#include <cstdint>
#include <memory>
#include <utility>

#include "orvane/renderer.hpp"
#include "renderer/loudspeaker_layouts.h"
#include "renderer/parameters.h"
#include "tools/ears/ear_fit.h"

namespace lv2_plugin {

// A value per row of the library's table of parameters, as a host has set it.
using RoomValues = std::array<float, ORVANE_NUM_PARAMETERS>;

// The values of a new renderer.
RoomValues room_defaults();

// `values` within the ranges that hold beside each other; a number that is none becomes the
// default.
RoomValues room_within_ranges(const RoomValues& values);

class Room {
 public:
  // With a head turned by `head`, a rotation vector in the room frame, and the built-in ears where
  // `ears` is null. Null when there is no memory.
  static std::unique_ptr<Room> build(const orvane_layout_t& layout, const RoomValues& values,
                                     const std::array<float, 3>& head, const ears::EarTables* ears);

  // As build() was given them.
  const RoomValues& values() const { return values_; }

  // The next block fades over to it. Neither this nor process() waits, allocates or calls the
  // system.
  void turn_head(const std::array<float, 3>& head);

  // One block of at most ORVANE_MAX_FRAME_SIZE samples; silence if the renderer refuses it.
  void process(const float* const* inputs, float* const* ears, uint32_t frames);

 private:
  Room(const RoomValues& values, orvane::Renderer renderer)
      : values_(values), renderer_(std::move(renderer)) {}
  bool set_parameters();
  void set(uint32_t row, float value);
  bool settle();

  RoomValues values_;
  orvane::Renderer renderer_;
};

}  // namespace lv2_plugin

#endif  // ORVANE_LV2_ROOM_H_
