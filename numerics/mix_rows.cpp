// Highway compiles this file once for every instruction set that is worth dispatching to.
#include "numerics/mix_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numerics/mix_rows.cpp"
#include <hwy/foreach_target.h>  // first, it includes this file again
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace orvane {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Four output rows by one vector of samples. Four rows share each load of the input, and their four
// independent sums hide the latency of the multiply-adds.
template <class D>
HWY_INLINE void MixTile(D d, const mix_weights_t& weights, const sample_rows_t<const float>& in,
                        const sample_rows_t<float>& out, uint32_t row, uint32_t t) {
  auto sum0 = hn::Zero(d);
  auto sum1 = sum0;
  auto sum2 = sum0;
  auto sum3 = sum0;
  const size_t step = weights.out_stride;
  const float* w = weights.data + row * step;
  const float* x = in.data + t;
  for (uint32_t i = 0; i < in.count; ++i, w += weights.in_stride, x += in.stride) {
    const auto samples = hn::LoadU(d, x);
    sum0 = hn::MulAdd(hn::Set(d, w[0]), samples, sum0);
    sum1 = hn::MulAdd(hn::Set(d, w[step]), samples, sum1);
    sum2 = hn::MulAdd(hn::Set(d, w[2 * step]), samples, sum2);
    sum3 = hn::MulAdd(hn::Set(d, w[3 * step]), samples, sum3);
  }
  float* y = out.data + row * out.stride + t;
  hn::StoreU(sum0, d, y);
  hn::StoreU(sum1, d, y + out.stride);
  hn::StoreU(sum2, d, y + 2 * out.stride);
  hn::StoreU(sum3, d, y + 3 * out.stride);
}

// Mixes whole vectors of samples from `t` on and returns the first sample that is left.
template <class D>
HWY_INLINE uint32_t MixVectors(D d, const mix_weights_t& weights,
                               const sample_rows_t<const float>& in,
                               const sample_rows_t<float>& out, uint32_t t, uint32_t frames) {
  const uint32_t lanes = static_cast<uint32_t>(hn::Lanes(d));
  for (; frames - t >= lanes; t += lanes) {
    for (uint32_t row = 0; row < out.count; row += 4) MixTile(d, weights, in, out, row, t);
  }
  return t;
}

void MixRows(mix_weights_t weights, sample_rows_t<const float> in, sample_rows_t<float> out,
             uint32_t frames) {
  const uint32_t t = MixVectors(hn::ScalableTag<float>(), weights, in, out, 0, frames);
  MixVectors(hn::CappedTag<float, 4>(), weights, in, out, t, frames);
}

mix_target_t Target() { return {hwy::TargetName(HWY_TARGET), HWY_NATIVE_FMA != 0}; }

}  // namespace HWY_NAMESPACE
}  // namespace orvane
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orvane {
HWY_EXPORT(MixRows);
HWY_EXPORT(Target);
}  // namespace orvane

void mix_rows(mix_weights_t weights, sample_rows_t<const float> in, sample_rows_t<float> out,
              uint32_t frames) {
  using namespace orvane;
  HWY_DYNAMIC_DISPATCH(MixRows)(weights, in, out, frames);
}

mix_target_t mix_rows_target() {
  using namespace orvane;
  return HWY_DYNAMIC_DISPATCH(Target)();
}
#endif  // HWY_ONCE
