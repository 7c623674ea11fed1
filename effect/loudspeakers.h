// Where the loudspeakers of every layout stand, in the order of the effect's inputs. The one home
// of these directions: for the effect, and for tools that tell a listener what plays where.
#ifndef ORVANE_EFFECT_LOUDSPEAKERS_H_
#define ORVANE_EFFECT_LOUDSPEAKERS_H_

#include <stdint.h>

#include "ambisonics/encoder.h"
#include "platform/effect_abi.h"

// A channel's loudspeaker: its direction (+x ahead, +y left, +z up) on the unit sphere.
struct orvane_loudspeaker_t {
  float x, y, z;
  uint32_t type = ENCODER_SOURCE_LOUDSPEAKER;
};

inline constexpr orvane_loudspeaker_t kOrvaneLfe = {0.683f, 0.683f, -0.259f, ENCODER_SOURCE_LFE};

// 5.1.2 takes the first eight. Deliberate: the front pair stands at 30 degrees, not at 45 as
// in 5.1.
inline constexpr orvane_loudspeaker_t kOrvane5point1point4[] = {
    {0.866f, 0.5f, 0.0f},   // front left
    {0.866f, -0.5f, 0.0f},  // front right
    {1.0f, 0.0f, 0.0f},     // front centre
    kOrvaneLfe,
    {-0.342f, 0.9397f, 0.0f},      // back left
    {-0.342f, -0.9397f, 0.0f},     // back right
    {0.7094f, 0.4096f, 0.5736f},   // top side left, in 5.1.4 top front left
    {0.7094f, -0.4096f, 0.5736f},  // top side right, in 5.1.4 top front right
    {-0.2802f, 0.7698f, 0.5736f},  // top back left
    {-0.2802f, -0.7698f, 0.5736f}  // top back right
};

// 5.1 takes the first six, 7.1 the first eight, 7.1.4 the first twelve. Deliberate: the rows meet
// the channels of 22.2 in this order, which is not that of the channels' names.
inline constexpr orvane_loudspeaker_t kOrvane22point2[] = {
    {0.7071f, 0.7071f, 0.0f},   // front left
    {0.7071f, -0.7071f, 0.0f},  // front right
    {1.0f, 0.0f, 0.0f},         // front centre
    kOrvaneLfe,
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
struct orvane_layout_t {
  uint32_t mask;
  int32_t index;
  const orvane_loudspeaker_t* loudspeakers;
};

inline constexpr orvane_layout_t kOrvaneLayouts[] = {
    {AUDIO_CHANNEL_OUT_5POINT1, 202, kOrvane22point2},
    {AUDIO_CHANNEL_OUT_7POINT1, 203, kOrvane22point2},
    {AUDIO_CHANNEL_OUT_5POINT1POINT2, 14, kOrvane5point1point4},
    {AUDIO_CHANNEL_OUT_5POINT1POINT4, 16, kOrvane5point1point4},
    {AUDIO_CHANNEL_OUT_7POINT1POINT4, 204, kOrvane22point2},
    {AUDIO_CHANNEL_OUT_22POINT2, 205, kOrvane22point2},
};

#endif  // ORVANE_EFFECT_LOUDSPEAKERS_H_
