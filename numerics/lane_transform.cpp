// Highway compiles this file once for every instruction set that is worth dispatching to.
#include "numerics/lane_transform.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "numerics/lane_transform.cpp"
#include <hwy/foreach_target.h>  // first, it includes this file again
#include <hwy/highway.h>

#include "numerics/lane_complex-inl.h"

HWY_BEFORE_NAMESPACE();
namespace orvane {
namespace HWY_NAMESPACE {

constexpr size_t kTile = 8;  // samples that are transposed at once
constexpr size_t kTileFloats = kTile * kLanes;

HWY_INLINE V Constant(double value) { return hn::Set(D(), static_cast<float>(value)); }

HWY_INLINE void Butterfly(Complex (&x)[3]) {
  const V half = Constant(0.5), sine = Constant(0.86602540378443864676);
  const Complex sum = Add(x[1], x[2]), difference = Sub(x[1], x[2]);
  const Complex real = SubScaled(x[0], half, sum);
  x[0] = Add(x[0], sum);
  x[1] = SubScaledTurned(real, sine, difference);
  x[2] = AddScaledTurned(real, sine, difference);
}

HWY_INLINE void Butterfly4(Complex& x0, Complex& x1, Complex& x2, Complex& x3) {
  const Complex even = Add(x0, x2), odd = Add(x1, x3);
  const Complex even_difference = Sub(x0, x2), odd_difference = Sub(x1, x3);
  x0 = Add(even, odd);
  x1 = SubTurned(even_difference, odd_difference);
  x2 = Sub(even, odd);
  x3 = AddTurned(even_difference, odd_difference);
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
  const Complex turned1 = AddScaled(difference1, ratio, difference2);
  const Complex turned2 = SubScaled(difference2, ratio, difference1);  // negated
  x[0] = Add(x[0], Add(sum1, sum2));
  x[1] = SubScaledTurned(real1, sine1, turned1);
  x[2] = AddScaledTurned(real2, sine1, turned2);
  x[3] = SubScaledTurned(real2, sine1, turned2);
  x[4] = AddScaledTurned(real1, sine1, turned1);
}

HWY_INLINE void Butterfly(Complex (&x)[8]) {
  Butterfly4(x[0], x[2], x[4], x[6]);
  Butterfly4(x[1], x[3], x[5], x[7]);
  const V root = Constant(0.70710678118654752440);
  const Complex even[4] = {x[0], x[2], x[4], x[6]}, odd0 = x[1], odd2 = x[5];
  const Complex odd1 = SubTurned(x[3], x[3]), odd3 = AddTurned(x[7], x[7]);  // less the root
  x[0] = Add(even[0], odd0);
  x[1] = AddScaled(even[1], root, odd1);
  x[2] = SubTurned(even[2], odd2);
  x[3] = SubScaled(even[3], root, odd3);
  x[4] = Sub(even[0], odd0);
  x[5] = SubScaled(even[1], root, odd1);
  x[6] = AddTurned(even[2], odd2);
  x[7] = AddScaled(even[3], root, odd3);
}

#if HWY_TARGET == HWY_SCALAR

HWY_INLINE void TransposeTile(const float* const* rows, size_t t, float* tile) {
  for (size_t i = 0; i < kTileFloats; ++i) tile[i] = rows[i % kLanes][t + i / kLanes];
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

HWY_INLINE void TransposeTile(const float* const* rows, size_t t, float* tile) {
  const D d;
  for (const size_t end = t + kTile; t < end; t += 4, tile += 4 * kLanes) {
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

#endif  // HWY_TARGET

// A tile of samples from t on, some or all of which may be beyond `frames`.
HWY_INLINE void LoadTile(const float* const* rows, size_t t, size_t frames, float* tile) {
  if (t + kTile <= frames) return TransposeTile(rows, t, tile);
  if (t >= frames) return hwy::ZeroBytes<kTileFloats * sizeof(float)>(tile);
  for (size_t i = 0; i < kTileFloats; ++i) {
    const size_t at = t + i / kLanes;
    tile[i] = at < frames ? rows[i % kLanes][at] : 0.0f;
  }
}

// Loads, and does the pass that needs no twiddles.
template <size_t kRadix>
HWY_INLINE void FirstPass(const lane_transform_t& transform, const float* const* rows,
                          size_t frames, float* packed) {
  const size_t apart = transform.size / kRadix;  // samples between the inputs of a butterfly
  HWY_ALIGN float tiles[kRadix * kTileFloats];
  for (size_t t = 0; t < apart; t += kTile) {
    for (size_t j = 0; j < kRadix; ++j) {
      LoadTile(rows, t + j * apart, frames, tiles + j * kTileFloats);
    }
    for (size_t i = 0; i < kTile / 2; ++i) {
      float* const out = packed + transform.places[t / 2 + i] * kBin;
      for (size_t lane = 0; lane < kLanes; lane += hn::Lanes(D())) {
        Complex x[kRadix];
        for (size_t j = 0; j < kRadix; ++j) x[j] = Load(tiles + j * kTileFloats + i * kBin + lane);
        Butterfly(x);
        for (size_t j = 0; j < kRadix; ++j) Store(x[j], out + j * kBin + lane);
      }
    }
  }
}

// Joins transforms of `length` bins, kRadix at a time, in place. Returns the next pass's twiddles.
template <size_t kRadix>
HWY_INLINE const float* Pass(float* packed, size_t bins, size_t length, const float* twiddles) {
  const size_t apart = length * kBin;
  const float* const end = packed + bins * kBin;
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
  return twiddles;
}

// The passes of radix 4 go through one of the parts that the last pass joins after the other, so
// that each stays in the first cache.
void Forward(const lane_transform_t& transform, const float* const* rows, uint32_t frames,
             float* packed) {
  if (transform.first_radix == 8) {
    FirstPass<8>(transform, rows, frames, packed);
  } else {
    FirstPass<4>(transform, rows, frames, packed);
  }
  const size_t bins = transform.size / 2, part = bins / transform.odd_radix;
  const float* twiddles = nullptr;
  for (size_t begin = 0; begin < bins; begin += part) {
    twiddles = transform.twiddles;
    for (size_t length = transform.first_radix; length < part; length *= 4) {
      twiddles = Pass<4>(packed + begin * kBin, part, length, twiddles);
    }
  }
  if (transform.odd_radix == 3) Pass<3>(packed, bins, part, twiddles);
  if (transform.odd_radix == 5) Pass<5>(packed, bins, part, twiddles);
}

}  // namespace HWY_NAMESPACE
}  // namespace orvane
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orvane {
HWY_EXPORT(Forward);
}  // namespace orvane

void lane_transform_forward(const lane_transform_t& transform, const float* const* rows,
                            uint32_t frames, float* packed) {
  using namespace orvane;
  HWY_DYNAMIC_DISPATCH(Forward)(transform, rows, frames, packed);
}
#endif  // HWY_ONCE
