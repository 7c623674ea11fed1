// For the library's own use: growing a binauralizer reports no failure, so its owner looks.
#ifndef ORVANE_AMBISONICS_BINAURALIZER_BUILT_H_
#define ORVANE_AMBISONICS_BINAURALIZER_BUILT_H_

#include "ambisonics/binauralizer.h"

// Whether every buffer of a successful binauralizer_init exists.
bool binauralizer_is_built(const binauralizer_t& binauralizer);

#endif  // ORVANE_AMBISONICS_BINAURALIZER_BUILT_H_
