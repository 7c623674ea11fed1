// SPDX-License-Identifier: Apache-2.0
// The channel layouts that the effect renders, and where their loudspeakers stand: the one home of
// these facts for the effect, hosts, tools and tests. The header is plain C, needs no library and
// no header of the platform, and reads the same on every platform.
#ifndef ORVANE_RENDERER_LOUDSPEAKER_LAYOUTS_H_
#define ORVANE_RENDERER_LOUDSPEAKER_LAYOUTS_H_

#include <stdint.h>

#include "base/constant.h"

// What a channel is. The number is that of its bit in a channel mask of the platform.
enum orvane_channel {
  ORVANE_FRONT_LEFT,
  ORVANE_FRONT_RIGHT,
  ORVANE_FRONT_CENTRE,
  ORVANE_LFE,
  ORVANE_BACK_LEFT,
  ORVANE_BACK_RIGHT,
  ORVANE_FRONT_LEFT_OF_CENTRE,
  ORVANE_FRONT_RIGHT_OF_CENTRE,
  ORVANE_BACK_CENTRE,
  ORVANE_SIDE_LEFT,
  ORVANE_SIDE_RIGHT,
  ORVANE_TOP_CENTRE,
  ORVANE_TOP_FRONT_LEFT,
  ORVANE_TOP_FRONT_CENTRE,
  ORVANE_TOP_FRONT_RIGHT,
  ORVANE_TOP_BACK_LEFT,
  ORVANE_TOP_BACK_CENTRE,
  ORVANE_TOP_BACK_RIGHT,
  ORVANE_TOP_SIDE_LEFT,
  ORVANE_TOP_SIDE_RIGHT,
  ORVANE_BOTTOM_FRONT_LEFT,
  ORVANE_BOTTOM_FRONT_CENTRE,
  ORVANE_BOTTOM_FRONT_RIGHT,
  ORVANE_LFE_2,
  ORVANE_NUM_CHANNELS,
};

// The names of an orvane_channel.
typedef struct orvane_channel_name_t {
  const char* abbreviation;
  const char* name;
} orvane_channel_name_t;

ORVANE_CONSTANT orvane_channel_name_t orvane_channel_names[ORVANE_NUM_CHANNELS] = {
    {"FL", "front left"},
    {"FR", "front right"},
    {"FC", "front centre"},
    {"LFE", "low frequencies"},
    {"BL", "back left"},
    {"BR", "back right"},
    {"FLC", "front left of centre"},
    {"FRC", "front right of centre"},
    {"BC", "back centre"},
    {"SL", "side left"},
    {"SR", "side right"},
    {"TC", "top centre"},
    {"TFL", "top front left"},
    {"TFC", "top front centre"},
    {"TFR", "top front right"},
    {"TBL", "top back left"},
    {"TBC", "top back centre"},
    {"TBR", "top back right"},
    {"TSL", "top side left"},
    {"TSR", "top side right"},
    {"BFL", "bottom front left"},
    {"BFC", "bottom front centre"},
    {"BFR", "bottom front right"},
    {"LFE2", "low frequencies 2"},
};

// A loudspeaker: which channel it plays, and its direction from the listener (+x ahead, +y left, +z
// up) on the unit sphere. An LFE is heard from everywhere; its direction has no effect.
typedef struct orvane_loudspeaker_t {
  uint32_t channel;  // orvane_channel
  uint32_t is_lfe;   // 1 or 0
  float x, y, z;
} orvane_loudspeaker_t;

// clang-format off
#define ORVANE_LFE_ROW {ORVANE_LFE, 1, 0.683f, 0.683f, -0.259f}

// The front pair stands at 30 degrees here, and at 45 degrees in the other layouts.
#define ORVANE_ROWS_BELOW_HEIGHTS               \
  {ORVANE_FRONT_LEFT, 0, 0.866f, 0.5f, 0.0f},   \
  {ORVANE_FRONT_RIGHT, 0, 0.866f, -0.5f, 0.0f}, \
  {ORVANE_FRONT_CENTRE, 0, 1.0f, 0.0f, 0.0f},   \
  ORVANE_LFE_ROW,                               \
  {ORVANE_BACK_LEFT, 0, -0.342f, 0.9397f, 0.0f}, \
  {ORVANE_BACK_RIGHT, 0, -0.342f, -0.9397f, 0.0f}
// clang-format on

ORVANE_CONSTANT orvane_loudspeaker_t orvane_5point1point2[] = {
    ORVANE_ROWS_BELOW_HEIGHTS,
    {ORVANE_TOP_SIDE_LEFT, 0, 0.7094f, 0.4096f, 0.5736f},
    {ORVANE_TOP_SIDE_RIGHT, 0, 0.7094f, -0.4096f, 0.5736f},
};

