// SPDX-License-Identifier: Apache-2.0
// Counts what C++ code takes from the heap; the library takes its memory without C++. Included by
// one file of a program, whose operators new and delete these are.
#ifndef ORVANE_TESTS_SUPPORT_COUNTED_NEW_H_
#define ORVANE_TESTS_SUPPORT_COUNTED_NEW_H_

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

size_t g_allocations = 0;

}  // namespace

// Inlined on one side only, new and delete look mismatched to g++.
[[gnu::noinline]] void* operator new(size_t size) {
  ++g_allocations;
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept { std::free(memory); }

#endif  // ORVANE_TESTS_SUPPORT_COUNTED_NEW_H_
