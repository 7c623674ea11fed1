// SPDX-License-Identifier: Apache-2.0
// Head orientations to rotation matrices.
//
// Every format first becomes a 3 x 3 matrix M (row-major) that takes a direction v of the scene to
// v' = M^T v. The scene turns against the head, hence the inverted signs of all angles. With Rn(a)
// the direction-cosine matrix of a turn of the axes by `a` about axis n (x, y, z = 1, 2, 3):
//
//   ROTATOR_EULER_A          M = R3(a0) R2(a1) R1(a2)
//   ROTATOR_YAW_PITCH_ROLL   M = R1(roll) R2(pitch) R3(yaw), the aerospace sequence
//   ROTATOR_ROTATION_VECTOR  M of Rodrigues' formula
//
// Euler angles as in Diebel, "Representing Attitude" (2006).
#include <math.h>
#include <string.h>

#include "ambisonics/ambisonics_base_internal.h"
#include "ambisonics/rotator.h"
#include "base/result.h"
#include "numerics/mix_channels.h"

namespace {

constexpr float kDegreesToCounterTurn = -0.017453292f;  // -pi/180: the scene turns the other way
constexpr float kCounterPitchBelowPole = -1.5533431f;   // 89 degrees after conversion

// Converts the pitch and keeps it at least one degree from the pole.
// Deliberate: only around +90 degrees, not at exactly 90 and not near -90, because hosts that send
// angles would turn the scene elsewhere for the same angles.
float counter_pitch(float degrees) {
  if (degrees > 89.0f && degrees < 90.0f) return kCounterPitchBelowPole;
  if (degrees > 90.0f && degrees < 91.0f) degrees = 91.0f;
  return degrees * kDegreesToCounterTurn;
}

void euler_matrix(const float degrees[3], uint32_t format, float m[9]) {
  const float a0 = degrees[0] * kDegreesToCounterTurn;
  const float a1 = counter_pitch(degrees[1]);
  const float a2 = degrees[2] * kDegreesToCounterTurn;
  const float c0 = cosf(a0), s0 = sinf(a0);
  const float c1 = cosf(a1), s1 = sinf(a1);
  const float c2 = cosf(a2), s2 = sinf(a2);
  const float a[3][3] = {{c0 * c1, s0 * c2 + c0 * s1 * s2, s0 * s2 - c0 * s1 * c2},
                         {-s0 * c1, c0 * c2 - s0 * s1 * s2, c0 * s2 + s0 * s1 * c2},
                         {s1, -c1 * s2, c1 * c2}};
  const float b[3][3] = {{c0 * c1, s0 * c1, -s1},
                         {c0 * s1 * s2 - s0 * c2, s0 * s1 * s2 + c0 * c2, c1 * s2},
                         {c0 * s1 * c2 + s0 * s2, s0 * s1 * c2 - c0 * s2, c1 * c2}};
  memcpy(m, format == ROTATOR_EULER_A ? a : b, sizeof a);
}

// A turn by -angle about the axis k: v' = v cos - (k x v) sin + k (k . v) (1 - cos).
void rotation_vector_matrix(const float vector[3], float angle, float m[9]) {
  const float length = angle == 0.0f ? 1.0f : angle;
  const float k[3] = {vector[0] / length, vector[1] / length, vector[2] / length};
  const float c = cosf(angle), s = sinf(angle);
  // cross[i][j]: weight of v[i] in (k x v)[j]
  const float cross[3][3] = {{0.0f, k[2], -k[1]}, {-k[2], 0.0f, k[0]}, {k[1], -k[0], 0.0f}};
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      m[3 * i + j] = (i == j ? c : 0.0f) - cross[i][j] * s + k[i] * k[j] * (1.0f - c);
    }
  }
}

// Row d of B: the SH weights of direction d after the turn.
void weigh_turned_directions(rotator_t* r, const float m[9]) {
  for (uint32_t d = 0; d < r->ambisonics->num_channels; ++d) {
    const float* v = r->directions_xyz[d];
    const float turned[3] = {m[0] * v[0] + m[3] * v[1] + m[6] * v[2],
                             m[1] * v[0] + m[4] * v[1] + m[7] * v[2],
                             m[2] * v[0] + m[5] * v[1] + m[8] * v[2]};
    ambisonics_write_cartesian_weights(*r->ambisonics, turned, r->rotated_beams[d]);
  }
}

// R = inverse(Y) * B, d ascending.
void update_current_matrix(rotator_t* r) {
  const uint32_t num_channels = r->ambisonics->num_channels;
  float* rows[AMBISONICS_MAX_CHANNELS];
  for (uint32_t i = 0; i < num_channels; ++i) {
    rows[i] = r->current_matrix + size_t{i} * r->padded_channels;
  }
  mix_channels({r->beam_matrix_pinv, 1, num_channels}, {r->rotated_beams, num_channels},
               {rows, num_channels}, num_channels, false);
}

}  // namespace

uint32_t rotator_set_orientation(rotator_t* r, const float orientation[3], uint32_t format) {
  if (format > ROTATOR_ROTATION_VECTOR) return UBR_INVALID;
  const float* o = orientation;
  if (format == ROTATOR_ROTATION_VECTOR) {
    const float angle = sqrtf(o[0] * o[0] + o[1] * o[1] + o[2] * o[2]);
    if (!isfinite(angle)) return UBR_INVALID;
    float matrix[9];
    rotation_vector_matrix(o, angle, matrix);
    weigh_turned_directions(r, matrix);
  } else {
    if (!isfinite(o[0]) || !isfinite(o[1]) || !isfinite(o[2])) return UBR_INVALID;
    euler_matrix(o, format, r->orientation_matrix);
    weigh_turned_directions(r, r->orientation_matrix);
  }
  update_current_matrix(r);
  return UBR_OK;
}
