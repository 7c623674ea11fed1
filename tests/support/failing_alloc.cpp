// SPDX-License-Identifier: Apache-2.0
#include "tests/support/failing_alloc.h"

#include <stddef.h>

#include <atomic>
#include <thread>

namespace {

// Not thread_local: where threads' variables are emulated, a thread's first use of one allocates.
std::atomic<bool> armed = false;
std::thread::id thread;
uint32_t until_failure = 0;

}  // namespace

extern "C" {

void* __real_calloc(size_t count, size_t size);
void* __wrap_calloc(size_t count, size_t size);

void* __wrap_calloc(size_t count, size_t size) {
  if (armed && std::this_thread::get_id() == thread && until_failure-- == 0) {
    armed = false;
    return nullptr;
  }
  return __real_calloc(count, size);
}
}

FailingAlloc::FailingAlloc(uint32_t n) {
  thread = std::this_thread::get_id();
  until_failure = n;
  armed = true;
}

FailingAlloc::~FailingAlloc() { armed = false; }

bool FailingAlloc::reached() const { return !armed; }
