// SPDX-License-Identifier: Apache-2.0
#include "lv2/room.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "lv2/ports.h"

namespace lv2_plugin {
namespace {

uint32_t row_of(const orvane_parameter_t& parameter) {
  return static_cast<uint32_t>(&parameter - orvane_parameters);
}

constexpr uint32_t kModeRow = UBR_NUM_REVERB_PARAMS + uint32_t{UBR_REFLECTIONS_MODE};

float limit_of(const orvane_parameter_t& parameter, const RoomValues& values) {
  if (parameter.limit == ORVANE_LIMIT_ORDER) return ORVANE_MAX_ORDER;
  if (!parameter.limiting) return 0.0f;
  return values[row_of(*orvane_find_parameter(parameter.limiting))];
}

}  // namespace

RoomValues room_defaults() {
  RoomValues values;
  std::transform(std::begin(orvane_parameters), std::end(orvane_parameters), values.begin(),
                 port_default);
  return values;
}

RoomValues room_within_ranges(const RoomValues& values) {
  RoomValues kept;
  for (uint32_t row = 0; row < kept.size(); ++row) {  // what limits others comes before them
    const orvane_parameter_t& parameter = orvane_parameters[row];
    const orvane_range_t range = orvane_parameter_range(&parameter, limit_of(parameter, kept));
    const float value = std::isfinite(values[row]) ? values[row] : port_default(parameter);
    const bool is_unset = !parameter.has_default && value < range.minimum;
    kept[row] = is_unset ? kUnset : std::clamp(value, range.minimum, range.maximum);
    if (parameter.kind != ORVANE_KIND_NUMBER) kept[row] = std::trunc(kept[row]);
  }
  return kept;
}

std::unique_ptr<Room> Room::build(const orvane_layout_t& layout, const RoomValues& values,
                                  const std::array<float, 3>& head, const ears::EarTables* ears) {
  orvane::Result<orvane::Renderer> renderer = orvane::Renderer::create(layout);
  if (!renderer) return nullptr;
  std::unique_ptr<Room> room(new (std::nothrow) Room(values, *std::move(renderer)));
  if (!room || !room->set_parameters()) return nullptr;
  if (ears && !room->renderer_.set_responses(ears->ears[0], ears->ears[1])) return nullptr;
  room->turn_head(head);
  if (!room->settle()) return nullptr;  // a tail for which there was no memory shows here
  return room;
}

// What the renderer refuses stays as it was.
void Room::set(uint32_t row, float value) {
  if (row < UBR_NUM_REVERB_PARAMS) {
    (void)renderer_.set_reverb(ubr_reverb_param(row), value);
  } else {
    (void)renderer_.set_reflections(ubr_reflections_param(row - UBR_NUM_REVERB_PARAMS), value);
  }
}

// Only what differs from a new renderer is set, in the table's order and the reflections' mode
// last, as the host programs do: each setting of the reverb draws a new tail, so that the same
// room is the same sound here and there. A tone filter that is not stable is refused.
bool Room::set_parameters() {
  const RoomValues values = room_within_ranges(values_), defaults = room_defaults();
  for (uint32_t row = 0; row < values.size(); ++row) {
    if (row != kModeRow && values[row] != defaults[row]) set(row, values[row]);
  }
  set(kModeRow, values[kModeRow]);
  const orvane::Result<void> computed = renderer_.compute_reflections();
  if (computed) return true;
  if (computed.error() == orvane::Error::invalid) set(kModeRow, 0.0f);
  return computed.error() != orvane::Error::no_memory;
}

// A silent block, in which the head turns all the way. Whether it was rendered.
bool Room::settle() {
  float silence[UBR_MIN_FRAME_SIZE] = {}, ears[2][UBR_MIN_FRAME_SIZE];
  const float* inputs[max_channels()];
  std::fill(std::begin(inputs), std::end(inputs), silence);
  float* const outputs[] = {ears[0], ears[1]};
  return bool(renderer_.process(inputs, outputs, UBR_MIN_FRAME_SIZE));
}

void Room::turn_head(const std::array<float, 3>& head) { (void)renderer_.set_head(head); }

void Room::process(const float* const* inputs, float* const* ears, uint32_t frames) {
  if (renderer_.process(inputs, ears, frames)) return;
  for (uint32_t side = 0; side < 2; ++side) std::fill_n(ears[side], frames, 0.0f);
}

}  // namespace lv2_plugin
