// SPDX-License-Identifier: Apache-2.0
// The part of the sphere that a set leaves out.
#ifndef ORVANE_TOOLS_EARS_GAP_FILLING_H_
#define ORVANE_TOOLS_EARS_GAP_FILLING_H_

#include "tools/ears/head_set.h"

namespace ears {

// Appends directions where nothing was measured, and makes the weights those of the full sphere.
// Low-order harmonics fitted to log magnitude, delay and residual phase, with a penalty on
// roughness, carry the responses there (after Duraiswami, Zotkin and Gumerov, "Interpolation and
// range extrapolation of HRTFs", ICASSP 2004). Without it the later fit is unbounded there.
void fill_gaps(HeadSet* set);

}  // namespace ears

#endif  // ORVANE_TOOLS_EARS_GAP_FILLING_H_
