// SPDX-License-Identifier: Apache-2.0
// Subnormal numbers, below 1.2e-38, take a processor up to a hundred times as long as others, and
// nobody hears them. Rendering counts them as zeros.
#ifndef ORVANE_BASE_SUBNORMALS_H_
#define ORVANE_BASE_SUBNORMALS_H_

#include <stdint.h>

#if defined(__x86_64__)
#include <xmmintrin.h>
#endif

// While it lives, this thread takes subnormal operands as zeros of their sign and turns subnormal
// results into such. Whatever the thread had set before is put back.
class FlushSubnormals {
 public:
  FlushSubnormals() : before_(control()) { set_control(before_ | kFlush); }
  ~FlushSubnormals() { set_control(before_); }
  FlushSubnormals(const FlushSubnormals&) = delete;
  FlushSubnormals& operator=(const FlushSubnormals&) = delete;

 private:
#if defined(__x86_64__)
  using control_t = uint32_t;
  static constexpr control_t kFlush = 0x8040;  // of MXCSR: FTZ for results, DAZ for operands
  static control_t control() { return _mm_getcsr(); }
  static void set_control(control_t value) { _mm_setcsr(value); }
#elif defined(__aarch64__)
  using control_t = uint64_t;
  static constexpr control_t kFlush = 1u << 24;  // of FPCR: FZ, for both
  static control_t control() {
    control_t value = 0;
    asm volatile("mrs %0, fpcr" : "=r"(value));
    return value;
  }
  static void set_control(control_t value) { asm volatile("msr fpcr, %0" ::"r"(value) : "memory"); }
#else  // left as they are
  using control_t = uint32_t;
  static constexpr control_t kFlush = 0;
  static control_t control() { return 0; }
  static void set_control(control_t) {}
#endif

  control_t before_;
};

#endif  // ORVANE_BASE_SUBNORMALS_H_
