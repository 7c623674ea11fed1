// The head-related impulse responses of the binauralizer, one per ambisonic channel.
//
// Made by tools/tables/make_sh_hrir.py; origin, method and quality are in docs/data.md.
#ifndef ORVANE_AMBISONICS_SH_HRIR_H_
#define ORVANE_AMBISONICS_SH_HRIR_H_

#ifdef __cplusplus
extern "C" {
#endif

enum {
  SH_HRIR_TAPS = 256,
  SH_HRIR_CHANNELS = 25,  // ambisonic order 4
  SH_HRIR_SAMPLE_RATE_HZ = 48000,
};

// Left-ear response of each channel (ACN order, SN3D normalisation), tap-major: channel c at tap k
// is entry k * SH_HRIR_CHANNELS + c. For the right ear the channels of negative order m change
// sign. The main peaks lie around tap 145, those of channels 0 and 1 negative at 145 and 146.
extern const float binauralizer_sh_hrir[SH_HRIR_TAPS * SH_HRIR_CHANNELS];

#ifdef __cplusplus
}
#endif

#endif  // ORVANE_AMBISONICS_SH_HRIR_H_
