// SPDX-License-Identifier: Apache-2.0
#include "base/bounded_copy.h"

#include <string.h>

size_t memscpy(void* dst, size_t dst_size, const void* src, size_t src_size) {
  const size_t count = dst_size < src_size ? dst_size : src_size;
  if (count > 0) memcpy(dst, src, count);
  return count;
}

size_t memsmove(void* dst, size_t dst_size, const void* src, size_t src_size) {
  const size_t count = dst_size < src_size ? dst_size : src_size;
  if (count > 0) memmove(dst, src, count);
  return count;
}
