// SPDX-License-Identifier: Apache-2.0
// The head-related impulse responses of the binauralizer, one per ambisonic channel,
// at ORVANE_SAMPLE_RATE.
//
// Made by tools/tables/make_sh_hrir.py; origin, method and quality are in docs/data.md.
#ifndef ORVANE_AMBISONICS_SH_HRIR_H_
#define ORVANE_AMBISONICS_SH_HRIR_H_

#include "ambisonics/binauralizer.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
  SH_HRIR_TAPS = BINAURALIZER_TAPS,
  SH_HRIR_CHANNELS = BINAURALIZER_RESPONSE_CHANNELS,
};

// Left-ear response of each channel (ACN order, SN3D normalisation), tap-major: channel c at tap k
// is entry k * SH_HRIR_CHANNELS + c. For the right ear the channels of negative order m change
// sign. The main peaks lie around tap BINAURALIZER_LATENCY; those of channels 0 and 1 are negative,
// at that tap and the next.
extern const float binauralizer_sh_hrir[SH_HRIR_TAPS * SH_HRIR_CHANNELS];

#ifdef __cplusplus
}
#endif

#endif  // ORVANE_AMBISONICS_SH_HRIR_H_
