// SPDX-License-Identifier: Apache-2.0
#include "tests/support/failing_alloc.h"

#include <stddef.h>

namespace {

thread_local bool armed = false;
thread_local uint32_t until_failure = 0;

}  // namespace

extern "C" {

void* __real_calloc(size_t count, size_t size);
void* __wrap_calloc(size_t count, size_t size);

void* __wrap_calloc(size_t count, size_t size) {
  if (armed && until_failure-- == 0) {
    armed = false;
    return nullptr;
  }
  return __real_calloc(count, size);
}
}

FailingAlloc::FailingAlloc(uint32_t n) {
  until_failure = n;
  armed = true;
}

FailingAlloc::~FailingAlloc() { armed = false; }

bool FailingAlloc::reached() const { return !armed; }
