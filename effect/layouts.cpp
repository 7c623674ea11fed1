#include "effect/layouts.h"

#include <errno.h>

#include "ambisonics/encoder.h"
#include "effect/orvane.h"
#include "platform/effect_abi.h"
#include "platform/log.h"

namespace {

// A channel's loudspeaker: its direction (+x ahead, +y left, +z up) on the unit sphere.
struct loudspeaker_t {
  float x, y, z;
  uint32_t type = ENCODER_SOURCE_LOUDSPEAKER;
};

constexpr loudspeaker_t kLfe = {0.683f, 0.683f, -0.259f, ENCODER_SOURCE_LFE};

// 5.1.2 takes the first eight. Deliberate: the front pair stands at 30 degrees, not at 45 as
// in 5.1.
constexpr loudspeaker_t k5point1point4[] = {
    {0.866f, 0.5f, 0.0f},   // front left
    {0.866f, -0.5f, 0.0f},  // front right
    {1.0f, 0.0f, 0.0f},     // front centre
    kLfe,
    {-0.342f, 0.9397f, 0.0f},      // back left
    {-0.342f, -0.9397f, 0.0f},     // back right
    {0.7094f, 0.4096f, 0.5736f},   // top side left, in 5.1.4 top front left
    {0.7094f, -0.4096f, 0.5736f},  // top side right, in 5.1.4 top front right
    {-0.2802f, 0.7698f, 0.5736f},  // top back left
    {-0.2802f, -0.7698f, 0.5736f}  // top back right
};

// 5.1 takes the first six, 7.1 the first eight, 7.1.4 the first twelve. Deliberate: the rows meet
// the channels of 22.2 in this order, which is not that of the channels' names.
constexpr loudspeaker_t k22point2[] = {
    {0.7071f, 0.7071f, 0.0f},   // front left
    {0.7071f, -0.7071f, 0.0f},  // front right
    {1.0f, 0.0f, 0.0f},         // front centre
    kLfe,
    {-0.7071f, 0.7071f, 0.0f},                      // back left
    {-0.7071f, -0.7071f, 0.0f},                     // back right
    {0.0f, 1.0f, 0.0f},                             // side left
    {0.0f, -1.0f, 0.0f},                            // side right
    {0.5f, 0.5f, 0.7071f},                          // top front left
    {0.5f, -0.5f, 0.7071f},                         // top front right
    {-0.5f, 0.5f, 0.7071f},                         // top back left
    {-0.5f, -0.5f, 0.7071f},                        // top back right
    {0.866f, 0.5f, 0.0f},                           // front left of centre
    {0.866f, -0.5f, 0.0f},                          // front right of centre
    {-1.0f, 0.0f, 0.0f},                            // back centre
    {0.0f, 0.0f, 1.0f},                             // top centre
    {0.7071f, 0.0f, 0.7071f},                       // top front centre
    {-0.7071f, 0.0f, 0.7071f},                      // top back centre
    {0.0f, 0.7071f, 0.7071f},                       // top side left
    {0.0f, -0.7071f, 0.7071f},                      // top side right
    {0.483f, 0.8365f, -0.2588f},                    // bottom front left
    {0.483f, -0.8365f, -0.2588f},                   // bottom front right
    {0.9659f, 0.0f, -0.2588f},                      // bottom front centre
    {0.683f, -0.683f, -0.259f, ENCODER_SOURCE_LFE}  // second LFE
};

// As many loudspeakers as the mask has channels.
struct layout_t {
  uint32_t mask;
  int32_t index;
  const loudspeaker_t* loudspeakers;
};

constexpr layout_t kLayouts[] = {
    {AUDIO_CHANNEL_OUT_5POINT1, 202, k22point2},
    {AUDIO_CHANNEL_OUT_7POINT1, 203, k22point2},
    {AUDIO_CHANNEL_OUT_5POINT1POINT2, 14, k5point1point4},
    {AUDIO_CHANNEL_OUT_5POINT1POINT4, 16, k5point1point4},
    {AUDIO_CHANNEL_OUT_7POINT1POINT4, 204, k22point2},
    {AUDIO_CHANNEL_OUT_22POINT2, 205, k22point2},
};

}  // namespace

int32_t audio_channel_mask_to_LAYOUT_INDEX(uint32_t mask, int32_t* layout_index) {
  for (const layout_t& layout : kLayouts) {
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
  for (const layout_t& layout : kLayouts) {
    if (layout.index != layout_index) continue;
    const uint32_t channels = static_cast<uint32_t>(orvane_channel_count(layout.mask));
    for (uint32_t i = 0; i < channels; ++i) {
      const loudspeaker_t& speaker = layout.loudspeakers[i];
      ubr_set_source_type(renderer, i, speaker.type);
      ubr_set_source_position(renderer, i, speaker.x, speaker.y, speaker.z);
    }
  }
}
