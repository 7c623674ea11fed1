// SPDX-License-Identifier: Apache-2.0
// Highway compiles this file once for every instruction set that is worth dispatching to.
#include "numerics/sparse_filter.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numerics/sparse_filter.cpp"
#include <hwy/foreach_target.h>  // first, it includes this file again
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orvane {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

constexpr int32_t kTileVectors = 8;  // independent sums that hide the latency of the multiply-adds

// The samples that are still to be computed, and the range of taps that reach them, both of whose
// ends only move forward.
struct Progress {
  sparse_response_t response;
  const float* samples;
  int32_t length;
  int32_t at;    // first sample that is left
  int32_t left;  // samples
  float* out;    // of sample `at`
  int32_t begin;
  int32_t end;
};

HWY_INLINE void FindTaps(Progress& p, int32_t tile_length) {
  const sparse_tap_t* taps = p.response.taps;
  while (p.begin < p.response.count && taps[p.begin].at + p.length <= p.at) ++p.begin;
  if (p.end < p.begin) p.end = p.begin;
  while (p.end < p.response.count && taps[p.end].at < p.at + tile_length) ++p.end;
}

// Works through whole tiles of kVectors vectors. A sum stays in its register for all taps.
template <size_t kVectors, class D>
HWY_INLINE void AddTiles(D d, Progress& p) {
  const size_t lanes = hn::Lanes(d);
  const auto tile_length = static_cast<int32_t>(kVectors * lanes);
  static_assert(kVectors * hn::MaxLanes(D()) <= SPARSE_FILTER_MARGIN);
  for (; p.left >= tile_length; p.at += tile_length, p.left -= tile_length, p.out += tile_length) {
    FindTaps(p, tile_length);
    if (p.begin == p.end) continue;
    hn::Vec<D> sums[kVectors];
    for (size_t v = 0; v < kVectors; ++v) sums[v] = hn::LoadU(d, p.out + v * lanes);
    for (int32_t k = p.begin; k < p.end; ++k) {
      const sparse_tap_t& tap = p.response.taps[k];
      const float* x = p.samples + (p.at - tap.at);
      const auto gain = hn::Set(d, tap.gain);
      for (size_t v = 0; v < kVectors; ++v) {
        sums[v] = hn::MulAdd(gain, hn::LoadU(d, x + v * lanes), sums[v]);
      }
    }
    for (size_t v = 0; v < kVectors; ++v) hn::StoreU(sums[v], d, p.out + v * lanes);
  }
}

void AddFiltered(sparse_response_t response, const float* samples, int32_t length, int32_t first,
                 int32_t count, float* out) {
  Progress p = {response, samples, length, first, count, nullptr, 0, 0};
  p.out = out;
  AddTiles<kTileVectors>(hn::CappedTag<float, SPARSE_FILTER_MARGIN / kTileVectors>(), p);
  p.end = p.begin;  // taps that only the longer tile reached
  AddTiles<1>(hn::CappedTag<float, 4>(), p);
  p.end = p.begin;
  AddTiles<1>(hn::CappedTag<float, 1>(), p);
}

}  // namespace HWY_NAMESPACE
}  // namespace orvane
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orvane {
HWY_EXPORT(AddFiltered);
}  // namespace orvane

void sparse_filter_add(sparse_response_t response, const float* samples, int32_t length,
                       int32_t first, int32_t count, float* out) {
  using namespace orvane;
  HWY_DYNAMIC_DISPATCH(AddFiltered)(response, samples, length, first, count, out);
}
#endif  // HWY_ONCE
