// Highway compiles this file once for every instruction set that is worth dispatching to.
#include "numerics/mix_spectra.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numerics/mix_spectra.cpp"
#include <hwy/foreach_target.h>  // first, it includes this file again
#include <hwy/highway.h>

#include "numerics/lane_complex-inl.h"

HWY_BEFORE_NAMESPACE();
namespace orvane {
namespace HWY_NAMESPACE {

// Sums over all lanes: of `a` to the two floats at `to_a`, of `b` to those at `to_b`.
HWY_INLINE void StoreSums(const Complex& a, const Complex& b, float* to_a, float* to_b) {
#if HWY_TARGET == HWY_SCALAR
  to_a[0] = hn::GetLane(a.re);
  to_a[1] = hn::GetLane(a.im);
  to_b[0] = hn::GetLane(b.re);
  to_b[1] = hn::GetLane(b.im);
#else
  const D d;
  const hn::CappedTag<float, 4> four;
  const hn::Half<decltype(four)> two;
  const V sums_a = hn::Add(hn::InterleaveLower(d, a.re, a.im), hn::InterleaveUpper(d, a.re, a.im));
  const V sums_b = hn::Add(hn::InterleaveLower(d, b.re, b.im), hn::InterleaveUpper(d, b.re, b.im));
  const V sums = hn::Add(FirstPairs(sums_a, sums_b), LastPairs(sums_a, sums_b));
#if HWY_MAX_BYTES >= 32
  const auto all = hn::Add(hn::LowerHalf(four, sums), hn::UpperHalf(four, sums));
#else
  const auto all = sums;
#endif
  hn::StoreU(hn::LowerHalf(two, all), two, to_a);
  hn::StoreU(hn::UpperHalf(two, all), two, to_b);
#endif  // HWY_TARGET
}

// DC and Nyquist, the two ends of a spectrum, are real.
HWY_INLINE void MixEnds(const float* packed, const float* responses, size_t batch, uint32_t count,
                        float* sum) {
  const Complex zero = {hn::Zero(D()), hn::Zero(D())};
  Complex ends = zero;
  for (uint32_t i = 0; i < count; ++i, packed += batch, responses += batch) {
    for (size_t lane = 0; lane < kLanes; lane += hn::Lanes(D())) {
      const Complex z = Load(packed + lane), h = Load(responses + lane);
      ends.re = hn::MulAdd(hn::Add(z.re, z.im), h.re, ends.re);
      ends.im = hn::MulAdd(hn::Sub(z.re, z.im), h.im, ends.im);
    }
  }
  float nothing[2];
  StoreSums(Add(ends, ends), zero, sum, nothing);
}

// Bins k and size / 2 - k are made of the same two packed bins. With e the sum of the first and the
// conjugate of the second, and o their difference, turned by the twiddle, twice the bins are e + o
// and the conjugate of e - o.
HWY_INLINE void Accumulate(const float* packed, const float* responses, size_t low, size_t high,
                           V re, V im, Complex* at_low, Complex* at_high) {
  const Complex z = Load(packed + low), y = Load(packed + high);
  const Complex e = {hn::Add(z.re, y.re), hn::Sub(z.im, y.im)};
  const Complex o = Mul({hn::Sub(z.re, y.re), hn::Add(z.im, y.im)}, re, im);
  const Complex x = Add(e, o), x_high = Sub(e, o);
  const Complex h = Load(responses + low), h_high = Load(responses + high);
  at_low->re = hn::NegMulAdd(x.im, h.im, hn::MulAdd(x.re, h.re, at_low->re));
  at_low->im = hn::MulAdd(x.im, h.re, hn::MulAdd(x.re, h.im, at_low->im));
  at_high->re = hn::MulAdd(x_high.im, h_high.im, hn::MulAdd(x_high.re, h_high.re, at_high->re));
  at_high->im = hn::NegMulAdd(x_high.im, h_high.re, hn::MulAdd(x_high.re, h_high.im, at_high->im));
}

void Mix(const lane_transform_t& transform, const float* packed, const float* responses,
         uint32_t count, float* sum) {
  const D d;
  const size_t bins = transform.size / 2, batch = batch_size(transform.size);
  MixEnds(packed, responses, batch, count, sum);
  for (size_t k = 1; k <= bins / 2; ++k) {
    const V re = hn::Set(d, transform.split_twiddles[2 * k]);
    const V im = hn::Set(d, transform.split_twiddles[2 * k + 1]);
    Complex at_low = {hn::Zero(d), hn::Zero(d)}, at_high = at_low;
    size_t low = k * kBin, high = (bins - k) * kBin;
    for (uint32_t i = 0; i < count; ++i, low += batch, high += batch) {
      for (size_t lane = 0; lane < kLanes; lane += hn::Lanes(d)) {
        Accumulate(packed + lane, responses + lane, low, high, re, im, &at_low, &at_high);
      }
    }
    StoreSums(at_low, at_high, sum + 2 * k, sum + 2 * (bins - k));
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace orvane
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orvane {
HWY_EXPORT(Mix);
}  // namespace orvane

void mix_spectra(const lane_transform_t& transform, const float* packed, const float* responses,
                 uint32_t count, float* sum) {
  using namespace orvane;
  HWY_DYNAMIC_DISPATCH(Mix)(transform, packed, responses, count, sum);
}
#endif  // HWY_ONCE
