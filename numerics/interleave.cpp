// SPDX-License-Identifier: Apache-2.0
// Highway compiles this file once for every instruction set that is worth dispatching to.
#include "numerics/interleave.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numerics/interleave.cpp"
#include <hwy/foreach_target.h>  // first, it includes this file again
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orvane {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR
constexpr size_t kTile = 4;  // channels, and frames that one of a vector's blocks of 128 bits holds
constexpr size_t kStretch = 64;  // frames

// Four channels of a frame in the lowest block of a vector, of the fourth frame on in the next one.
template <class D>
HWY_INLINE hn::Vec<D> LoadFrames(D d, const float* in, size_t num_channels) {
  if constexpr (hn::MaxLanes(D()) == kTile) {
    return hn::LoadU(d, in);
  } else {
    const hn::Half<D> half;
    const float* upper = in + hn::Lanes(half) * num_channels;
    return hn::Combine(d, LoadFrames(half, upper, num_channels),
                       LoadFrames(half, in, num_channels));
  }
}

// Four channels by as many frames as a vector has lanes, transposed block by block.
template <class D>
HWY_INLINE void DeinterleaveTile(D d, const float* in, size_t num_channels, float* const* rows,
                                 size_t f) {
  hn::Vec<D> v[kTile];
  for (size_t i = 0; i < kTile; ++i) v[i] = LoadFrames(d, in + i * num_channels, num_channels);
  const auto even_low = hn::InterleaveLower(d, v[0], v[2]);
  const auto odd_low = hn::InterleaveLower(d, v[1], v[3]);
  const auto even_high = hn::InterleaveUpper(d, v[0], v[2]);
  const auto odd_high = hn::InterleaveUpper(d, v[1], v[3]);
  hn::StoreU(hn::InterleaveLower(d, even_low, odd_low), d, rows[0] + f);
  hn::StoreU(hn::InterleaveUpper(d, even_low, odd_low), d, rows[1] + f);
  hn::StoreU(hn::InterleaveLower(d, even_high, odd_high), d, rows[2] + f);
  hn::StoreU(hn::InterleaveUpper(d, even_high, odd_high), d, rows[3] + f);
}

// Deinterleaves whole vectors of frames and returns the first frame that is left. The last tile
// across the channels overlaps the one before it where their number asks for that. A stretch of
// frames stays in the first-level cache while its channels are read one group after the other.
HWY_INLINE size_t DeinterleaveTiles(const float* in, size_t num_channels, size_t frames,
                                    float* const* rows) {
  const hn::CappedTag<float, 8> d;
  if (num_channels < kTile) return 0;
  const size_t whole = frames - frames % hn::Lanes(d);
  for (size_t begin = 0; begin < whole; begin += kStretch) {
    const size_t end = std::min(begin + kStretch, whole);
    for (size_t c = 0; c < num_channels; c += kTile) {
      const size_t first = std::min(c, num_channels - kTile);
      for (size_t f = begin; f < end; f += hn::Lanes(d)) {
        DeinterleaveTile(d, in + f * num_channels + first, num_channels, rows + first, f);
      }
    }
  }
  return whole;
}
#else
HWY_INLINE size_t DeinterleaveTiles(const float*, size_t, size_t, float* const*) { return 0; }
#endif

void Deinterleave(const float* in, size_t num_channels, size_t frames, float* const* rows) {
  for (size_t f = DeinterleaveTiles(in, num_channels, frames, rows); f < frames; ++f) {
    for (size_t c = 0; c < num_channels; ++c) rows[c][f] = in[f * num_channels + c];
  }
}

void InterleaveStereo(const float* left, const float* right, size_t frames, bool accumulate,
                      float* out) {
  const hn::CappedTag<float, 8> d;
  size_t f = 0;
  for (; frames - f >= hn::Lanes(d); f += hn::Lanes(d)) {
    auto l = hn::LoadU(d, left + f), r = hn::LoadU(d, right + f);
    if (accumulate) {
      hn::Vec<decltype(d)> old_l, old_r;
      hn::LoadInterleaved2(d, out + 2 * f, old_l, old_r);
      l = hn::Add(l, old_l);
      r = hn::Add(r, old_r);
    }
    hn::StoreInterleaved2(l, r, d, out + 2 * f);
  }
  for (; f < frames; ++f) {
    out[2 * f] = accumulate ? left[f] + out[2 * f] : left[f];
    out[2 * f + 1] = accumulate ? right[f] + out[2 * f + 1] : right[f];
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace orvane
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orvane {
HWY_EXPORT(Deinterleave);
HWY_EXPORT(InterleaveStereo);
}  // namespace orvane

void deinterleave(const float* samples, size_t num_channels, size_t frames,
                  float* const* channels) {
  using namespace orvane;
  HWY_DYNAMIC_DISPATCH(Deinterleave)(samples, num_channels, frames, channels);
}

void interleave_stereo(const float* left, const float* right, size_t frames, bool accumulate,
                       float* stereo) {
  using namespace orvane;
  HWY_DYNAMIC_DISPATCH(InterleaveStereo)(left, right, frames, accumulate, stereo);
}
#endif  // HWY_ONCE
