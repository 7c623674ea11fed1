// SPDX-License-Identifier: Apache-2.0
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

// Where a bin's parts go.
struct BinPlace {
  float *re, *im;
};

// The sums over all lanes of two bins.
HWY_INLINE void StoreSums(const Complex& a, const Complex& b, BinPlace to_a, BinPlace to_b) {
#if HWY_TARGET == HWY_SCALAR
  *to_a.re = hn::GetLane(a.re);
  *to_a.im = hn::GetLane(a.im);
  *to_b.re = hn::GetLane(b.re);
  *to_b.im = hn::GetLane(b.im);
#else
  const D d;
  const V sums_a = hn::Add(hn::InterleaveLower(d, a.re, a.im), hn::InterleaveUpper(d, a.re, a.im));
  const V sums_b = hn::Add(hn::InterleaveLower(d, b.re, b.im), hn::InterleaveUpper(d, b.re, b.im));
  const V sums = hn::Add(FirstPairs(sums_a, sums_b), LastPairs(sums_a, sums_b));
#if HWY_MAX_BYTES >= 32
  const hn::CappedTag<float, 4> four;
  const auto all = hn::Add(hn::LowerHalf(four, sums), hn::UpperHalf(four, sums));
#else
  const auto all = sums;
#endif
  *to_a.re = hn::ExtractLane(all, 0);
  *to_a.im = hn::ExtractLane(all, 1);
  *to_b.re = hn::ExtractLane(all, 2);
  *to_b.im = hn::ExtractLane(all, 3);
#endif  // HWY_TARGET
}

HWY_INLINE Complex Zero() { return {hn::Zero(D()), hn::Zero(D())}; }

// DC and Nyquist, the two ends of a spectrum, are real.
HWY_INLINE void MixEnds(const float* packed, size_t bins, uint32_t count,
                        const spectrum_sum_t& to) {
  const size_t batch = bins * kBin;
  Complex ends = Zero();
  for (size_t at = 0; at < count * batch; at += batch) {
    for (size_t lane = 0; lane < kLanes; lane += hn::Lanes(D())) {
      const Complex z = Load(packed + at + lane), h = Load(to.responses + at + lane);
      ends.re = hn::MulAdd(hn::Add(z.re, z.im), h.re, ends.re);
      ends.im = hn::MulAdd(hn::Sub(z.re, z.im), h.im, ends.im);
    }
  }
  float* const im = to.sum + bins + 1;
  StoreSums(Add(ends, ends), Zero(), {to.sum, to.sum + bins}, {im, im + bins});
}

// Bins k and size / 2 - k, which are made of the same two packed bins.
struct BinPair {
  HWY_INLINE BinPair() : BinPair(Zero(), Zero()) {}
  HWY_INLINE BinPair(const Complex& a, const Complex& b) : low(a), high(b) {}
  Complex low, high;
};

// Twice these bins. With e the sum of the first packed bin and the conjugate of the second, and o
// their difference times the twiddle, they are e + o and the conjugate of e - o; `high` is left
// unconjugated.
HWY_INLINE BinPair Unpack(const float* low, const float* high, V re, V im) {
  const Complex z = Load(low), y = Load(high);
  const Complex e = {hn::Add(z.re, y.re), hn::Sub(z.im, y.im)};
  const Complex o = Mul({hn::Sub(z.re, y.re), hn::Add(z.im, y.im)}, re, im);
  return {Add(e, o), Sub(e, o)};
}

HWY_INLINE void Accumulate(const BinPair& x, const float* low, const float* high, BinPair* sum) {
  const Complex h = Load(low), g = Load(high);
  sum->low.re = hn::NegMulAdd(x.low.im, h.im, hn::MulAdd(x.low.re, h.re, sum->low.re));
  sum->low.im = hn::MulAdd(x.low.im, h.re, hn::MulAdd(x.low.re, h.im, sum->low.im));
  sum->high.re = hn::MulAdd(x.high.im, g.im, hn::MulAdd(x.high.re, g.re, sum->high.re));
  sum->high.im = hn::NegMulAdd(x.high.im, g.re, hn::MulAdd(x.high.re, g.im, sum->high.im));
}

template <size_t kSums>
HWY_INLINE void Mix(const lane_transform_t& transform, const float* packed, uint32_t count,
                    const spectrum_sum_t* to) {
  const D d;
  const size_t bins = transform.size / 2, batch = batch_size(transform.size);
  for (size_t s = 0; s < kSums; ++s) MixEnds(packed, bins, count, to[s]);
  for (size_t k = 1; k <= bins / 2; ++k) {
    const V re = hn::Set(d, transform.spectrum_twiddles[2 * k]);
    const V im = hn::Set(d, transform.spectrum_twiddles[2 * k + 1]);
    size_t low = k * kBin, high = (bins - k) * kBin;
    BinPair sums[kSums];
    for (uint32_t i = 0; i < count; ++i, low += batch, high += batch) {
      for (size_t lane = 0; lane < kLanes; lane += hn::Lanes(d)) {
        const BinPair x = Unpack(packed + low + lane, packed + high + lane, re, im);
        for (size_t s = 0; s < kSums; ++s) {
          const float* const responses = to[s].responses + lane;
          Accumulate(x, responses + low, responses + high, &sums[s]);
        }
      }
    }
    for (size_t s = 0; s < kSums; ++s) {
      float *const real = to[s].sum, *const imaginary = to[s].sum + bins + 1;
      StoreSums(sums[s].low, sums[s].high, {real + k, imaginary + k},
                {real + bins - k, imaginary + bins - k});
    }
  }
}

