// SPDX-License-Identifier: Apache-2.0
// Delays that a turntable's runs have of their own.
#ifndef ORVANE_TOOLS_EARS_RING_ALIGNMENT_H_
#define ORVANE_TOOLS_EARS_RING_ALIGNMENT_H_

#include "tools/ears/head_set.h"

namespace ears {

// Delay of a response in seconds: its energy-weighted phase slope through the origin.
double onset_delay(const Complex* bins);

// Takes out the delay that each ring of one elevation has beyond a smooth delay over the sphere, at
// both ears alike. Sets that are not measured ring by ring stay as they are.
void align_rings(HeadSet* set);

}  // namespace ears

#endif  // ORVANE_TOOLS_EARS_RING_ALIGNMENT_H_
