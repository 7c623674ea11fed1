// SPDX-License-Identifier: Apache-2.0
// The unit of every figure: a fixed piece of arithmetic that is timed next to the code under test.
#ifndef ORVANE_BENCH_REFERENCE_KERNEL_H_
#define ORVANE_BENCH_REFERENCE_KERNEL_H_

#include <stdint.h>

// Eight times a 16 x 24 matrix with a 24 x 128 block of samples, in tiles of 4 rows and 16 samples
// that stay in registers; 26 KiB of data. Like the renderer it is bound by fused multiply-adds of
// eight lanes, so whatever slows the processor, another thread on its core or a lower clock, slows
// both, and the ratio of the two times stays.
class ReferenceKernel {
 public:
  ReferenceKernel();
  void run();

 private:
  static constexpr uint32_t kInputs = 24, kOutputs = 16, kFrames = 128;
  static void mix_tile(const float* weights, const float* in, float* out);
  void mix_once();

  alignas(64) float weights_[kInputs * kOutputs];
  alignas(64) float in_[kInputs * kFrames];
  alignas(64) float out_[kOutputs * kFrames];
};

#endif  // ORVANE_BENCH_REFERENCE_KERNEL_H_
