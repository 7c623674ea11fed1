// Parameters of the room, one value at a time: a range, and the place of an accepted value.
#include "base/result.h"
#include "renderer/reflections_internal.h"
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
