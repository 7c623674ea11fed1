#include "ambisonics/unit_beam.h"

// With r = cos(elevation), the harmonic of degree n and order m is P(n, |m|) / r^|m|, a polynomial
// in z = sin(elevation), times r^|m| cos(m a) or r^|m| sin(|m| a), polynomials in x and y: the real
// and the imaginary part of (x + iy)^|m|.
void generate_unit_beam(const ambisonics_base_t& base, float* beam, const float v[3]) {
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
  for (uint32_t i = 0; i < base.num_channels; ++i) beam[i] = base.normalisation[i] * harmonics[i];
}
