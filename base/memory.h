// SPDX-License-Identifier: Apache-2.0
// All heap memory of the library is allocated here: plain records and samples.
#ifndef ORVANE_BASE_MEMORY_H_
#define ORVANE_BASE_MEMORY_H_

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include "base/checked.h"
#include "base/result.h"

// A zero-filled array of n x m x ... elements of T, or null when the heap has no room for it. The
// product aborts when it does not fit size_t. An empty array is still a valid pointer: one element
// is taken, because calloc(0) may answer null without having failed.
template <typename T, typename... Sizes>
T* alloc_zeroed(Sizes... sizes) {
  size_t count = 1;
  ((count = checked_mul(count, size_t{sizes})), ...);
  return static_cast<T*>(calloc(count ? count : 1, sizeof(T)));
}

// Frees every array of alloc_zeroed and sets its pointer to null; nulls are passed over.
template <typename... T>
void release(T*&... pointers) {
  ((free(pointers), pointers = nullptr), ...);
}

constexpr size_t kBufferAlignment = 64;  // bytes: a cache line, and the widest vector

// As alloc_zeroed, at a multiple of kBufferAlignment; only release_aligned frees it. The word
// before the array keeps the address that the heap gave.
template <typename T, typename... Sizes>
T* alloc_aligned(Sizes... sizes) {
  size_t bytes = sizeof(T);
  ((bytes = checked_mul(bytes, size_t{sizes})), ...);
  auto* raw = alloc_zeroed<unsigned char>(checked_add(bytes, kBufferAlignment));
  if (!raw) return nullptr;
  // Never `raw` itself, and the heap's own alignment leaves room for the word.
  unsigned char* aligned =
      raw + (kBufferAlignment - reinterpret_cast<uintptr_t>(raw) % kBufferAlignment);
  memcpy(aligned - sizeof(raw), &raw, sizeof(raw));
  return reinterpret_cast<T*>(aligned);
}

// Frees every array of alloc_aligned and sets its pointer to null; nulls are passed over.
template <typename... T>
void release_aligned(T*&... arrays) {
  const auto release_one = [](auto*& array) {
    if (!array) return;
    unsigned char* raw = nullptr;
    memcpy(&raw, reinterpret_cast<unsigned char*>(array) - sizeof(raw), sizeof(raw));
    release(raw);
    array = nullptr;
  };
  (release_one(arrays), ...);
}

// Puts a zero-filled array of `count` elements in the place of `array`, whose contents are lost.
// When the heap has no room the old array stays and the result is UBR_NO_MEMORY.
template <typename T>
uint32_t replace_zeroed(T*& array, size_t count) {
  T* fresh = alloc_zeroed<T>(count);
  if (!fresh) return UBR_NO_MEMORY;
  free(array);
  array = fresh;
  return UBR_OK;
}

#endif  // ORVANE_BASE_MEMORY_H_
