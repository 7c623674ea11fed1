// SPDX-License-Identifier: Apache-2.0
// Second-order recursive filter.
#ifndef ORVANE_ROOM_IIR_FILTER_H_
#define ORVANE_ROOM_IIR_FILTER_H_

#include <stdint.h>

#include "base/export.h"

// Filters every column on its own, from zero state:
// y[k] = b[0] x[k] + b[1] x[k-1] + b[2] x[k-2] - a[1] y[k-1] - a[2] y[k-2]; a[0] counts as 1.
// A response that dies away ends in subnormal numbers, which are slow: have the processor flush
// them (base/subnormals.h).
//
//   x       x_size = {rows, columns}, column-major: sample k of column c at x[c * rows + k]
//   y       as large as x, overwritten; may not overlap it
//   y_size  receives x_size
ORVANE_EXTERN_C void filter(const float b[3], const float a[3], const float* x,
                            const int32_t x_size[2], float* y, int32_t y_size[2]);

#endif  // ORVANE_ROOM_IIR_FILTER_H_
