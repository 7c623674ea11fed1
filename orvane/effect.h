// SPDX-License-Identifier: Apache-2.0
// What a host of the effect needs to know beforehand, as tables: the layouts with their channel
// masks, names and directions, the vendor's parameters with their names, ranges and defaults, and
// the UUID by which the effect is created.
#ifndef ORVANE_EFFECT_H_
#define ORVANE_EFFECT_H_

#include "effect/uuid.h"
#include "orvane/version.h"
#include "renderer/loudspeaker_layouts.h"
#include "renderer/parameters.h"

#endif  // ORVANE_EFFECT_H_
