// SPDX-License-Identifier: Apache-2.0
// Highway compiles this file once for every instruction set that is worth dispatching to.
#include "numerics/pair_transform.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numerics/pair_transform.cpp"
#include <hwy/foreach_target.h>  // first, it includes this file again
#include <hwy/highway.h>

#include "numerics/lane_passes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace orvane {
namespace HWY_NAMESPACE {

constexpr size_t kQuarters = 4;
static_assert(kLanes == 2 * kQuarters, "lanes 0 to 3 are of the sum, 4 to 7 of the difference");
static_assert(kTile == kQuarters, "as many bins are transposed as a lane group has");

struct Spectra {
  const float* symmetric;
  const float* antisymmetric;
};

#if HWY_TARGET == HWY_SCALAR

// A vector has one lane, which is one bin of one signal; the caller goes through all eight.
HWY_INLINE V LoadGroups(const Spectra& x, size_t at, size_t lane) {
  const float a = x.antisymmetric[at + lane % kQuarters];
  return hn::Set(D(), x.symmetric[at + lane % kQuarters] + (lane < kQuarters ? a : -a));
}
HWY_INLINE V LoadGroupsReversed(const Spectra& x, size_t at, size_t lane) {
  return LoadGroups(x, at, lane ^ (kQuarters - 1));
}
HWY_INLINE V LoadForGroups(const float* four, size_t lane) {
  return hn::Set(D(), four[lane % kQuarters]);
}

#else

// 1 in the lanes of the sum and -1 in those of the difference, `lane` being the first of them.
HWY_INLINE V Signs(size_t lane) {
  HWY_ALIGN static constexpr float kSigns[kLanes] = {1, 1, 1, 1, -1, -1, -1, -1};
  return hn::Load(D(), kSigns + lane);
}

// Four floats, for each group.
HWY_INLINE V LoadForGroups(const float* four, size_t) { return hn::LoadDup128(D(), four); }

// Four floats at `at` of the sum's spectrum and of that of the difference.
HWY_INLINE V LoadGroups(const Spectra& x, size_t at, size_t lane) {
  const D d;
  return hn::MulAdd(hn::LoadDup128(d, x.antisymmetric + at), Signs(lane),
                    hn::LoadDup128(d, x.symmetric + at));
}
HWY_INLINE V LoadGroupsReversed(const Spectra& x, size_t at, size_t lane) {
  return hn::Reverse4(D(), LoadGroups(x, at, lane));
}

#endif  // HWY_TARGET

// Packs both spectra, twofold, into the lanes of `packed`: with e the sum of a bin k and the
// conjugate of bin size / 2 - k, and o their difference times i times the root of k, packed bin k
// is e + o.
HWY_INLINE void PackQuarters(const pair_transform_t& transform, const Spectra& x, float* packed) {
  const size_t bins = transform.size / 2, imaginary = bins + 1;
  const float* twiddles = transform.spectrum_twiddles;
  for (size_t k = 0; k < bins; k += kQuarters, packed += kBin, twiddles += 2 * kQuarters) {
    const size_t from_end = bins - k - (kQuarters - 1);
    for (size_t lane = 0; lane < kLanes; lane += hn::Lanes(D())) {
      const Complex low = {LoadGroups(x, k, lane), LoadGroups(x, imaginary + k, lane)};
      const Complex high = {LoadGroupsReversed(x, from_end, lane),
                            LoadGroupsReversed(x, imaginary + from_end, lane)};
      const Complex e = {hn::Add(low.re, high.re), hn::Sub(low.im, high.im)};
      const Complex o = {hn::Sub(low.re, high.re), hn::Add(low.im, high.im)};
      const V re = LoadForGroups(twiddles, lane), im = LoadForGroups(twiddles + kQuarters, lane);
      Store(Add(e, Mul(o, re, im)), packed + lane);
    }
  }
}

#if HWY_TARGET == HWY_SCALAR

// Joins the quarters' bins m to m + 3, and stores the samples that they are of.
HWY_INLINE void JoinTile(const pair_transform_t& transform, size_t m, const float* tile, float* sum,
                         float* difference) {
  const float* const twiddles = transform.join_twiddles + m * 6;
  for (size_t i = 0; i < kTile * 2; ++i) {
    const size_t bin = i % kTile, first = i < kTile ? 0 : kQuarters;
    Complex x[kQuarters];
    for (size_t j = 0; j < kQuarters; ++j) {
      x[j] = LoadSwapped(tile + bin * kBin + first + j);
      if (j == 0) continue;
      const float* const root = twiddles + (j - 1) * 2 * kTile + bin;
      x[j] = Mul(x[j], hn::Set(D(), root[0]), hn::Set(D(), root[kTile]));
    }
    Butterfly(x);
    float* const samples = (first ? difference : sum) + 2 * (m + bin);
    for (size_t j = 0; j < kQuarters; ++j) {
      samples[j * transform.size / kQuarters] = hn::GetLane(x[j].im);
      samples[j * transform.size / kQuarters + 1] = hn::GetLane(x[j].re);
    }
  }
}

#else

// The four bins of each group's lane `j` in turn: they stand in `tile` as columns.
struct Columns {
  V column[kQuarters];
};
HWY_INLINE Columns Transpose(const float* tile) {
  const D d;
  const V row0 = hn::LoadU(d, tile), row1 = hn::LoadU(d, tile + kBin);
  const V row2 = hn::LoadU(d, tile + 2 * kBin), row3 = hn::LoadU(d, tile + 3 * kBin);
  const V first01 = hn::InterleaveLower(d, row0, row1), last01 = hn::InterleaveUpper(d, row0, row1);
  const V first23 = hn::InterleaveLower(d, row2, row3), last23 = hn::InterleaveUpper(d, row2, row3);
  return {{FirstPairs(first01, first23), LastPairs(first01, first23), FirstPairs(last01, last23),
           LastPairs(last01, last23)}};
}

// Four samples of the sum, or of the difference, or of both where a vector holds both.
HWY_INLINE void StoreGroups(V samples, size_t lane, float* sum, float* difference) {
#if HWY_MAX_BYTES >= 32
  const hn::Half<D> half;
  (void)lane;
  hn::StoreU(hn::LowerHalf(half, samples), half, sum);
  hn::StoreU(hn::UpperHalf(half, samples), half, difference);
#else
  hn::StoreU(samples, D(), lane == 0 ? sum : difference);
#endif
}

// Joins the quarters' bins m to m + 3, and stores the samples that they are of.
HWY_INLINE void JoinTile(const pair_transform_t& transform, size_t m, const float* tile, float* sum,
                         float* difference) {
  const D d;
  for (size_t lane = 0; lane < kLanes; lane += hn::Lanes(d)) {
    const Columns re = Transpose(tile + lane), im = Transpose(tile + kLanes + lane);
    const float* twiddles = transform.join_twiddles + m * 6;
    Complex x[kQuarters];
    x[0] = {im.column[0], re.column[0]};  // swapped, for the inverse
    for (size_t j = 1; j < kQuarters; ++j, twiddles += 2 * kTile) {
      x[j] = Mul({im.column[j], re.column[j]}, LoadForGroups(twiddles, lane),
                 LoadForGroups(twiddles + kTile, lane));
    }
    Butterfly(x);
    for (size_t j = 0; j < kQuarters; ++j) {
      const size_t t = 2 * m + j * (transform.size / kQuarters);
      const V even = x[j].im, odd = x[j].re;
      StoreGroups(hn::InterleaveLower(d, even, odd), lane, sum + t, difference + t);
      StoreGroups(hn::InterleaveUpper(d, even, odd), lane, sum + t + 4, difference + t + 4);
    }
  }
}

#endif  // HWY_TARGET

void InversePair(const pair_transform_t& transform, const float* symmetric,
                 const float* antisymmetric, float* work, float* sum, float* difference) {
  PackQuarters(transform, {symmetric, antisymmetric}, work);
  InversePasses(transform.quarters, work);
  InverseLastPass(transform.quarters, work, [&](size_t m, const float* tile) HWY_ATTR {
    JoinTile(transform, m, tile, sum, difference);
  });
}

}  // namespace HWY_NAMESPACE
}  // namespace orvane
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orvane {
HWY_EXPORT(InversePair);
}  // namespace orvane

void pair_transform_inverse(const pair_transform_t& transform, const float* symmetric,
                            const float* antisymmetric, float* work, float* sum,
                            float* difference) {
  using namespace orvane;
  HWY_DYNAMIC_DISPATCH(InversePair)(transform, symmetric, antisymmetric, work, sum, difference);
}
#endif  // HWY_ONCE
