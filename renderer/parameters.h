// SPDX-License-Identifier: Apache-2.0
// The vendor's parameters of reverb, room and reflections: the one home of their numbers, names,
// ranges and defaults, for the library, hosts, tools, documents and tests. Like the table of
// layouts, the header is plain C that needs no library and no header of the platform.
#ifndef ORVANE_RENDERER_PARAMETERS_H_
#define ORVANE_RENDERER_PARAMETERS_H_

#include <stdint.h>

#include "base/constant.h"
#include "base/limits.h"

// Parameters of ubr_set_reverb_param.
enum ubr_reverb_param {
  UBR_REVERB_ENABLE = 0,
  UBR_REVERB_STEREO = 1,
  UBR_REVERB_PULSE_SPACING = 2,
  UBR_REVERB_DECAY = 3,
  UBR_REVERB_LEVEL = 4,
  UBR_REVERB_PRE_DELAY = 5,
  UBR_REVERB_TONE_ENABLE = 6,
  UBR_REVERB_TONE_GAIN = 7,
  UBR_REVERB_TONE_CORNER = 8,
  UBR_REVERB_TONE_SLOPE = 9,
  UBR_NUM_REVERB_PARAMS = 10,
};

// Parameters of ubr_set_reflections_param.
enum ubr_reflections_param {
  UBR_REFLECTIONS_MODE = 0,
  UBR_REFLECTIONS_ROOM_X = 1,
  UBR_REFLECTIONS_ROOM_Y = 2,
  UBR_REFLECTIONS_ROOM_Z = 3,
  UBR_REFLECTIONS_ABSORPTION = 4,  // six, walls +x, -x, +y, -y, ceiling, floor
  UBR_REFLECTIONS_MATERIAL = 10,   // six, same walls
  UBR_REFLECTIONS_LISTENER_X = 16,
  UBR_REFLECTIONS_LISTENER_Y = 17,
  UBR_REFLECTIONS_LISTENER_Z = 18,
  UBR_NUM_REFLECTIONS_PARAMS = 19,
};

// Numbers of the first of both as parameters of the effect, one float each.
enum {
  ORVANE_PARAM_REVERB = 100,       // UBR_REVERB_ENABLE
  ORVANE_PARAM_REFLECTIONS = 200,  // UBR_REFLECTIONS_MODE
};

enum orvane_parameter_kind {
  ORVANE_KIND_NUMBER,  // any number within the range
  ORVANE_KIND_WHOLE,   // any number within the range, of which the fraction is dropped
  ORVANE_KIND_SWITCH,  // 0 is off and 1 is on; anything above -1 and below 2 is accepted
};

// What else bounds a parameter's value at the time it is set.
enum orvane_parameter_limit {
  ORVANE_LIMIT_NONE,
  ORVANE_LIMIT_ORDER,    // the maximum is the renderer's ambisonic order
  ORVANE_LIMIT_BETWEEN,  // from minus half to plus half of another parameter's value
  ORVANE_LIMIT_BELOW,    // the maximum is another parameter's value
};

typedef struct orvane_parameter_t {
  int32_t number;  // the effect's
  const char* name;
  const char* unit;        // or ""
  float minimum, maximum;  // both accepted; where there is a limit, the widest that it allows
  float default_value;
  uint32_t has_default;  // 0 where a new renderer has no value: of materials, as it has absorptions
  uint32_t kind;         // orvane_parameter_kind
  uint32_t limit;        // orvane_parameter_limit
  int32_t limiting;      // number of that other parameter, or 0
  const char* meaning;
} orvane_parameter_t;

