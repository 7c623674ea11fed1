// Highway compiles this file once for every instruction set that is worth dispatching to.
#include "numerics/mix_spectra.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numerics/mix_spectra.cpp"
#include <hwy/foreach_target.h>  // first, it includes this file again
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orvane {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

constexpr size_t kParts = 4;           // real or imaginary parts of a group
constexpr size_t kGroup = 2 * kParts;  // floats of a group
constexpr size_t kTile = 4;            // groups whose independent sums hide the latency

#if HWY_MAX_BYTES >= 32

// A vector holds a group. Its products with the real parts of the other factor are
// {xr hr, xi hr}, those with the imaginary parts {xr hi, xi hi}.
HWY_INLINE void AccumulateTile(const float* const* x, const float* const* h, uint32_t count,
                               float* sum, size_t at) {
  const hn::CappedTag<float, kGroup> d;
  const hn::Half<decltype(d)> half;
  hn::Vec<decltype(d)> by_real[kTile], by_imaginary[kTile];
  for (size_t g = 0; g < kTile; ++g) by_real[g] = by_imaginary[g] = hn::Zero(d);
  for (uint32_t c = 0; c < count; ++c) {
    const float *factors = x[c] + at, *others = h[c] + at;
    for (size_t g = 0; g < kTile; ++g, factors += kGroup, others += kGroup) {
      const auto factor = hn::LoadU(d, factors);
      by_real[g] = hn::MulAdd(factor, hn::LoadDup128(d, others), by_real[g]);
      by_imaginary[g] = hn::MulAdd(factor, hn::LoadDup128(d, others + kParts), by_imaginary[g]);
    }
  }
  for (size_t g = 0; g < kTile; ++g) {
    float* group = sum + at + g * kGroup;
    const auto real =
        hn::Sub(hn::LowerHalf(half, by_real[g]), hn::UpperHalf(half, by_imaginary[g]));
    const auto imaginary =
        hn::Add(hn::UpperHalf(half, by_real[g]), hn::LowerHalf(half, by_imaginary[g]));
    hn::StoreU(hn::Add(hn::LoadU(half, group), real), half, group);
    hn::StoreU(hn::Add(hn::LoadU(half, group + kParts), imaginary), half, group + kParts);
  }
}

#else

HWY_INLINE void AccumulateTile(const float* const* x, const float* const* h, uint32_t count,
                               float* sum, size_t at) {
  const hn::CappedTag<float, kParts> d;
  for (size_t lane = at; lane < at + kParts; lane += hn::Lanes(d)) {
    hn::Vec<decltype(d)> real[kTile], imaginary[kTile];
    for (size_t g = 0; g < kTile; ++g) {
      real[g] = hn::LoadU(d, sum + lane + g * kGroup);
      imaginary[g] = hn::LoadU(d, sum + lane + g * kGroup + kParts);
    }
    for (uint32_t c = 0; c < count; ++c) {
      const float *factor = x[c] + lane, *other = h[c] + lane;
      for (size_t g = 0; g < kTile; ++g, factor += kGroup, other += kGroup) {
        const auto xr = hn::LoadU(d, factor), xi = hn::LoadU(d, factor + kParts);
        const auto hr = hn::LoadU(d, other), hi = hn::LoadU(d, other + kParts);
        real[g] = hn::NegMulAdd(xi, hi, hn::MulAdd(xr, hr, real[g]));
        imaginary[g] = hn::MulAdd(xi, hr, hn::MulAdd(xr, hi, imaginary[g]));
      }
    }
    for (size_t g = 0; g < kTile; ++g) {
      hn::StoreU(real[g], d, sum + lane + g * kGroup);
      hn::StoreU(imaginary[g], d, sum + lane + g * kGroup + kParts);
    }
  }
}

#endif  // HWY_MAX_BYTES

void AccumulateSpectra(const float* const* x, const float* const* h, uint32_t count, float* sum,
                       uint32_t size) {
  float dc = sum[0], nyquist = sum[kParts];
  for (uint32_t c = 0; c < count; ++c) {
    dc += x[c][0] * h[c][0];
    nyquist += x[c][kParts] * h[c][kParts];
  }
  for (size_t at = 0; at < size; at += kTile * kGroup) AccumulateTile(x, h, count, sum, at);
  sum[0] = dc;  // these two are no real and imaginary part of the same bin
  sum[kParts] = nyquist;
}

}  // namespace HWY_NAMESPACE
}  // namespace orvane
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orvane {
HWY_EXPORT(AccumulateSpectra);
}  // namespace orvane

void accumulate_spectra(const float* const* x, const float* const* h, uint32_t count, float* sum,
                        uint32_t size) {
  using namespace orvane;
  HWY_DYNAMIC_DISPATCH(AccumulateSpectra)(x, h, count, sum, size);
}
#endif  // HWY_ONCE
