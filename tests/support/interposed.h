// SPDX-License-Identifier: Apache-2.0
// Counts what code takes from the heap and which mutexes it locks, in whatever library: the
// definitions of malloc, pthread_mutex_lock and the like in interposed.cpp stand in front of the C
// library's in the whole program. For one thread, and not beside a sanitizer.
#ifndef ORVANE_TESTS_SUPPORT_INTERPOSED_H_
#define ORVANE_TESTS_SUPPORT_INTERPOSED_H_

#include <pthread.h>
#include <stdint.h>

struct interposed_counts_t {
  uint64_t heap_calls;      // allocations and releases
  uint64_t locks, unlocks;  // of `mutex`
  uint64_t other_locks;     // of any other mutex
};

// Counts start at zero, and stop at the end.
void interposed_begin(const pthread_mutex_t* mutex);
interposed_counts_t interposed_end();

#endif  // ORVANE_TESTS_SUPPORT_INTERPOSED_H_
