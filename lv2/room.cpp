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
  std::unique_ptr<Room> room(new (std::nothrow) Room(values));
  if (!room || !room->furnish(layout)) return nullptr;
  if (ears && ubr_set_responses(&room->renderer_, ears->ears[0].data(), ears->ears[1].data())) {
    return nullptr;
  }
  room->turn_head(head);
  if (!room->settle()) return nullptr;  // a tail for which there was no memory shows here
  return room;
}

Room::~Room() { ubr_cleanup(&renderer_); }

void Room::set(uint32_t row, float value) {
  if (row < UBR_NUM_REVERB_PARAMS) {
    ubr_set_reverb_param(&renderer_, row, value);
  } else {
    ubr_set_reflections_param(&renderer_, row - UBR_NUM_REVERB_PARAMS, value);
  }
}

bool Room::furnish(const orvane_layout_t& layout) {
  if (ubr_init(&renderer_, UBR_INPUT_SOURCES, layout.num_channels, UBR_MODE_BINAURAL_TRACKED,
               UBR_MAX_FRAME_SIZE, ORVANE_MAX_ORDER) != UBR_OK) {
    return false;
  }
  for (uint32_t i = 0; i < layout.num_channels; ++i) {
    const orvane_loudspeaker_t& speaker = layout.loudspeakers[i];
    ubr_set_source_type(&renderer_, i,
                        speaker.is_lfe ? ENCODER_SOURCE_LFE : ENCODER_SOURCE_LOUDSPEAKER);
    ubr_set_source_position(&renderer_, i, speaker.x, speaker.y, speaker.z);
  }
  return set_parameters();
}

// Only what differs from a new renderer is set, in the table's order and the reflections' mode
// last, as the host programs do: each setting of the reverb draws a new tail, so that the same
// room is the same sound here and there. What the renderer refuses, such as a tone filter that is
// not stable, stays as it was.
bool Room::set_parameters() {
  const RoomValues values = room_within_ranges(values_), defaults = room_defaults();
  for (uint32_t row = 0; row < values.size(); ++row) {
    if (row != kModeRow && values[row] != defaults[row]) set(row, values[row]);
  }
  set(kModeRow, values[kModeRow]);
  const uint32_t code = ubr_compute_reflections(&renderer_);
  if (code == UBR_INVALID) set(kModeRow, 0.0f);
  return code != UBR_NO_MEMORY;
}

// A silent block, in which the head turns all the way. Whether it was rendered.
bool Room::settle() {
  float silence[UBR_MIN_FRAME_SIZE] = {}, ears[2][UBR_MIN_FRAME_SIZE];
  const float* inputs[max_channels()];
  std::fill(std::begin(inputs), std::end(inputs), silence);
  float* const outputs[] = {ears[0], ears[1]};
  return render(inputs, outputs, UBR_MIN_FRAME_SIZE);
}

void Room::turn_head(const std::array<float, 3>& head) {
  ubr_set_user_orientation(&renderer_, head.data(), ROTATOR_ROTATION_VECTOR);
}

bool Room::render(const float* const* inputs, float* const* ears, uint32_t frames) {
  return ubr_process(&renderer_, inputs, renderer_.num_inputs, ears, renderer_.num_outputs,
                     frames) == UBR_OK;
}

void Room::process(const float* const* inputs, float* const* ears, uint32_t frames) {
  if (render(inputs, ears, frames)) return;
  for (uint32_t side = 0; side < 2; ++side) std::fill_n(ears[side], frames, 0.0f);
}

}  // namespace lv2_plugin