// Ids and numbers ascend, without a gap in either family.
// clang-format off
ORVANE_CONSTANT orvane_parameter_t orvane_parameters[] = {
    {100, "reverb.enable", "", 0.0f, 1.0f, 1.0f, 1, ORVANE_KIND_SWITCH, ORVANE_LIMIT_NONE, 0,
     "reverberation off (0) or on (1)"},
    {101, "reverb.stereo", "", 0.0f, 1.0f, 1.0f, 1, ORVANE_KIND_SWITCH, ORVANE_LIMIT_NONE, 0,
     "the same tail at both ears (0) or two (1)"},
    {102, "reverb.spacing", "samples", 3.0f, 6000.0f, 80.0f, 1, ORVANE_KIND_NUMBER, ORVANE_LIMIT_NONE, 0,
     "average distance between the pulses of the tail; less is smoother"},
    {103, "reverb.decay", "s", 0.0f, 2.0f, 0.25f, 1, ORVANE_KIND_NUMBER, ORVANE_LIMIT_NONE, 0,
     "time until the tail ends, at an amplitude of 0.001"},
    {104, "reverb.level", "", 0.0f, 1.0f, 0.1f, 1, ORVANE_KIND_NUMBER, ORVANE_LIMIT_NONE, 0,
     "amplitude of the tail at its start"},
    {105, "reverb.predelay", "ms", 0.0f, 100.0f, 30.0f, 1, ORVANE_KIND_NUMBER, ORVANE_LIMIT_NONE, 0,
     "time before the tail starts"},
    {106, "reverb.tone", "", 0.0f, 1.0f, 1.0f, 1, ORVANE_KIND_SWITCH, ORVANE_LIMIT_NONE, 0,
     "high shelf on the tail off (0) or on (1)"},
    {107, "reverb.tone-gain", "", -1.0f, 1.0f, -1.0f, 1, ORVANE_KIND_NUMBER, ORVANE_LIMIT_NONE, 0,
     "gain of the shelf: 1 changes nothing, each step of 1 below is 24 dB"},
    {108, "reverb.tone-corner", "Hz", 100.0f, 12000.0f, 10000.0f, 1, ORVANE_KIND_NUMBER, ORVANE_LIMIT_NONE, 0,
     "frequency above which the shelf takes away"},
    {109, "reverb.tone-slope", "", 0.1f, 1.0f, 1.0f, 1, ORVANE_KIND_NUMBER, ORVANE_LIMIT_NONE, 0,
     "steepness of the shelf"},
    {200, "reflections.mode", "", 0.0f, ORVANE_MAX_ORDER, 0.0f, 1, ORVANE_KIND_WHOLE, ORVANE_LIMIT_ORDER, 0,
     "early reflections off (0), or their spatial detail"},
    {201, "room.length", "m", 1.0f, 14.0f, 5.0f, 1, ORVANE_KIND_NUMBER, ORVANE_LIMIT_NONE, 0,
     "front to back"},
    {202, "room.width", "m", 1.0f, 14.0f, 6.0f, 1, ORVANE_KIND_NUMBER, ORVANE_LIMIT_NONE, 0,
     "left to right"},
    {203, "room.height", "m", 1.0f, 14.0f, 4.0f, 1, ORVANE_KIND_NUMBER, ORVANE_LIMIT_NONE, 0,
     "floor to ceiling"},
    {204, "absorption.front", "", 0.0f, 1.0f, 0.2f, 1, ORVANE_KIND_NUMBER, ORVANE_LIMIT_NONE, 0,
     "of the front wall: 0 reflects all, 1 nothing"},
    {205, "absorption.back", "", 0.0f, 1.0f, 0.2f, 1, ORVANE_KIND_NUMBER, ORVANE_LIMIT_NONE, 0,
     "of the back wall: 0 reflects all, 1 nothing"},
    {206, "absorption.left", "", 0.0f, 1.0f, 0.2f, 1, ORVANE_KIND_NUMBER, ORVANE_LIMIT_NONE, 0,
     "of the left wall: 0 reflects all, 1 nothing"},
    {207, "absorption.right", "", 0.0f, 1.0f, 0.2f, 1, ORVANE_KIND_NUMBER, ORVANE_LIMIT_NONE, 0,
     "of the right wall: 0 reflects all, 1 nothing"},
    {208, "absorption.ceiling", "", 0.0f, 1.0f, 0.11f, 1, ORVANE_KIND_NUMBER, ORVANE_LIMIT_NONE, 0,
     "of the ceiling: 0 reflects all, 1 nothing"},
    {209, "absorption.floor", "", 0.0f, 1.0f, 0.63f, 1, ORVANE_KIND_NUMBER, ORVANE_LIMIT_NONE, 0,
     "of the floor: 0 reflects all, 1 nothing"},
    {210, "material.front", "", 1.0f, 27.0f, 0.0f, 0, ORVANE_KIND_WHOLE, ORVANE_LIMIT_NONE, 0,
     "number of the material of the front wall, which sets its absorption"},
    {211, "material.back", "", 1.0f, 27.0f, 0.0f, 0, ORVANE_KIND_WHOLE, ORVANE_LIMIT_NONE, 0,
     "number of the material of the back wall, which sets its absorption"},
    {212, "material.left", "", 1.0f, 27.0f, 0.0f, 0, ORVANE_KIND_WHOLE, ORVANE_LIMIT_NONE, 0,
     "number of the material of the left wall, which sets its absorption"},
    {213, "material.right", "", 1.0f, 27.0f, 0.0f, 0, ORVANE_KIND_WHOLE, ORVANE_LIMIT_NONE, 0,
     "number of the material of the right wall, which sets its absorption"},
    {214, "material.ceiling", "", 1.0f, 27.0f, 0.0f, 0, ORVANE_KIND_WHOLE, ORVANE_LIMIT_NONE, 0,
     "number of the material of the ceiling, which sets its absorption"},
    {215, "material.floor", "", 1.0f, 27.0f, 0.0f, 0, ORVANE_KIND_WHOLE, ORVANE_LIMIT_NONE, 0,
     "number of the material of the floor, which sets its absorption"},
    {216, "listener.x", "m", -7.0f, 7.0f, 0.0f, 1, ORVANE_KIND_NUMBER, ORVANE_LIMIT_BETWEEN, 201,
     "ahead of the middle of the room"},
    {217, "listener.y", "m", -7.0f, 7.0f, 0.0f, 1, ORVANE_KIND_NUMBER, ORVANE_LIMIT_BETWEEN, 202,
     "to the left of the middle of the room"},
    {218, "listener.z", "m", 0.1f, 14.0f, 1.6f, 1, ORVANE_KIND_NUMBER, ORVANE_LIMIT_BELOW, 203,
     "above the floor"},
};
// clang-format on

