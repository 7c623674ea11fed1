// The complex product behind convolution with several responses at once.
#ifndef ORVANE_NUMERICS_MIX_SPECTRA_H_
#define ORVANE_NUMERICS_MIX_SPECTRA_H_

#include <stdint.h>

// sum += x[0] * h[0] + ... + x[count - 1] * h[count - 1], bin by bin.
//
// Spectra are `size` floats as PFFFT's unordered real transforms leave them where its vectors have
// four lanes: groups of four real parts and the four imaginary parts that belong to them. The first
// real and the first imaginary part are the bins of DC and of the Nyquist frequency, both real.
// `size` is a multiple of 32, as PFFFT demands. `sum` overlaps no other spectrum. No spectrum needs
// to be aligned. Allocates nothing.
void accumulate_spectra(const float* const* x, const float* const* h, uint32_t count, float* sum,
                        uint32_t size);

#endif  // ORVANE_NUMERICS_MIX_SPECTRA_H_
