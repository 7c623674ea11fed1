#include "effect/layouts.h"

#include <errno.h>

#include "effect/loudspeakers.h"
#include "effect/orvane.h"
#include "platform/effect_abi.h"
#include "platform/log.h"

int32_t audio_channel_mask_to_LAYOUT_INDEX(uint32_t mask, int32_t* layout_index) {
  for (const orvane_layout_t& layout : kOrvaneLayouts) {
    if (layout.mask == mask) {
      *layout_index = layout.index;
      return 0;
    }
  }
  switch (mask) {
    case AUDIO_CHANNEL_OUT_7POINT1POINT2:
      break;  // Deliberate: advertised among the supported masks, yet without a layout.
    case AUDIO_CHANNEL_OUT_9POINT1POINT4:
    case AUDIO_CHANNEL_OUT_9POINT1POINT6:
      ORVANE_LOGE("audio_channel_mask_to_LAYOUT_INDEX: 0x%x unsupported in library", mask);
      break;
    default:
      ORVANE_LOGE(
          "audio_channel_mask_to_LAYOUT_INDEX: invalid channel mask 0x%x, mapping not found", mask);
  }
  return -EINVAL;
}

void orvane_set_layout_sources(ubr_t* renderer, int32_t layout_index) {
  for (const orvane_layout_t& layout : kOrvaneLayouts) {
    if (layout.index != layout_index) continue;
    const uint32_t channels = static_cast<uint32_t>(orvane_channel_count(layout.mask));
    for (uint32_t i = 0; i < channels; ++i) {
      const orvane_loudspeaker_t& speaker = layout.loudspeakers[i];
      ubr_set_source_type(renderer, i, speaker.type);
      ubr_set_source_position(renderer, i, speaker.x, speaker.y, speaker.z);
    }
  }
}
