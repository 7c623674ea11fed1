// SPDX-License-Identifier: Apache-2.0
// The passes of a transform on lanes, for the kernels. Included once for every instruction set.
#if defined(ORVANE_NUMERICS_LANE_PASSES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVANE_NUMERICS_LANE_PASSES_INL_H_
#undef ORVANE_NUMERICS_LANE_PASSES_INL_H_
#else
#define ORVANE_NUMERICS_LANE_PASSES_INL_H_
#endif

#include "numerics/lane_complex-inl.h"
#include "numerics/lane_transform.h"

HWY_BEFORE_NAMESPACE();
namespace orvane {
namespace HWY_NAMESPACE {

constexpr size_t kTile = 4;  // bins, or pairs of samples, that are transposed at once

HWY_INLINE V Constant(double value) { return hn::Set(D(), static_cast<float>(value)); }

HWY_INLINE void Butterfly(Complex (&x)[3]) {
  const V half = Constant(0.5), sine = Constant(0.86602540378443864676);
  const Complex sum = Add(x[1], x[2]), difference = Sub(x[1], x[2]);
  const Complex real = SubScaled(x[0], half, sum);
  x[0] = Add(x[0], sum);
  x[1] = SubScaledTimesI(real, sine, difference);
  x[2] = AddScaledTimesI(real, sine, difference);
}

HWY_INLINE void Butterfly4(Complex& x0, Complex& x1, Complex& x2, Complex& x3) {
  const Complex even = Add(x0, x2), odd = Add(x1, x3);
  const Complex even_difference = Sub(x0, x2), odd_difference = Sub(x1, x3);
  x0 = Add(even, odd);
  x1 = SubTimesI(even_difference, odd_difference);
  x2 = Sub(even, odd);
  x3 = AddTimesI(even_difference, odd_difference);
}

HWY_INLINE void Butterfly(Complex (&x)[4]) { Butterfly4(x[0], x[1], x[2], x[3]); }

// Cosines of 72 and 144 degrees; the sine of the second is `ratio` of that of the first.
HWY_INLINE void Butterfly(Complex (&x)[5]) {
  const V cosine1 = Constant(0.30901699437494742410), cosine2 = Constant(-0.80901699437494742410);
  const V sine1 = Constant(0.95105651629515357212), ratio = Constant(0.61803398874989484820);
  const Complex sum1 = Add(x[1], x[4]), sum2 = Add(x[2], x[3]);
  const Complex difference1 = Sub(x[1], x[4]), difference2 = Sub(x[2], x[3]);
  const Complex real1 = AddScaled(AddScaled(x[0], cosine1, sum1), cosine2, sum2);
  const Complex real2 = AddScaled(AddScaled(x[0], cosine2, sum1), cosine1, sum2);
  const Complex sines1 = AddScaled(difference1, ratio, difference2);
  const Complex sines2 = SubScaled(difference2, ratio, difference1);  // negated
  x[0] = Add(x[0], Add(sum1, sum2));
  x[1] = SubScaledTimesI(real1, sine1, sines1);
  x[2] = AddScaledTimesI(real2, sine1, sines2);
  x[3] = SubScaledTimesI(real2, sine1, sines2);
  x[4] = AddScaledTimesI(real1, sine1, sines1);
}

HWY_INLINE void Butterfly(Complex (&x)[8]) {
  Butterfly4(x[0], x[2], x[4], x[6]);
  Butterfly4(x[1], x[3], x[5], x[7]);
  const V root = Constant(0.70710678118654752440);
  const Complex even[4] = {x[0], x[2], x[4], x[6]}, odd0 = x[1], odd2 = x[5];
  const Complex odd1 = SubTimesI(x[3], x[3]), odd3 = AddTimesI(x[7], x[7]);  // less the root
  x[0] = Add(even[0], odd0);
  x[1] = AddScaled(even[1], root, odd1);
  x[2] = SubTimesI(even[2], odd2);
  x[3] = SubScaled(even[3], root, odd3);
  x[4] = Sub(even[0], odd0);
  x[5] = SubScaled(even[1], root, odd1);
  x[6] = AddTimesI(even[2], odd2);
  x[7] = AddScaled(even[3], root, odd3);
}

// Those of the pass that joins transforms of `length` bins: the passes before it, all of radix 4,
// have three for each of first_radix, 4 * first_radix and so on bins.
HWY_INLINE const float* PassTwiddles(const lane_transform_t& transform, size_t length) {
  return transform.twiddles + 2 * (length - transform.first_radix);
}

// A pass over `bins` bins, in place: joins transforms of `length` bins, kRadix at a time.
template <size_t kRadix>
HWY_INLINE void Pass(const lane_transform_t& transform, float* packed, size_t bins, size_t length) {
  const size_t apart = length * kBin;
  const float* const end = packed + bins * kBin;
  const float* twiddles = PassTwiddles(transform, length);
  for (size_t k = 0; k < length; ++k, packed += kBin) {
    V re[kRadix], im[kRadix];
    for (size_t j = 1; j < kRadix; ++j, twiddles += 2) {
      re[j] = hn::Set(D(), twiddles[0]);
      im[j] = hn::Set(D(), twiddles[1]);
    }
    for (float* at = packed; at < end; at += kRadix * apart) {
      for (size_t lane = 0; lane < kLanes; lane += hn::Lanes(D())) {
        Complex x[kRadix];
        x[0] = Load(at + lane);
        for (size_t j = 1; j < kRadix; ++j) x[j] = Mul(Load(at + j * apart + lane), re[j], im[j]);
        Butterfly(x);
        for (size_t j = 0; j < kRadix; ++j) Store(x[j], at + j * apart + lane);
      }
    }
  }
}

// The same pass transposed, on bins whose parts are swapped: a step of the inverse, because
// swapping the parts before and after a transform inverts it.
template <size_t kRadix>
HWY_INLINE void InversePass(const lane_transform_t& transform, float* packed, size_t bins,
                            size_t length) {
  const size_t apart = length * kBin;
  const float* const end = packed + bins * kBin;
  const float* twiddles = PassTwiddles(transform, length);
  for (size_t k = 0; k < length; ++k, packed += kBin) {
    V re[kRadix], im[kRadix];
    for (size_t j = 1; j < kRadix; ++j, twiddles += 2) {
      re[j] = hn::Set(D(), twiddles[0]);
      im[j] = hn::Set(D(), twiddles[1]);
    }
    for (float* at = packed; at < end; at += kRadix * apart) {
      for (size_t lane = 0; lane < kLanes; lane += hn::Lanes(D())) {
        Complex x[kRadix];
        for (size_t j = 0; j < kRadix; ++j) x[j] = LoadSwapped(at + j * apart + lane);
        Butterfly(x);
        StoreSwapped(x[0], at + lane);
        for (size_t j = 1; j < kRadix; ++j) {
          StoreSwapped(Mul(x[j], re[j], im[j]), at + j * apart + lane);
        }
      }
    }
  }
}

// All passes of the inverse but the one that needs no twiddles.
HWY_INLINE void InversePasses(const lane_transform_t& transform, float* packed) {
  const size_t bins = transform.size / 2, part = bins / transform.odd_radix;
  if (transform.odd_radix == 3) InversePass<3>(transform, packed, bins, part);
  if (transform.odd_radix == 5) InversePass<5>(transform, packed, bins, part);
  for (const float* const end = packed + bins * kBin; packed < end; packed += part * kBin) {
    for (size_t length = part / 4; length >= transform.first_radix; length /= 4) {
      InversePass<4>(transform, packed, part, length);
    }
  }
}

// The pass of the inverse that needs no twiddles, and is the last. `store(k, tile)` receives the
// bins k to k + 3 of the result, k a multiple of four, in no order.
template <size_t kRadix, class Store4>
HWY_INLINE void InverseLastPass(const lane_transform_t& transform, const float* packed,
                                const Store4& store) {
  const size_t apart = transform.size / 2 / kRadix;  // bins between the outputs of a butterfly
  HWY_ALIGN float tiles[kRadix][kTile * kBin];
  for (size_t k = 0; k < apart; k += kTile) {
    for (size_t i = 0; i < kTile; ++i) {
      const float* const in = packed + transform.permutation[k + i] * kBin;
      for (size_t lane = 0; lane < kLanes; lane += hn::Lanes(D())) {
        Complex x[kRadix];
        for (size_t j = 0; j < kRadix; ++j) x[j] = LoadSwapped(in + j * kBin + lane);
        Butterfly(x);
        for (size_t j = 0; j < kRadix; ++j) StoreSwapped(x[j], tiles[j] + i * kBin + lane);
      }
    }
    for (size_t j = 0; j < kRadix; ++j) store(k + j * apart, tiles[j]);
  }
}

template <class Store4>
HWY_INLINE void InverseLastPass(const lane_transform_t& transform, const float* packed,
                                const Store4& store) {
  if (transform.first_radix == 8) {
    InverseLastPass<8>(transform, packed, store);
  } else {
    InverseLastPass<4>(transform, packed, store);
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace orvane
HWY_AFTER_NAMESPACE();

#endif  // ORVANE_NUMERICS_LANE_PASSES_INL_H_
