// From a channel mask to a renderer with its loudspeakers in place, as
// renderer/loudspeaker_layouts.h has them.
#ifndef ORVANE_EFFECT_LAYOUTS_H_
#define ORVANE_EFFECT_LAYOUTS_H_

#include <stdint.h>

#include "base/export.h"
#include "renderer/ubr.h"

// Finds the layout index of an AUDIO_CHANNEL_OUT_* mask.
// Returns 0, or -EINVAL, in most cases after logging, for a mask without a layout.
ORVANE_EXTERN_C int32_t audio_channel_mask_to_LAYOUT_INDEX(uint32_t mask, int32_t* layout_index);

// Gives source i of `renderer`, for every channel i of the layout, its type and its direction.
// An unknown layout index places nothing.
ORVANE_EXTERN_C void orvane_set_layout_sources(ubr_t* renderer, int32_t layout_index);

#endif  // ORVANE_EFFECT_LAYOUTS_H_
