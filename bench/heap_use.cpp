// SPDX-License-Identifier: Apache-2.0
#include "bench/heap_use.h"

#include <malloc.h>
#include <stddef.h>

namespace {

heap_use_t use = {0, 0};

void* counted(void* block) {
  use.bytes += static_cast<int64_t>(malloc_usable_size(block));
  ++use.allocations;
  return block;
}

}  // namespace

heap_use_t heap_use() { return use; }

extern "C" {

void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
void* __real_aligned_alloc(size_t alignment, size_t size);
int __real_posix_memalign(void** block, size_t alignment, size_t size);
void __real_free(void* block);

void* __wrap_malloc(size_t size);
void* __wrap_calloc(size_t count, size_t size);
void* __wrap_realloc(void* block, size_t size);
void* __wrap_aligned_alloc(size_t alignment, size_t size);
int __wrap_posix_memalign(void** block, size_t alignment, size_t size);
void __wrap_free(void* block);

void* __wrap_malloc(size_t size) { return counted(__real_malloc(size)); }

void* __wrap_calloc(size_t count, size_t size) { return counted(__real_calloc(count, size)); }

void* __wrap_realloc(void* block, size_t size) {
  use.bytes -= static_cast<int64_t>(malloc_usable_size(block));
  return counted(__real_realloc(block, size));
}

void* __wrap_aligned_alloc(size_t alignment, size_t size) {
  return counted(__real_aligned_alloc(alignment, size));
}

int __wrap_posix_memalign(void** block, size_t alignment, size_t size) {
  const int error = __real_posix_memalign(block, alignment, size);
  if (error == 0) counted(*block);
  return error;
}

void __wrap_free(void* block) {
  use.bytes -= static_cast<int64_t>(malloc_usable_size(block));
  __real_free(block);
}
}
