// SPDX-License-Identifier: Apache-2.0
#include "ambisonics/ambisonics_base.h"

#include <math.h>
#include <stdlib.h>

#include "ambisonics/ambisonics_base_internal.h"
#include "base/checked.h"
#include "base/memory.h"
#include "base/result.h"

static_assert(sizeof(ambisonics_config_t) == 16);
static_assert(is_laid_out(sizeof(ambisonics_base_t), 24));

namespace {

constexpr double kHalfPi = 1.5707963267948966;
constexpr uint32_t kNumDegrees = AMBISONICS_MAX_ORDER + 1;
constexpr int32_t kFactorials[2 * AMBISONICS_MAX_ORDER + 1] = {1,   1,   2,    6,    24,
                                                               120, 720, 5040, 40320};

// Numbers the channels by degree and, within a degree, by ascending order.
void fill_acn(ambisonics_base_t* b) {
  const int32_t highest = static_cast<int32_t>(b->order);
  uint32_t channel = 0;
  for (int32_t n = 0; n <= highest; ++n) {
    for (int32_t m = -n; m <= n; ++m, ++channel) {
      if (channel >= b->num_channels) return;
      b->degree_order[channel][0] = n;
      b->degree_order[channel][1] = m;
    }
  }
}

// Schmidt semi-normalisation: sqrt(w (n - |m|)! / (n + |m|)!), w = 1 for m = 0, else 2.
float sn3d(int32_t n, int32_t m) {
  const int32_t k = abs(m);
  const float ratio =
      static_cast<float>(kFactorials[n - k]) / static_cast<float>(kFactorials[n + k]);
  return sqrtf((m == 0 ? 1.0f : 2.0f) * ratio);
}

// Associated Legendre functions p[n][m] of x = sin(elevation), with y = cos(elevation), positive
// sign throughout (no Condon-Shortley phase).
void evaluate_legendre(float elevation, float p[kNumDegrees][kNumDegrees]) {
  // The difference is taken in double: in single precision pi/2 itself would be off by 4e-8.
  const float colatitude = static_cast<float>(kHalfPi - static_cast<double>(elevation));
  const float x = cosf(colatitude), y = sinf(colatitude);
  const float x2 = x * x, y2 = y * y;
  p[0][0] = 1.0f;
  p[1][0] = x;
  p[1][1] = y;
  p[2][0] = (3.0f * x2 - 1.0f) / 2.0f;
  p[2][1] = 3.0f * x * y;
  p[2][2] = 3.0f * y2;
  p[3][0] = (5.0f * x2 * x - 3.0f * x) / 2.0f;
  p[3][1] = 1.5f * (5.0f * x2 - 1.0f) * y;
  p[3][2] = 15.0f * x * y2;
  p[3][3] = 15.0f * y2 * y;
  p[4][0] = (35.0f * x2 * x2 - 30.0f * x2 + 3.0f) / 8.0f;
  p[4][1] = 2.5f * (7.0f * x2 * x - 3.0f * x) * y;
  p[4][2] = 7.5f * (7.0f * x2 - 1.0f) * y2;
  p[4][3] = 105.0f * x * y2 * y;
  p[4][4] = 105.0f * y2 * y2;
}

// cos(m a) for m > 0, sin(|m| a) for m < 0, 1 for m = 0.
float azimuth_factor(int32_t m, float azimuth) {
  if (m == 0) return 1.0f;
  const float angle = static_cast<float>(abs(m)) * azimuth;
  return m > 0 ? cosf(angle) : sinf(angle);
}

}  // namespace

