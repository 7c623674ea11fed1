// Room and reverb parameters, one value at a time: a range, and the place of an accepted value.
#include <math.h>

#include "base/result.h"
#include "renderer/reflections_internal.h"
#include "renderer/reverb_change.h"
#include "renderer/room_modules.h"
#include "renderer/ubr.h"

namespace {

// Both ends are accepted; comparing as accepts() does refuses NaN.
struct range_t {
  float minimum, maximum;
};

bool accepts(const range_t& range, float value) {
  return value >= range.minimum && value <= range.maximum;
}

constexpr range_t kRoomSize = {1.0f, 14.0f};   // metres
constexpr range_t kAbsorption = {0.0f, 1.0f};  // per wall
constexpr range_t kMaterial = {1.0f, 27.0f};   // numbers
constexpr float kLowestListener = 0.1f;        // metres above the floor

struct reflections_param_t {
  range_t range;
  float* slot;  // null for a parameter that selects something instead
};

reflections_param_t find_reflections_param(ubr_t* renderer, uint32_t id) {
  ubr_reflections_t& r = *renderer->reflections;
  shoebox_params_t& room = r.room.params;
  const float half_x = room.room_x / 2.0f;
  const float half_y = room.room_y / 2.0f;
  switch (id) {
    case UBR_REFLECTIONS_MODE:
      return {{0.0f, static_cast<float>(renderer->ambi_config.order)}, nullptr};
    case UBR_REFLECTIONS_ROOM_X:
      return {kRoomSize, &room.room_x};
    case UBR_REFLECTIONS_ROOM_Y:
      return {kRoomSize, &room.room_y};
    case UBR_REFLECTIONS_ROOM_Z:
      return {kRoomSize, &room.room_z};
    case UBR_REFLECTIONS_LISTENER_X:
      return {{-half_x, half_x}, &r.listener_position[0]};
    case UBR_REFLECTIONS_LISTENER_Y:
      return {{-half_y, half_y}, &r.listener_position[1]};
    case UBR_REFLECTIONS_LISTENER_Z:
      return {{kLowestListener, room.room_z}, &r.listener_position[2]};
    default:
      break;
  }
  // Deliberate: the absorptions count walls from 0, the materials from 1.
  return id < UBR_REFLECTIONS_MATERIAL
             ? reflections_param_t{kAbsorption, &room.absorption[id - UBR_REFLECTIONS_ABSORPTION]}
             : reflections_param_t{kMaterial, nullptr};
}

struct reverb_param_t {
  float vn_config_t::*slot;
  range_t range;
  bool is_switch;  // the range is that of the value without its fraction
};

// Deliberate: the ids do not follow the order in which the settings are stored.
constexpr reverb_param_t kReverbParams[UBR_NUM_REVERB_PARAMS] = {
    {&vn_config_t::enable, {0.0f, 1.0f}, true},
    {&vn_config_t::stereo, {0.0f, 1.0f}, true},
    {&vn_config_t::pulse_spacing, {3.0f, 6000.0f}, false},
    {&vn_config_t::decay_s, {0.0f, 2.0f}, false},
    {&vn_config_t::level, {0.0f, 1.0f}, false},
    {&vn_config_t::pre_delay_ms, {0.0f, 100.0f}, false},
    {&vn_config_t::tone_enable, {0.0f, 1.0f}, true},
    {&vn_config_t::tone_gain, {-1.0f, 1.0f}, false},
    {&vn_config_t::tone_corner_hz, {100.0f, 12000.0f}, false},
    {&vn_config_t::tone_slope, {0.1f, 1.0f}, false},
};

}  // namespace

uint32_t ubr_set_reflections_param(ubr_t* renderer, uint32_t id, float value) {
  if (!renderer || !renderer->reflections) return UBR_MISSING;
  if (id >= UBR_NUM_REFLECTIONS_PARAMS) return UBR_INVALID;
  const reflections_param_t param = find_reflections_param(renderer, id);
  if (!accepts(param.range, value)) return UBR_INVALID;
  // Deliberate: a room that shrinks does not move a listener accepted before; the scene does.
  if (param.slot) {
    *param.slot = value;
  } else if (id == UBR_REFLECTIONS_MODE) {
    ubr_set_reflections_mode(renderer->reflections, static_cast<uint32_t>(value));
  } else {
    const float wall = static_cast<float>(id - UBR_REFLECTIONS_MATERIAL + 1);
    shoebox_set_material(&renderer->reflections->room, wall, value);
  }
  return UBR_OK;
}

uint32_t ubr_compute_reflections(ubr_t* renderer) {
  if (!renderer || !renderer->reflections) return UBR_MISSING;
  return reflections_compute(renderer->reflections, renderer->ambisonics, renderer->max_frame_size);
}

uint32_t reverb_change_begin(const ubr_t* renderer, uint32_t id, float value,
                             reverb_change_t* change) {
  if (!renderer || !renderer->reverb) return UBR_MISSING;
  if (id >= UBR_NUM_REVERB_PARAMS) return UBR_INVALID;
  const reverb_param_t& param = kReverbParams[id];
  // Deliberate: a switch is stored with its fraction.
  if (!accepts(param.range, param.is_switch ? truncf(value) : value)) return UBR_INVALID;
  reverb_change_copy(*renderer->reverb, change);
  change->state.settings.*param.slot = value;
  return UBR_OK;
}

uint32_t ubr_set_reverb_param(ubr_t* renderer, uint32_t id, float value) {
  reverb_change_t change;
  if (const uint32_t code = reverb_change_begin(renderer, id, value, &change)) return code;
  reverb_change_prepare(renderer->reverb, &change);
  reverb_change_apply(renderer->reverb, &change);
  reverb_change_release(&change);
  return UBR_OK;
}
