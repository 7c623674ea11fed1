// SPDX-License-Identifier: Apache-2.0
#include "tests/support/interposed.h"

#include <dlfcn.h>
#include <errno.h>
#include <malloc.h>
#include <stdlib.h>

namespace {

bool counting = false;
const pthread_mutex_t* expected = nullptr;
interposed_counts_t counts = {};

void count_heap_call() { counts.heap_calls += counting; }

using MutexFunction = int (*)(pthread_mutex_t*);

// The C library's own function.
MutexFunction find_own(const char* name) {
  return reinterpret_cast<MutexFunction>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void interposed_begin(const pthread_mutex_t* mutex) {
  expected = mutex;
  counts = {};
  counting = true;
}

interposed_counts_t interposed_end() {
  counting = false;
  return counts;
}

extern "C" {

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* block);

void* malloc(size_t size) noexcept {
  count_heap_call();
  return __libc_malloc(size);
}

void* calloc(size_t count, size_t size) noexcept {
  count_heap_call();
  return __libc_calloc(count, size);
}

void* realloc(void* block, size_t size) noexcept {
  count_heap_call();
  return __libc_realloc(block, size);
}

void* memalign(size_t alignment, size_t size) noexcept {
  count_heap_call();
  return __libc_memalign(alignment, size);
}

void* aligned_alloc(size_t alignment, size_t size) noexcept { return memalign(alignment, size); }

int posix_memalign(void** block, size_t alignment, size_t size) noexcept {
  *block = memalign(alignment, size);
  return *block ? 0 : ENOMEM;
}

void free(void* block) noexcept {
  count_heap_call();
  __libc_free(block);
}

int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
  static MutexFunction own = nullptr;
  if (!own) own = find_own("pthread_mutex_lock");
  if (counting) ++(mutex == expected ? counts.locks : counts.other_locks);
  return own(mutex);
}

int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept {
  static MutexFunction own = nullptr;
  if (!own) own = find_own("pthread_mutex_unlock");
  counts.unlocks += counting && mutex == expected;
  return own(mutex);
}
}