ORVANE_CONSTANT orvane_loudspeaker_t orvane_5point1point4[] = {
    ORVANE_ROWS_BELOW_HEIGHTS,
    {ORVANE_TOP_FRONT_LEFT, 0, 0.7094f, 0.4096f, 0.5736f},
    {ORVANE_TOP_FRONT_RIGHT, 0, 0.7094f, -0.4096f, 0.5736f},
    {ORVANE_TOP_BACK_LEFT, 0, -0.2802f, 0.7698f, 0.5736f},
    {ORVANE_TOP_BACK_RIGHT, 0, -0.2802f, -0.7698f, 0.5736f},
};

// 5.1 takes the first six, 7.1 the first eight, 7.1.4 the first twelve. Deliberate: 22.2 takes its
// channels in this order too, not in that of the mask's bits, so that one table serves all four.
ORVANE_CONSTANT orvane_loudspeaker_t orvane_22point2[] = {
    {ORVANE_FRONT_LEFT, 0, 0.7071f, 0.7071f, 0.0f},
    {ORVANE_FRONT_RIGHT, 0, 0.7071f, -0.7071f, 0.0f},
    {ORVANE_FRONT_CENTRE, 0, 1.0f, 0.0f, 0.0f},
    ORVANE_LFE_ROW,
    {ORVANE_BACK_LEFT, 0, -0.7071f, 0.7071f, 0.0f},
    {ORVANE_BACK_RIGHT, 0, -0.7071f, -0.7071f, 0.0f},
    {ORVANE_SIDE_LEFT, 0, 0.0f, 1.0f, 0.0f},
    {ORVANE_SIDE_RIGHT, 0, 0.0f, -1.0f, 0.0f},
    {ORVANE_TOP_FRONT_LEFT, 0, 0.5f, 0.5f, 0.7071f},
    {ORVANE_TOP_FRONT_RIGHT, 0, 0.5f, -0.5f, 0.7071f},
    {ORVANE_TOP_BACK_LEFT, 0, -0.5f, 0.5f, 0.7071f},
    {ORVANE_TOP_BACK_RIGHT, 0, -0.5f, -0.5f, 0.7071f},
    {ORVANE_FRONT_LEFT_OF_CENTRE, 0, 0.866f, 0.5f, 0.0f},
    {ORVANE_FRONT_RIGHT_OF_CENTRE, 0, 0.866f, -0.5f, 0.0f},
    {ORVANE_BACK_CENTRE, 0, -1.0f, 0.0f, 0.0f},
    {ORVANE_TOP_CENTRE, 0, 0.0f, 0.0f, 1.0f},
    {ORVANE_TOP_FRONT_CENTRE, 0, 0.7071f, 0.0f, 0.7071f},
    {ORVANE_TOP_BACK_CENTRE, 0, -0.7071f, 0.0f, 0.7071f},
    {ORVANE_TOP_SIDE_LEFT, 0, 0.0f, 0.7071f, 0.7071f},
    {ORVANE_TOP_SIDE_RIGHT, 0, 0.0f, -0.7071f, 0.7071f},
    {ORVANE_BOTTOM_FRONT_LEFT, 0, 0.483f, 0.8365f, -0.2588f},
    {ORVANE_BOTTOM_FRONT_RIGHT, 0, 0.483f, -0.8365f, -0.2588f},
    {ORVANE_BOTTOM_FRONT_CENTRE, 0, 0.9659f, 0.0f, -0.2588f},
    {ORVANE_LFE_2, 1, 0.683f, -0.683f, -0.259f},
};

#undef ORVANE_ROWS_BELOW_HEIGHTS
#undef ORVANE_LFE_ROW

typedef struct orvane_layout_t {
  const char* name;
  uint32_t mask;   // channel mask of the platform
  uint32_t index;  // as the effect logs it
  uint32_t num_channels;
  const orvane_loudspeaker_t* loudspeakers;  // of input 0, 1, ... of the effect: num_channels
} orvane_layout_t;

// In the order in which the effect reports their masks.
ORVANE_CONSTANT orvane_layout_t orvane_layouts[] = {
    {"5.1", 0x3F, 202, 6, orvane_22point2},
    {"5.1.2", 0xC003F, 14, 8, orvane_5point1point2},
    {"5.1.4", 0x2D03F, 16, 10, orvane_5point1point4},
    {"7.1", 0x63F, 203, 8, orvane_22point2},
    {"7.1.4", 0x2D63F, 204, 12, orvane_22point2},
    {"22.2", 0xFFFFFF, 205, 24, orvane_22point2},
};

enum { ORVANE_NUM_LAYOUTS = sizeof(orvane_layouts) / sizeof(orvane_layouts[0]) };

// The layout of a channel mask, or null.
ORVANE_CONSTANT_FUNCTION const orvane_layout_t* orvane_find_layout(uint32_t mask) {
  for (uint32_t i = 0; i < ORVANE_NUM_LAYOUTS; ++i) {
    if (orvane_layouts[i].mask == mask) return &orvane_layouts[i];
  }
  return 0;
}

#endif  // ORVANE_RENDERER_LOUDSPEAKER_LAYOUTS_H_