// Channel times response at both ends, packed. See Pack for the scale.
HWY_INLINE void MultiplyEnds(const float* packed, const float* responses, float* product) {
  const Complex z = Load(packed), h = Load(responses);
  const V dc = hn::Mul(hn::Add(z.re, z.im), h.re), nyquist = hn::Mul(hn::Sub(z.re, z.im), h.im);
  const V re = hn::Add(dc, nyquist), im = hn::Sub(dc, nyquist);
  Store({hn::Add(re, re), hn::Add(im, im)}, product);
}

// The inverse of Unpack, times two. Unpack doubles bins as well, so what goes through both becomes
// four times as large.
HWY_INLINE void Pack(const BinPair& x, V re, V im, float* low, float* high) {
  const Complex e = Add(x.low, x.high);
  const Complex o = Mul(Sub(x.low, x.high), re, hn::Neg(im));
  const Complex y = Sub(e, o);
  Store(Add(e, o), low);
  Store({y.re, hn::Neg(y.im)}, high);
}

// See unpack_spectra; Unpack has doubled its bins.
void UnpackSpectra(const lane_transform_t& transform, float* batch, float scale) {
  const D d;
  const size_t bins = transform.size / 2;
  const V all = hn::Set(d, scale), half = hn::Set(d, 0.5f * scale);
  for (size_t lane = 0; lane < kLanes; lane += hn::Lanes(d)) {
    const Complex z = Load(batch + lane);
    Store({hn::Mul(hn::Add(z.re, z.im), all), hn::Mul(hn::Sub(z.re, z.im), all)}, batch + lane);
  }
  for (size_t k = 1; k <= bins / 2; ++k) {
    const V re = hn::Set(d, transform.spectrum_twiddles[2 * k]);
    const V im = hn::Set(d, transform.spectrum_twiddles[2 * k + 1]);
    for (size_t lane = 0; lane < kLanes; lane += hn::Lanes(d)) {
      float* const low = batch + k * kBin + lane;
      float* const high = batch + (bins - k) * kBin + lane;
      const BinPair x = Unpack(low, high, re, im);
      Store({hn::Mul(x.low.re, half), hn::Mul(x.low.im, half)}, low);
      Store({hn::Mul(x.high.re, half), hn::Mul(hn::Neg(x.high.im), half)}, high);
    }
  }
}

void MultiplySpectra(const lane_transform_t& transform, const float* packed, const float* responses,
                     float* product) {
  const D d;
  const size_t bins = transform.size / 2;
  for (size_t lane = 0; lane < kLanes; lane += hn::Lanes(d)) {
    MultiplyEnds(packed + lane, responses + lane, product + lane);
  }
  for (size_t k = 1; k <= bins / 2; ++k) {
    const V re = hn::Set(d, transform.spectrum_twiddles[2 * k]);
    const V im = hn::Set(d, transform.spectrum_twiddles[2 * k + 1]);
    for (size_t lane = 0; lane < kLanes; lane += hn::Lanes(d)) {
      const size_t low = k * kBin + lane, high = (bins - k) * kBin + lane;
      BinPair sum;
      Accumulate(Unpack(packed + low, packed + high, re, im), responses + low, responses + high,
                 &sum);
      sum.high.im = hn::Neg(sum.high.im);  // unconjugated again
      Pack(sum, re, im, product + low, product + high);
    }
  }
}

void MixSpectra(const lane_transform_t& transform, const float* packed, uint32_t count,
                const spectrum_sum_t* sums, uint32_t num_sums) {
  if (num_sums == 2) {
    Mix<2>(transform, packed, count, sums);
  } else {
    Mix<1>(transform, packed, count, sums);
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace orvane
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orvane {
HWY_EXPORT(MixSpectra);
HWY_EXPORT(MultiplySpectra);
HWY_EXPORT(UnpackSpectra);
}  // namespace orvane

void mix_spectra(const lane_transform_t& transform, const float* packed, uint32_t count,
                 const spectrum_sum_t* sums, uint32_t num_sums) {
  using namespace orvane;
  HWY_DYNAMIC_DISPATCH(MixSpectra)(transform, packed, count, sums, num_sums);
}

void unpack_spectra(const lane_transform_t& transform, float* batch, float scale) {
  using namespace orvane;
  HWY_DYNAMIC_DISPATCH(UnpackSpectra)(transform, batch, scale);
}

void multiply_spectra(const lane_transform_t& transform, const float* packed,
                      const float* responses, float* product) {
  using namespace orvane;
  HWY_DYNAMIC_DISPATCH(MultiplySpectra)(transform, packed, responses, product);
}
#endif  // HWY_ONCE
