// SPDX-License-Identifier: Apache-2.0
// Copies that cannot overrun: the smaller of the two sizes decides.
#ifndef ORVANE_BASE_BOUNDED_COPY_H_
#define ORVANE_BASE_BOUNDED_COPY_H_

#include <stddef.h>

#include "base/export.h"

// Copies min(dst_size, src_size) bytes and returns that count. The regions may not overlap;
// pointers may be null when the count is 0.
ORVANE_API size_t memscpy(void* dst, size_t dst_size, const void* src, size_t src_size);

// As memscpy, for regions that may overlap.
ORVANE_API size_t memsmove(void* dst, size_t dst_size, const void* src, size_t src_size);

#endif  // ORVANE_BASE_BOUNDED_COPY_H_
