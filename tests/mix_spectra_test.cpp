#include "numerics/mix_spectra.h"

#include <gtest/gtest.h>
#include <pffft.h>

#include "tests/support/signals.h"

namespace {

// The same products by PFFFT itself: they differ in the last bits only.
TEST(SpectraTest, SumsProductsInTheLayoutOfTheTransforms) {
  for (const uint32_t size : {32u, 96u, 512u, 768u, 1280u}) {
    for (const uint32_t count : {0u, 1u, 3u, 5u}) {
      const Planar x = planar_noise(count, size, 1), h = planar_noise(count, size, 20);
      std::vector<float> sum = noise(size, 40), expected = sum;
      PFFFT_Setup* setup = pffft_new_setup(static_cast<int>(size), PFFFT_REAL);
      for (uint32_t c = 0; c < count; ++c) {
        pffft_zconvolve_accumulate(setup, x[c].data(), h[c].data(), expected.data(), 1.0f);
      }
      pffft_destroy_setup(setup);
      accumulate_spectra(x.data(), h.data(), count, sum.data(), size);
      EXPECT_LT(max_difference(expected, sum), 2e-6f) << count << " spectra of " << size;
    }
  }
}

}  // namespace
