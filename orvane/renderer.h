// SPDX-License-Identifier: Apache-2.0
// The renderer as plain C functions, with the layouts that it is usually set up for.
#ifndef ORVANE_RENDERER_H_
#define ORVANE_RENDERER_H_

#include "orvane/version.h"
#include "renderer/loudspeaker_layouts.h"
#include "renderer/ubr.h"

#endif  // ORVANE_RENDERER_H_
