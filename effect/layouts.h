// SPDX-License-Identifier: Apache-2.0
// Finds the layout of a channel mask and places its loudspeakers in a renderer. The layouts stand
// in renderer/loudspeaker_layouts.h.
#ifndef ORVANE_EFFECT_LAYOUTS_H_
#define ORVANE_EFFECT_LAYOUTS_H_

#include <stdint.h>

#include "base/export.h"
#include "renderer/ubr.h"

// Finds the layout index of an AUDIO_CHANNEL_OUT_* mask.
// Returns 0, or -EINVAL for a mask without a layout, which it logs unless the mask is that
// of 7.1.2.
ORVANE_EXTERN_C int32_t audio_channel_mask_to_LAYOUT_INDEX(uint32_t mask, int32_t* layout_index);

// Sets type and position of source i of `renderer` for every channel i of the layout. Does nothing
// for an unknown layout index.
ORVANE_EXTERN_C void orvane_set_layout_sources(ubr_t* renderer, int32_t layout_index);

#endif  // ORVANE_EFFECT_LAYOUTS_H_