enum { ORVANE_NUM_PARAMETERS = sizeof(orvane_parameters) / sizeof(orvane_parameters[0]) };

// The row of a ubr_reverb_param.
ORVANE_CONSTANT_FUNCTION const orvane_parameter_t* orvane_reverb_parameter(uint32_t id) {
  return &orvane_parameters[id];
}

// The row of a ubr_reflections_param.
ORVANE_CONSTANT_FUNCTION const orvane_parameter_t* orvane_reflections_parameter(uint32_t id) {
  return &orvane_parameters[UBR_NUM_REVERB_PARAMS + id];
}

// The row of a parameter of the effect, or null.
ORVANE_CONSTANT_FUNCTION const orvane_parameter_t* orvane_find_parameter(int32_t number) {
  for (uint32_t i = 0; i < ORVANE_NUM_PARAMETERS; ++i) {
    if (orvane_parameters[i].number == number) return &orvane_parameters[i];
  }
  return 0;
}

// Both ends are accepted.
typedef struct orvane_range_t {
  float minimum, maximum;
} orvane_range_t;

// The range of a parameter whose limit is `limit` at the moment: the ambisonic order, or the value
// of the limiting parameter; not read where there is no limit.
ORVANE_CONSTANT_FUNCTION orvane_range_t orvane_parameter_range(const orvane_parameter_t* parameter,
                                                               float limit) {
  orvane_range_t range = {parameter->minimum, parameter->maximum};
  if (parameter->limit == ORVANE_LIMIT_BETWEEN) {
    range.minimum = -0.5f * limit;
    range.maximum = 0.5f * limit;
  } else if (parameter->limit != ORVANE_LIMIT_NONE) {
    range.maximum = limit;
  }
  return range;
}

// Whether the library accepts `value`: 1 or 0. NaN is in no range.
ORVANE_CONSTANT_FUNCTION uint32_t orvane_parameter_accepts(const orvane_parameter_t* parameter,
                                                           float limit, float value) {
  const orvane_range_t range = orvane_parameter_range(parameter, limit);
  if (parameter->kind == ORVANE_KIND_SWITCH) {
    return value > range.minimum - 1.0f && value < range.maximum + 1.0f ? 1 : 0;
  }
  return value >= range.minimum && value <= range.maximum ? 1 : 0;
}

#endif  // ORVANE_RENDERER_PARAMETERS_H_
