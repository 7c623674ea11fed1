// SPDX-License-Identifier: Apache-2.0
// Complex arithmetic on lanes, for the kernels. Included once for every instruction set.
#if defined(ORVANE_NUMERICS_LANE_COMPLEX_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORVANE_NUMERICS_LANE_COMPLEX_INL_H_
#undef ORVANE_NUMERICS_LANE_COMPLEX_INL_H_
#else
#define ORVANE_NUMERICS_LANE_COMPLEX_INL_H_
#endif

#include <hwy/highway.h>

#include "numerics/lane_transform.h"

HWY_BEFORE_NAMESPACE();
namespace orvane {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

constexpr size_t kLanes = kTransformLanes;
constexpr size_t kBin = 2 * kLanes;  // floats of a bin

using D = hn::CappedTag<float, kLanes>;
using V = hn::Vec<D>;

// As many lanes as a vector has: where that is fewer than a bin has, callers go through them. The
// constructors are written out because g++ makes implicit ones for the wrong instruction set.
struct Complex {
  HWY_INLINE Complex() {}
  HWY_INLINE Complex(V real, V imaginary) : re(real), im(imaginary) {}
  V re, im;
};

HWY_INLINE Complex Load(const float* bin) {
  return {hn::LoadU(D(), bin), hn::LoadU(D(), bin + kLanes)};
}
HWY_INLINE void Store(const Complex& a, float* bin) {
  hn::StoreU(a.re, D(), bin);
  hn::StoreU(a.im, D(), bin + kLanes);
}

// The same for bins that hold the imaginary part first.
HWY_INLINE Complex LoadSwapped(const float* bin) {
  return {hn::LoadU(D(), bin + kLanes), hn::LoadU(D(), bin)};
}
HWY_INLINE void StoreSwapped(const Complex& a, float* bin) {
  hn::StoreU(a.im, D(), bin);
  hn::StoreU(a.re, D(), bin + kLanes);
}

HWY_INLINE Complex Add(const Complex& a, const Complex& b) {
  return {hn::Add(a.re, b.re), hn::Add(a.im, b.im)};
}
HWY_INLINE Complex Sub(const Complex& a, const Complex& b) {
  return {hn::Sub(a.re, b.re), hn::Sub(a.im, b.im)};
}
HWY_INLINE Complex Mul(const Complex& a, V re, V im) {
  return {hn::MulSub(a.re, re, hn::Mul(a.im, im)), hn::MulAdd(a.re, im, hn::Mul(a.im, re))};
}

// a + i b and a - i b
HWY_INLINE Complex AddTimesI(const Complex& a, const Complex& b) {
  return {hn::Sub(a.re, b.im), hn::Add(a.im, b.re)};
}
HWY_INLINE Complex SubTimesI(const Complex& a, const Complex& b) {
  return {hn::Add(a.re, b.im), hn::Sub(a.im, b.re)};
}

// The same with s b in the place of b, s real.
HWY_INLINE Complex AddScaled(const Complex& a, V s, const Complex& b) {
  return {hn::MulAdd(s, b.re, a.re), hn::MulAdd(s, b.im, a.im)};
}
HWY_INLINE Complex SubScaled(const Complex& a, V s, const Complex& b) {
  return {hn::NegMulAdd(s, b.re, a.re), hn::NegMulAdd(s, b.im, a.im)};
}
HWY_INLINE Complex AddScaledTimesI(const Complex& a, V s, const Complex& b) {
  return {hn::NegMulAdd(s, b.im, a.re), hn::MulAdd(s, b.re, a.im)};
}
HWY_INLINE Complex SubScaledTimesI(const Complex& a, V s, const Complex& b) {
  return {hn::MulAdd(s, b.im, a.re), hn::NegMulAdd(s, b.re, a.im)};
}

#if HWY_TARGET != HWY_SCALAR

// Of each four lanes the first two of a and of b, and the last two.
HWY_INLINE V FirstPairs(V a, V b) {
  const hn::RepartitionToWide<D> pairs;
  return hn::BitCast(D(), hn::InterleaveLower(pairs, hn::BitCast(pairs, a), hn::BitCast(pairs, b)));
}
HWY_INLINE V LastPairs(V a, V b) {
  const hn::RepartitionToWide<D> pairs;
  return hn::BitCast(D(), hn::InterleaveUpper(pairs, hn::BitCast(pairs, a), hn::BitCast(pairs, b)));
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace orvane
HWY_AFTER_NAMESPACE();

#endif  // ORVANE_NUMERICS_LANE_COMPLEX_INL_H_
