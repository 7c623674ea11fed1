// SPDX-License-Identifier: Apache-2.0
// Makes chosen heap allocations of the library fail.
//
// The library takes memory through calloc alone, so the test program is linked with
// -Wl,--wrap=calloc and failing_alloc.cpp answers in its place. Allocations of other threads and of
// the C++ library are not counted.
#ifndef ORVANE_TESTS_SUPPORT_FAILING_ALLOC_H_
#define ORVANE_TESTS_SUPPORT_FAILING_ALLOC_H_

#include <stdint.h>

// While it lives, the `n`-th allocation of this thread fails, counted from 0 where the guard began;
// all others succeed. One guard at a time.
//
//   for (uint32_t n = 0, reached = 1; reached; ++n) {
//     FailingAlloc guard(n);
//     <act; expect the failure, or success once n is past the last allocation>
//     reached = guard.reached();
//   }
class FailingAlloc {
 public:
  explicit FailingAlloc(uint32_t n);
  ~FailingAlloc();
  FailingAlloc(const FailingAlloc&) = delete;
  FailingAlloc& operator=(const FailingAlloc&) = delete;

  // Whether the allocation that was to fail has been asked for.
  bool reached() const;
};

#endif  // ORVANE_TESTS_SUPPORT_FAILING_ALLOC_H_
