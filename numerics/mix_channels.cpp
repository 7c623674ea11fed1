// SPDX-License-Identifier: Apache-2.0
// Highway compiles this file once for every instruction set that is worth dispatching to.
#include "numerics/mix_channels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numerics/mix_channels.cpp"
#include <hwy/foreach_target.h>  // first, it includes this file again
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orvane {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

struct Mix {
  mix_weights_t weights;
  const float* slopes;  // null for static weights
  channels_t<const float> in;
  channels_t<float> out;
  bool accumulate;
};

// For the samples from t on, the first sample of the step of four that each one belongs to. A
// vector of more than one lane begins on a step.
template <class D>
HWY_INLINE hn::Vec<D> StepStarts(D d, uint32_t t) {
  const hn::RebindToSigned<D> di;
  const auto steps = hn::And(hn::Iota(di, 0), hn::Set(di, ~3));
  return hn::Add(hn::Set(d, static_cast<float>(t & ~3u)), hn::ConvertTo(d, steps));
}

// kRows outputs by kVectors vectors of samples. The rows share each load of the input, and the
// independent sums, ten at most, hide the latency of the multiply-adds within sixteen registers.
template <size_t kRows, size_t kVectors, bool kFades, class D>
HWY_INLINE void MixTile(D d, const Mix& mix, uint32_t row, uint32_t t) {
  using V = hn::Vec<D>;
  const size_t lanes = hn::Lanes(d), step = mix.weights.out_stride;
  V sums[kRows][kVectors], starts[kVectors];
  for (size_t v = 0; v < kVectors; ++v) {
    for (size_t r = 0; r < kRows; ++r) sums[r][v] = hn::Zero(d);
    if (kFades) starts[v] = StepStarts(d, t + static_cast<uint32_t>(v * lanes));
  }
  const float* weights = mix.weights.data + row * step;
  const float* slopes = kFades ? mix.slopes + row * step : nullptr;
  for (uint32_t i = 0; i < mix.in.count; ++i) {
    const float* x = mix.in.rows[i] + t;
    V samples[kVectors], scaled[kVectors];
    for (size_t v = 0; v < kVectors; ++v) {
      samples[v] = hn::LoadU(d, x + v * lanes);
      if (kFades) scaled[v] = hn::Mul(samples[v], starts[v]);
    }
    for (size_t r = 0; r < kRows; ++r) {
      const V weight = hn::Set(d, weights[r * step]);
      for (size_t v = 0; v < kVectors; ++v) sums[r][v] = hn::MulAdd(weight, samples[v], sums[r][v]);
      if (!kFades) continue;
      const V slope = hn::Set(d, slopes[r * step]);
      for (size_t v = 0; v < kVectors; ++v) sums[r][v] = hn::MulAdd(slope, scaled[v], sums[r][v]);
    }
    weights += mix.weights.in_stride;
    if (kFades) slopes += mix.weights.in_stride;
  }
  for (size_t r = 0; r < kRows; ++r) {
    float* y = mix.out.rows[row + r] + t;
    for (size_t v = 0; v < kVectors; ++v, y += lanes) {
      hn::StoreU(mix.accumulate ? hn::Add(hn::LoadU(d, y), sums[r][v]) : sums[r][v], d, y);
    }
  }
}

// Mixes tiles of kVectors vectors from `t` on and returns the first sample that is left.
template <size_t kVectors, bool kFades, class D>
HWY_INLINE uint32_t MixTiles(D d, const Mix& mix, uint32_t t, uint32_t frames) {
  const uint32_t length = static_cast<uint32_t>(kVectors * hn::Lanes(d));
  for (; frames - t >= length; t += length) {
    uint32_t row = 0;
    for (; mix.out.count - row >= 5; row += 5) MixTile<5, kVectors, kFades>(d, mix, row, t);
    switch (mix.out.count - row) {
      case 4:
        MixTile<4, kVectors, kFades>(d, mix, row, t);
        break;
      case 3:
        MixTile<3, kVectors, kFades>(d, mix, row, t);
        break;
      case 2:
        MixTile<2, kVectors, kFades>(d, mix, row, t);
        break;
      case 1:
        MixTile<1, kVectors, kFades>(d, mix, row, t);
        break;
      default:
        break;
    }
  }
  return t;
}

template <bool kFades>
HWY_INLINE void MixFrames(const Mix& mix, uint32_t frames) {
  uint32_t t = MixTiles<2, kFades>(hn::ScalableTag<float>(), mix, 0, frames);
  t = MixTiles<1, kFades>(hn::ScalableTag<float>(), mix, t, frames);
  t = MixTiles<1, kFades>(hn::CappedTag<float, 4>(), mix, t, frames);
  MixTiles<1, kFades>(hn::CappedTag<float, 1>(), mix, t, frames);
}

void MixStatic(const mix_weights_t& weights, const channels_t<const float>& in,
               const channels_t<float>& out, uint32_t frames, bool accumulate) {
  MixFrames<false>({weights, nullptr, in, out, accumulate}, frames);
}

void MixFading(const mix_weights_t& weights, const float* slopes, const channels_t<const float>& in,
               const channels_t<float>& out, uint32_t frames) {
  MixFrames<true>({weights, slopes, in, out, false}, frames);
}

mix_target_t Target() { return {hwy::TargetName(HWY_TARGET), HWY_NATIVE_FMA != 0}; }

}  // namespace HWY_NAMESPACE
}  // namespace orvane
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orvane {
HWY_EXPORT(MixStatic);
HWY_EXPORT(MixFading);
HWY_EXPORT(Target);
}  // namespace orvane

void mix_channels(mix_weights_t weights, channels_t<const float> in, channels_t<float> out,
                  uint32_t frames, bool accumulate) {
  using namespace orvane;
  HWY_DYNAMIC_DISPATCH(MixStatic)(weights, in, out, frames, accumulate);
}

void mix_channels_fading(mix_weights_t weights, const float* slopes, channels_t<const float> in,
                         channels_t<float> out, uint32_t frames) {
  using namespace orvane;
  HWY_DYNAMIC_DISPATCH(MixFading)(weights, slopes, in, out, frames);
}

mix_target_t mix_channels_target() {
  using namespace orvane;
  return HWY_DYNAMIC_DISPATCH(Target)();
}
#endif  // HWY_ONCE
