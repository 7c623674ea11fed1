// SPDX-License-Identifier: Apache-2.0
// For the library's own use: the pseudo-inverse of a matrix that is not wider than high.
#ifndef ORVANE_NUMERICS_PINV_INTERNAL_H_
#define ORVANE_NUMERICS_PINV_INTERNAL_H_

#include <stdint.h>

#include "base/export.h"

// As ubr_pinv, for rows >= cols. Leaves blocks 4 and 5 of the workspace alone.
ORVANE_EXTERN_C void eml_pinv(float* workspace, const float* a, const int32_t a_size[2], float* x,
                              int32_t x_size[2]);

#endif  // ORVANE_NUMERICS_PINV_INTERNAL_H_
