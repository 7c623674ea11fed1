// The complex product behind convolution with several responses at once.
#ifndef ORVANE_NUMERICS_MIX_SPECTRA_H_
#define ORVANE_NUMERICS_MIX_SPECTRA_H_

#include <stdint.h>

#include "numerics/lane_transform.h"

// Sums channel times response over all lanes of `count` batches, bin by bin.
//
//   packed     the channels, one packed batch after the other
//   responses  as many spectra
//   sum        transform.size floats, overwritten: twice the sum, as DC, Nyquist, and then real and
//              imaginary part of the bins between, which is how PFFFT orders a real transform
//
// Lanes that hold no channel need a response of zero. Allocates nothing.
void mix_spectra(const lane_transform_t& transform, const float* packed, const float* responses,
                 uint32_t count, float* sum);

#endif  // ORVANE_NUMERICS_MIX_SPECTRA_H_
