// SPDX-License-Identifier: Apache-2.0
// Compiled for one instruction set (bench/CMakeLists.txt), so that the unit does not change with
// what the dispatch of the library finds.
#include "bench/reference_kernel.h"

#include <benchmark/benchmark.h>
#include <hwy/highway.h>

namespace hn = hwy::HWY_NAMESPACE;

namespace {

using Lanes = hn::CappedTag<float, 8>;
using Vector = hn::Vec<Lanes>;
constexpr size_t kLanes = hn::MaxLanes(Lanes());
constexpr size_t kTileRows = 4;
constexpr size_t kTileVectors = 16 / kLanes;
static_assert(!HWY_ARCH_X86 || kLanes == 8, "without AVX2 the unit would be another");

}  // namespace

ReferenceKernel::ReferenceKernel() : out_{} {
  for (uint32_t i = 0; i < kInputs * kOutputs; ++i) {
    weights_[i] = 0.01f * (static_cast<float>(i * 7 % 13) - 6.0f);
  }
  for (uint32_t i = 0; i < kInputs * kFrames; ++i) {
    in_[i] = 0.001f * (static_cast<float>(i * 31 % 101) - 50.0f);
  }
}

// One tile: `weights` starts at its first row, `in` and `out` at its first sample.
void ReferenceKernel::mix_tile(const float* weights, const float* in, float* out) {
  constexpr Lanes d;
  Vector sum[kTileRows][kTileVectors];
  for (auto& row : sum) {
    for (Vector& s : row) s = hn::Zero(d);
  }
  for (uint32_t i = 0; i < kInputs; ++i, weights += kOutputs, in += kFrames) {
    Vector x[kTileVectors];
    for (size_t v = 0; v < kTileVectors; ++v) x[v] = hn::Load(d, in + v * kLanes);
    for (size_t r = 0; r < kTileRows; ++r) {
      const Vector weight = hn::Set(d, weights[r]);
      for (size_t v = 0; v < kTileVectors; ++v) sum[r][v] = hn::MulAdd(weight, x[v], sum[r][v]);
    }
  }
  for (size_t r = 0; r < kTileRows; ++r) {
    for (size_t v = 0; v < kTileVectors; ++v)
      hn::Store(sum[r][v], d, out + r * kFrames + v * kLanes);
  }
}

void ReferenceKernel::mix_once() {
  for (size_t row = 0; row < kOutputs; row += kTileRows) {
    for (size_t t = 0; t < kFrames; t += kTileVectors * kLanes) {
      mix_tile(weights_ + row, in_ + t, out_ + row * kFrames + t);
    }
  }
}

void ReferenceKernel::run() {
  for (uint32_t repeat = 0; repeat < 8; ++repeat) {
    mix_once();
    benchmark::ClobberMemory();
  }
}
