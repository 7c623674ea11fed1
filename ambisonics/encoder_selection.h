// For the library's own use: the sources of an encoder's dynamic pass.
#ifndef ORVANE_AMBISONICS_ENCODER_SELECTION_H_
#define ORVANE_AMBISONICS_ENCODER_SELECTION_H_

#include <stdint.h>

#include "ambisonics/encoder.h"

uint32_t encoder_count_dynamic(const encoder_t& encoder);

// Collects their samples in selected_inputs and their beams in the rows of gain_matrix. Returns how
// many there are.
uint32_t encoder_gather_dynamic(encoder_t* encoder, const float* const* inputs);

#endif  // ORVANE_AMBISONICS_ENCODER_SELECTION_H_
