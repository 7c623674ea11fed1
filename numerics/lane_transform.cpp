// SPDX-License-Identifier: Apache-2.0
// Highway compiles this file once for every instruction set that is worth dispatching to.
#include "numerics/lane_transform.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numerics/lane_transform.cpp"
#include <hwy/foreach_target.h>  // first, it includes this file again
#include <hwy/highway.h>

#include "numerics/lane_passes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace orvane {
namespace HWY_NAMESPACE {

constexpr size_t kTileSamples = 2 * kTile;
constexpr size_t kTileFloats = kTile * kBin;

#if HWY_TARGET == HWY_SCALAR

HWY_INLINE void TransposeTile(const float* const* rows, size_t t, float* tile) {
  for (size_t i = 0; i < kTileFloats; ++i) tile[i] = rows[i % kLanes][t + i / kLanes];
}

HWY_INLINE void TransposeToRows(const float* tile, float* const* rows, size_t t) {
  for (size_t i = 0; i < kTileFloats; ++i) rows[i % kLanes][t + i / kLanes] = tile[i];
}

#else

// Four samples of a row, and next to them those of the row four further on.
HWY_INLINE V LoadRow(const float* const* rows, size_t t) {
#if HWY_MAX_BYTES >= 32
  const hn::Half<D> half;
  return hn::Combine(D(), hn::LoadU(half, rows[4] + t), hn::LoadU(half, rows[0] + t));
#else
  return hn::LoadU(D(), rows[0] + t);
#endif
}

HWY_INLINE void StoreRow(V samples, float* const* rows, size_t t) {
#if HWY_MAX_BYTES >= 32
  const hn::Half<D> half;
  hn::StoreU(hn::LowerHalf(half, samples), half, rows[0] + t);
  hn::StoreU(hn::UpperHalf(half, samples), half, rows[4] + t);
#else
  hn::StoreU(samples, D(), rows[0] + t);
#endif
}

HWY_INLINE void TransposeTile(const float* const* rows, size_t t, float* tile) {
  const D d;
  for (const size_t end = t + kTileSamples; t < end; t += 4, tile += 4 * kLanes) {
    for (size_t lane = 0; lane < kLanes; lane += hn::Lanes(d)) {
      const V row0 = LoadRow(rows + lane, t), row1 = LoadRow(rows + lane + 1, t);
      const V row2 = LoadRow(rows + lane + 2, t), row3 = LoadRow(rows + lane + 3, t);
      const V first01 = hn::InterleaveLower(d, row0, row1);
      const V first23 = hn::InterleaveLower(d, row2, row3);
      const V last01 = hn::InterleaveUpper(d, row0, row1);
      const V last23 = hn::InterleaveUpper(d, row2, row3);
      hn::StoreU(FirstPairs(first01, first23), d, tile + lane);
      hn::StoreU(LastPairs(first01, first23), d, tile + kLanes + lane);
      hn::StoreU(FirstPairs(last01, last23), d, tile + 2 * kLanes + lane);
      hn::StoreU(LastPairs(last01, last23), d, tile + 3 * kLanes + lane);
    }
  }
}

HWY_INLINE void TransposeToRows(const float* tile, float* const* rows, size_t t) {
  const D d;
  for (const size_t end = t + kTileSamples; t < end; t += 4, tile += 4 * kLanes) {
    for (size_t lane = 0; lane < kLanes; lane += hn::Lanes(d)) {
      const V sample0 = hn::LoadU(d, tile + lane), sample1 = hn::LoadU(d, tile + kLanes + lane);
      const V sample2 = hn::LoadU(d, tile + 2 * kLanes + lane);
      const V sample3 = hn::LoadU(d, tile + 3 * kLanes + lane);
      const V first01 = hn::InterleaveLower(d, sample0, sample1);
      const V first23 = hn::InterleaveLower(d, sample2, sample3);
      const V last01 = hn::InterleaveUpper(d, sample0, sample1);
      const V last23 = hn::InterleaveUpper(d, sample2, sample3);
      StoreRow(FirstPairs(first01, first23), rows + lane, t);
      StoreRow(LastPairs(first01, first23), rows + lane + 1, t);
      StoreRow(FirstPairs(last01, last23), rows + lane + 2, t);
      StoreRow(LastPairs(last01, last23), rows + lane + 3, t);
    }
  }
}

#endif  // HWY_TARGET

// A tile of samples from t on, some or all of which may be beyond `frames`.
HWY_INLINE void LoadTile(const float* const* rows, size_t t, size_t frames, float* tile) {
  if (t + kTileSamples <= frames) return TransposeTile(rows, t, tile);
  if (t >= frames) return hwy::ZeroBytes<kTileFloats * sizeof(float)>(tile);
  for (size_t i = 0; i < kTileFloats; ++i) {
    const size_t at = t + i / kLanes;
    tile[i] = at < frames ? rows[i % kLanes][at] : 0.0f;
  }
}

// Keeps the samples of a tile that are before `frames`.
HWY_INLINE void StoreTile(const float* tile, float* const* rows, size_t t, size_t frames) {
  if (t + kTileSamples <= frames) return TransposeToRows(tile, rows, t);
  for (size_t i = 0; i < kTileFloats && t + i / kLanes < frames; ++i) {
    rows[i % kLanes][t + i / kLanes] = tile[i];
  }
}

// Loads, and does the pass that needs no twiddles.
template <size_t kRadix>
HWY_INLINE void FirstPass(const lane_transform_t& transform, const float* const* rows,
                          size_t frames, float* packed) {
  const size_t apart = transform.size / kRadix;  // samples between the inputs of a butterfly
  HWY_ALIGN float tiles[kRadix * kTileFloats];
  for (size_t t = 0; t < apart; t += kTileSamples) {
    for (size_t j = 0; j < kRadix; ++j) {
      LoadTile(rows, t + j * apart, frames, tiles + j * kTileFloats);
    }
    for (size_t i = 0; i < kTile; ++i) {
      float* const out = packed + transform.permutation[t / 2 + i] * kBin;
      for (size_t lane = 0; lane < kLanes; lane += hn::Lanes(D())) {
        Complex x[kRadix];
        for (size_t j = 0; j < kRadix; ++j) x[j] = Load(tiles + j * kTileFloats + i * kBin + lane);
        Butterfly(x);
        for (size_t j = 0; j < kRadix; ++j) Store(x[j], out + j * kBin + lane);
      }
    }
  }
}

// All passes of radix 4 finish one part before they begin the next, so that a part stays in the
// first cache. The last pass joins the parts.
void Forward(const lane_transform_t& transform, const float* const* rows, uint32_t frames,
             float* packed) {
  if (transform.first_radix == 8) {
    FirstPass<8>(transform, rows, frames, packed);
  } else {
    FirstPass<4>(transform, rows, frames, packed);
  }
  const size_t bins = transform.size / 2, part = bins / transform.odd_radix;
  for (size_t begin = 0; begin < bins; begin += part) {
    for (size_t length = transform.first_radix; length < part; length *= 4) {
      Pass<4>(transform, packed + begin * kBin, part, length);
    }
  }
  if (transform.odd_radix == 3) Pass<3>(transform, packed, bins, part);
  if (transform.odd_radix == 5) Pass<5>(transform, packed, bins, part);
}

// Forward, transposed.
void Inverse(const lane_transform_t& transform, float* packed, float* const* rows,
             uint32_t frames) {
  InversePasses(transform, packed);
  InverseLastPass(transform, packed, [=](size_t bin, const float* tile) HWY_ATTR {
    StoreTile(tile, rows, 2 * bin, frames);
  });
}

}  // namespace HWY_NAMESPACE
}  // namespace orvane
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orvane {
HWY_EXPORT(Forward);
HWY_EXPORT(Inverse);
}  // namespace orvane

void lane_transform_forward(const lane_transform_t& transform, const float* const* rows,
                            uint32_t frames, float* packed) {
  using namespace orvane;
  HWY_DYNAMIC_DISPATCH(Forward)(transform, rows, frames, packed);
}

void lane_transform_inverse(const lane_transform_t& transform, float* packed, float* const* rows,
                            uint32_t frames) {
  using namespace orvane;
  HWY_DYNAMIC_DISPATCH(Inverse)(transform, packed, rows, frames);
}
#endif  // HWY_ONCE
