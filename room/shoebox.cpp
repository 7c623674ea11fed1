// SPDX-License-Identifier: Apache-2.0
#include "room/shoebox.h"

#include <math.h>
#include <stddef.h>

#include "base/checked.h"

static_assert(sizeof(shoebox_params_t) == 9 * sizeof(float));
static_assert(sizeof(shoebox_params_fixed_t) == 9 * sizeof(int32_t));
static_assert(sizeof(shoebox_config_t) == 125 * sizeof(float));
static_assert(offsetof(shoebox_config_t, source_positions) == 4 * sizeof(float) &&
              offsetof(shoebox_config_t, direct_distances) == 79 * sizeof(float) &&
              offsetof(shoebox_config_t, listener) == 104 * sizeof(float) &&
              offsetof(shoebox_config_t, wall_margin) == 113 * sizeof(float) &&
              offsetof(shoebox_config_t, params) == 116 * sizeof(float));

namespace {

// Absorption of materials 1 to 27. Numbers of equal value are kept apart: each is a material of its
// own to whoever selects it.
constexpr float kMaterials[SHOEBOX_MATERIALS] = {
    1.0f,  0.2f,   0.035f, 0.75f,  0.65f, 0.55f, 0.075f, 0.1f,  0.6f,    // 1 to 9
    0.02f, 0.3f,   0.07f,  0.035f, 0.03f, 0.04f, 0.03f,  0.05f, 0.101f,  // 10 to 18
    0.01f, 0.689f, 0.99f,  0.72f,  0.01f, 0.2f,  0.63f,  0.07f, 0.11f,   // 19 to 27
};

constexpr float kSideWall = kMaterials[24 - 1];
constexpr float kFloor = kMaterials[25 - 1];
constexpr float kCeiling = kMaterials[27 - 1];

constexpr float kMaxDimension = 2048.0f;    // metres, the range of Q11.20
constexpr float kDimensionSteps = 0x1p20f;  // fixed-point steps per metre
constexpr float kMaxAbsorption = 1.0f;
constexpr float kAbsorptionSteps = 0x1p31f;  // fixed-point steps of a coefficient of 1

constexpr shoebox_params_t default_params(float x, float y, float z) {
  return {x, y, z, {kSideWall, kSideWall, kSideWall, kSideWall, kCeiling, kFloor}};
}

// False for NaN as well.
bool is_wall(float wall) { return wall >= 1.0f && wall <= static_cast<float>(SHOEBOX_WALLS); }

void set_absorption(shoebox_config_t* s, float wall, float coefficient) {
  const uint32_t index = checked_index(static_cast<uint32_t>(wall) - 1, SHOEBOX_WALLS);
  s->params.absorption[index] = coefficient;
}

int32_t to_fixed(float value, float limit, float steps) {
  const float clamped = fmaxf(fminf(value, limit), -limit);  // NaN becomes +limit
  const float rounded = roundf(clamped * steps);
  return rounded < 0x1p31f ? static_cast<int32_t>(rounded) : INT32_MAX;
}

int32_t dimension_to_fixed(float metres) {
  return to_fixed(metres, kMaxDimension, kDimensionSteps);
}

float to_float(int32_t value, float steps) { return static_cast<float>(value) * (1.0f / steps); }

}  // namespace

shoebox_params_t* shoebox_config_init(shoebox_params_t* p) {
  // Deliberate: not the size of a fresh room model, because callers that leave it out get this
  // room.
  *p = default_params(3.0f, 4.0f, 5.0f);
  return p;
}

shoebox_config_t* shoebox_init(shoebox_config_t* s) {
  *s = {};
  s->reserved_a = 1.0f;
  s->max_sources = static_cast<float>(SHOEBOX_MAX_SOURCES);
  s->reserved_b[0] = 1.0f;
  s->reserved_b[1] = 1.0f;
  s->cartesian_sources = 1.0f;
  s->relative_sources = 1.0f;
  s->height_from_floor = 1.0f;
  s->angles_in_radians = 1.0f;
  s->reserved_c = 1.0f;
  s->wall_margin = 0.1f;
  s->speed_of_sound = SHOEBOX_SPEED_OF_SOUND;
  s->distance_loss = 0.00137f;
  s->params = default_params(5.0f, 6.0f, 4.0f);
  return s;
}

void shoebox_get_config(const shoebox_config_t* s, shoebox_params_t* p) { *p = s->params; }

void shoebox_set_config(shoebox_config_t* s, const shoebox_params_t* p) { s->params = *p; }

void shoebox_set_abscoeff(shoebox_config_t* s, float wall, float coefficient) {
  if (!(coefficient >= 0.0f && coefficient <= 1.0f) || !is_wall(wall)) return;
  set_absorption(s, wall, coefficient);
}

void shoebox_set_material(shoebox_config_t* s, float wall, float material) {
  // Deliberate: a wall is tested before its fraction is cut off, a material after, so there is a
  // material 27.9 but no wall 6.5.
  constexpr float kBeyondLast = static_cast<float>(SHOEBOX_MATERIALS + 1);
  if (!is_wall(wall) || !(material >= 1.0f && material < kBeyondLast)) return;
  set_absorption(s, wall, kMaterials[static_cast<uint32_t>(material) - 1]);
}

void shoebox_config_to_fixed(const shoebox_params_t* p, shoebox_params_fixed_t* q) {
  q->room_x = dimension_to_fixed(p->room_x);
  q->room_y = dimension_to_fixed(p->room_y);
  q->room_z = dimension_to_fixed(p->room_z);
  for (uint32_t wall = 0; wall < SHOEBOX_WALLS; ++wall) {
    q->absorption[wall] = to_fixed(p->absorption[wall], kMaxAbsorption, kAbsorptionSteps);
  }
}

void shoebox_config_to_float(const shoebox_params_fixed_t* q, shoebox_params_t* p) {
  p->room_x = to_float(q->room_x, kDimensionSteps);
  p->room_y = to_float(q->room_y, kDimensionSteps);
  p->room_z = to_float(q->room_z, kDimensionSteps);
  for (uint32_t wall = 0; wall < SHOEBOX_WALLS; ++wall) {
    p->absorption[wall] = to_float(q->absorption[wall], kAbsorptionSteps);
  }
}

void shoebox_initialize(void) {}
void shoebox_terminate(void) {}
void shoebox_structnames(void) {}
