// SPDX-License-Identifier: Apache-2.0
// Parameters of room and reverb, one value at a time: checked against renderer/parameters.h, then
// put in their place.
#include "base/result.h"
#include "renderer/reflections_internal.h"
#include "renderer/reverb_internal.h"
#include "renderer/ubr.h"

namespace {

// Every row stands at the index of its id, and states a limited range for the largest limit.
constexpr bool is_table_consistent() {
  for (uint32_t i = 0; i < ORVANE_NUM_PARAMETERS; ++i) {
    const orvane_parameter_t& parameter = orvane_parameters[i];
    const bool is_reverb = i < UBR_NUM_REVERB_PARAMS;
    const uint32_t number =
        is_reverb ? ORVANE_PARAM_REVERB + i : ORVANE_PARAM_REFLECTIONS + i - UBR_NUM_REVERB_PARAMS;
    if (parameter.number != static_cast<int32_t>(number)) return false;
    if (parameter.limit == ORVANE_LIMIT_NONE) continue;
    float limit = ORVANE_MAX_ORDER;
    if (parameter.limit != ORVANE_LIMIT_ORDER) {
      limit = 0.0f;
      for (const orvane_parameter_t& other : orvane_parameters) {
        if (other.number == parameter.limiting) limit = other.maximum;
      }
    }
    const orvane_range_t widest = orvane_parameter_range(&parameter, limit);
    if (parameter.minimum != widest.minimum || parameter.maximum != widest.maximum) return false;
  }
  return ORVANE_NUM_PARAMETERS == UBR_NUM_REVERB_PARAMS + uint32_t{UBR_NUM_REFLECTIONS_PARAMS};
}
static_assert(is_table_consistent());
static_assert(orvane_reflections_parameter(UBR_REFLECTIONS_MATERIAL)->maximum ==
              float{SHOEBOX_MATERIALS});

// Where a reflections parameter is stored; null for one that selects something instead.
float* find_slot(ubr_reflections_t* reflections, uint32_t id) {
  shoebox_params_t& room = reflections->room.params;
  switch (id) {
    case UBR_REFLECTIONS_ROOM_X:
      return &room.room_x;
    case UBR_REFLECTIONS_ROOM_Y:
      return &room.room_y;
    case UBR_REFLECTIONS_ROOM_Z:
      return &room.room_z;
    case UBR_REFLECTIONS_LISTENER_X:
    case UBR_REFLECTIONS_LISTENER_Y:
    case UBR_REFLECTIONS_LISTENER_Z:
      return &reflections->listener_position[id - UBR_REFLECTIONS_LISTENER_X];
    default:
      break;
  }
  // Deliberate: hosts count walls from 0 for absorptions, and from 1 for materials.
  const bool is_absorption = id >= UBR_REFLECTIONS_ABSORPTION && id < UBR_REFLECTIONS_MATERIAL;
  return is_absorption ? &room.absorption[id - UBR_REFLECTIONS_ABSORPTION] : nullptr;
}

// The value that limits a parameter at the moment; 0 if nothing does.
float find_limit(const ubr_t* renderer, const orvane_parameter_t& parameter) {
  if (parameter.limit == ORVANE_LIMIT_NONE) return 0.0f;
  if (parameter.limit == ORVANE_LIMIT_ORDER) return static_cast<float>(renderer->ambi_config.order);
  return *find_slot(renderer->reflections,
                    static_cast<uint32_t>(parameter.limiting - ORVANE_PARAM_REFLECTIONS));
}

}  // namespace

uint32_t ubr_set_reflections_param(ubr_t* renderer, uint32_t id, float value) {
  if (!renderer || !renderer->reflections) return UBR_MISSING;
  if (id >= UBR_NUM_REFLECTIONS_PARAMS) return UBR_INVALID;
  const orvane_parameter_t& parameter = *orvane_reflections_parameter(id);
  if (!orvane_parameter_accepts(&parameter, find_limit(renderer, parameter), value)) {
    return UBR_INVALID;
  }
  // Deliberate: a smaller room keeps a listener position that was accepted before, because the
  // scene clamps it.
  if (float* slot = find_slot(renderer->reflections, id)) {
    *slot = value;
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

uint32_t ubr_set_reverb_param(ubr_t* renderer, uint32_t id, float value) {
  if (!renderer) return UBR_MISSING;
  reverb_change_t change;
  if (const uint32_t code = reverb_change_begin(renderer->reverb, id, value, &change)) return code;
  reverb_change_prepare(renderer->reverb, &change);
  reverb_change_apply(renderer->reverb, &change);
  reverb_change_release(&change);
  return UBR_OK;
}
