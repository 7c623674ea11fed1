// SPDX-License-Identifier: Apache-2.0
// What the library takes from the heap. The program is linked with the allocation functions
// wrapped (bench/CMakeLists.txt); its own containers are not counted.
#ifndef ORVANE_BENCH_HEAP_USE_H_
#define ORVANE_BENCH_HEAP_USE_H_

#include <stdint.h>

struct heap_use_t {
  int64_t bytes;        // in use, as the allocator rounds them up
  int64_t allocations;  // so far
};

heap_use_t heap_use();

#endif  // ORVANE_BENCH_HEAP_USE_H_
