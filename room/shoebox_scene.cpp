// SPDX-License-Identifier: Apache-2.0
#include "room/shoebox_scene.h"

#include <math.h>
#include <stddef.h>
#include <string.h>

#include "base/checked.h"
#include "numerics/norm.h"

static_assert(sizeof(shoebox_scene_t) == (2 + 4 * 151) * sizeof(float));
static_assert(offsetof(shoebox_scene_t, delay) == 2 * sizeof(float) &&
              offsetof(shoebox_scene_t, elevation) == (2 + 3 * 151) * sizeof(float));

namespace {

constexpr float kRadiansPerDegree = 0.017453292f;

float dimension(const shoebox_config_t* room, uint32_t axis) {
  const float dimensions[] = {room->params.room_x, room->params.room_y, room->params.room_z};
  return dimensions[axis];
}

float sign(float value) { return static_cast<float>((value > 0.0f) - (value < 0.0f)); }

float distance(const float a[3], const float b[3]) {
  const float difference[] = {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
  return scaled_norm(difference, 3);
}

void lower_to_room_axes(const shoebox_config_t* room, float position[3]) {
  if (room->height_from_floor != 0.0f) position[2] -= room->params.room_z * 0.5f;
}

void clamp_into_room(const shoebox_config_t* room, float position[3]) {
  for (uint32_t axis = 0; axis < 3; ++axis) {
    const float limit = dimension(room, axis) * 0.5f - room->wall_margin;
    if (fabsf(position[axis]) > limit) position[axis] = limit * sign(position[axis]);
  }
}

void spherical_to_cartesian(const shoebox_config_t* room, const float source[3],
                            float position[3]) {
  // Deliberate: degrees scale the distance along with the angles, because callers in degrees
  // have chosen their distances for it.
  const float scale = room->angles_in_radians == 0.0f ? kRadiansPerDegree : 1.0f;
  const float azimuth = source[0] * scale;
  const float elevation = source[1] * scale;
  const float radius = source[2] * scale;
  position[0] = radius * cosf(elevation) * cosf(azimuth);
  position[1] = radius * cosf(elevation) * sinf(azimuth);
  position[2] = radius * sinf(elevation);
}

// Records source `index` as it was given and leaves its place inside the room in `position`.
void place_source(shoebox_config_t* room, uint32_t index, const float source[3],
                  float position[3]) {
  if (room->cartesian_sources == 0.0f) {
    spherical_to_cartesian(room, source, position);
  } else {
    memcpy(position, source, 3 * sizeof(float));
    // Deliberate: heights relative to the listener are lowered too, because positions that callers
    // have stored count from there.
    lower_to_room_axes(room, position);
  }
  memcpy(room->source_positions + size_t{3} * index, position, 3 * sizeof(float));
  if (room->relative_sources != 0.0f) {
    for (uint32_t axis = 0; axis < 3; ++axis) position[axis] += room->listener[axis];
  }
  clamp_into_room(room, position);
  room->direct_distances[index] = distance(position, room->listener);
}

// Mirrors `position` in a wall: even walls lie on the positive side of their axis.
void mirror_in_wall(const shoebox_config_t* room, uint32_t wall, const float position[3],
                    float image[3]) {
  const uint32_t axis = wall / 2;
  const float half = dimension(room, axis) * 0.5f;
  const float wall_plane = wall % 2 == 0 ? half : -half;
  memcpy(image, position, 3 * sizeof(float));
  image[axis] = 2.0f * wall_plane - position[axis];
}

uint32_t tap_index(const shoebox_scene_t* scene, uint32_t source, uint32_t wall) {
  const float number =
      static_cast<float>(wall + 1) + scene->reflections_per_source * static_cast<float>(source);
  if (!(number >= 1.0f && number < static_cast<float>(SHOEBOX_MAX_TAPS + 1))) abort();
  return static_cast<uint32_t>(number) - 1;
}

void set_tap(const shoebox_config_t* room, shoebox_scene_t* scene, uint32_t tap, uint32_t wall,
             float direct, const float image[3]) {
  const float* listener = room->listener;
  const float path = distance(image, listener);
  const float longer = path > direct ? path : direct;
  scene->delay[tap] = path / room->speed_of_sound;
  // Deliberate: absorption, an energy coefficient, scales the amplitude, and the loss on the way is
  // subtracted, so that a long path can turn the gain negative.
  scene->gain[tap] =
      (1.0f - room->params.absorption[wall]) * direct / longer - longer * room->distance_loss;
  scene->azimuth[tap] = atan2f(image[1] - listener[1], image[0] - listener[0]);
  scene->elevation[tap] = asinf((image[2] - listener[2]) / path);
}

}  // namespace

void shoebox_set_scene(shoebox_config_t* room, shoebox_scene_t* scene, const float listener[3],
                       const float* sources, float option_a, float option_b) {
  room->cartesian_sources = option_a;
  room->relative_sources = option_b;
  memset(room->source_positions, 0, sizeof(room->source_positions));
  room->source_count =
      scene->source_count > room->max_sources ? room->max_sources : scene->source_count;

  memmove(room->listener, listener, sizeof(room->listener));
  lower_to_room_axes(room, room->listener);
  clamp_into_room(room, room->listener);

  // Counted in floats: no conversion to fail for a count that is huge or not a number.
  for (uint32_t s = 0; static_cast<float>(s + 1) <= room->source_count; ++s) {
    float position[3];
    float image[3];
    place_source(room, checked_index(s, SHOEBOX_MAX_SOURCES), sources + size_t{3} * s, position);
    for (uint32_t wall = 0; wall < SHOEBOX_WALLS; ++wall) {
      mirror_in_wall(room, wall, position, image);
      set_tap(room, scene, tap_index(scene, s, wall), wall, room->direct_distances[s], image);
    }
  }
}
