// SPDX-License-Identifier: Apache-2.0
#include "effect/layouts.h"

#include <errno.h>

#include <algorithm>
#include <iterator>

#include "platform/effect_abi.h"
#include "platform/log.h"
#include "renderer/loudspeaker_layouts.h"

namespace {

// Whether the mask has exactly the channels of the loudspeakers, and the rows of the LFE channels
// are those that are marked as LFE.
constexpr bool is_consistent(const orvane_layout_t& layout) {
  uint32_t mask = 0;
  for (uint32_t i = 0; i < layout.num_channels; ++i) {
    const orvane_loudspeaker_t& speaker = layout.loudspeakers[i];
    const bool is_lfe = speaker.channel == ORVANE_LFE || speaker.channel == ORVANE_LFE_2;
    if (is_lfe != (speaker.is_lfe == 1) || (mask & 1u << speaker.channel) != 0) return false;
    mask |= 1u << speaker.channel;
  }
  return mask == layout.mask;
}

static_assert(std::all_of(std::begin(orvane_layouts), std::end(orvane_layouts), is_consistent),
              "a layout's mask, loudspeakers or LFEs contradict each other");

}  // namespace

int32_t audio_channel_mask_to_LAYOUT_INDEX(uint32_t mask, int32_t* layout_index) {
  if (const orvane_layout_t* layout = orvane_find_layout(mask)) {
    *layout_index = static_cast<int32_t>(layout->index);
    return 0;
  }
  switch (mask) {
    case AUDIO_CHANNEL_OUT_7POINT1POINT2:
      break;  // Deliberate: no layout, because no positions are defined, though hosts see it
              // listed.
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
  for (const orvane_layout_t& layout : orvane_layouts) {
    if (static_cast<int32_t>(layout.index) != layout_index) continue;
    for (uint32_t i = 0; i < layout.num_channels; ++i) {
      const orvane_loudspeaker_t& speaker = layout.loudspeakers[i];
      ubr_set_source_type(renderer, i,
                          speaker.is_lfe ? ENCODER_SOURCE_LFE : ENCODER_SOURCE_LOUDSPEAKER);
      ubr_set_source_position(renderer, i, speaker.x, speaker.y, speaker.z);
    }
  }
}