uint32_t ambisonics_base_init(ambisonics_base_t* b, ambisonics_config_t config) {
  if (!b) return UBR_NO_MEMORY;  // Deliberate: a record is null where it could not be allocated.
  *b = {};
  if (config.order > AMBISONICS_MAX_ORDER) return UBR_INVALID;
  if (config.num_channels > AMBISONICS_MAX_CHANNELS) return UBR_NO_MEMORY;
  b->order = config.order;
  b->num_channels = config.num_channels;
  b->degree_order = alloc_zeroed<int32_t*>(b->num_channels);
  b->normalisation = alloc_zeroed<float>(b->num_channels);
  if (!b->degree_order || !b->normalisation) return UBR_NO_MEMORY;
  for (uint32_t i = 0; i < b->num_channels; ++i) {
    b->degree_order[i] = alloc_zeroed<int32_t>(2u);
    if (!b->degree_order[i]) return UBR_NO_MEMORY;
  }
  if (config.ordering == 0) fill_acn(b);
  if (config.normalisation_type != 0) return UBR_OK;
  for (uint32_t i = 0; i < b->num_channels; ++i) {
    b->normalisation[i] = sn3d(b->degree_order[i][0], b->degree_order[i][1]);
  }
  return UBR_OK;
}

uint32_t ambisonics_base_generate_beam(const ambisonics_base_t* b, float* beam, float azimuth,
                                       float elevation, float gain) {
  float legendre[kNumDegrees][kNumDegrees];
  evaluate_legendre(elevation, legendre);
  for (uint32_t i = 0; i < b->num_channels; ++i) {
    const int32_t n = b->degree_order[i][0];
    const int32_t m = b->degree_order[i][1];
    beam[i] = b->normalisation[i] * legendre[n][abs(m)] * azimuth_factor(m, azimuth) * gain;
  }
  return UBR_OK;
}

void ambisonics_write_weights(uint32_t order, float azimuth, float elevation, float* weights) {
  float legendre[kNumDegrees][kNumDegrees];
  evaluate_legendre(elevation, legendre);
  const int32_t highest = static_cast<int32_t>(order);
  for (int32_t n = 0; n <= highest; ++n) {
    for (int32_t m = -n; m <= n; ++m) {
      *weights++ = sn3d(n, m) * legendre[n][abs(m)] * azimuth_factor(m, azimuth);
    }
  }
}

// With r = cos(elevation), the harmonic of degree n and order m is P(n, |m|) / r^|m|, a polynomial
// in z = sin(elevation), times r^|m| cos(m a) or r^|m| sin(|m| a), polynomials in x and y: the real
// and the imaginary part of (x + iy)^|m|.
void ambisonics_write_cartesian_weights(const ambisonics_base_t& base, const float v[3],
                                        float* weights) {
  const float x = v[0], y = v[1], z = v[2], z2 = z * z;
  const float c2 = x * x - y * y, s2 = 2.0f * x * y;
  const float c3 = c2 * x - s2 * y, s3 = s2 * x + c2 * y;
  const float c4 = c2 * c2 - s2 * s2, s4 = 2.0f * c2 * s2;
  const float p31 = 7.5f * z2 - 1.5f;
  const float p41 = (17.5f * z2 - 7.5f) * z;
  const float p42 = 52.5f * z2 - 7.5f;
  // clang-format off
  const float harmonics[AMBISONICS_MAX_CHANNELS] = {
      1.0f,
      y, z, x,
      3.0f * s2, 3.0f * z * y, 1.5f * z2 - 0.5f, 3.0f * z * x, 3.0f * c2,
      15.0f * s3, 15.0f * z * s2, p31 * y, (2.5f * z2 - 1.5f) * z, p31 * x, 15.0f * z * c2,
      15.0f * c3,
      105.0f * s4, 105.0f * z * s3, p42 * s2, p41 * y, (4.375f * z2 - 3.75f) * z2 + 0.375f,
      p41 * x, p42 * c2, 105.0f * z * c3, 105.0f * c4,
  };
  // clang-format on
  for (uint32_t i = 0; i < base.num_channels; ++i) {
    weights[i] = base.normalisation[i] * harmonics[i];
  }
}

uint32_t ambisonics_base_cleanup(ambisonics_base_t* b) {
  if (!b) return UBR_OK;
  if (b->degree_order) {
    for (uint32_t i = 0; i < b->num_channels; ++i) release(b->degree_order[i]);
  }
  release(b->degree_order, b->normalisation);
  *b = {};
  return UBR_OK;
}
