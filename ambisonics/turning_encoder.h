// For the library's own use: while the head turns, few sources reach the turned field by a shorter
// way than through the field before the rotation. Their beams are turned instead of the field.
#ifndef ORVANE_AMBISONICS_TURNING_ENCODER_H_
#define ORVANE_AMBISONICS_TURNING_ENCODER_H_

#include <stdint.h>

#include "ambisonics/encoder.h"
#include "ambisonics/rotator.h"

// Whether the next block, of `frames` samples, is a turning one in which that way is shorter.
bool turning_encoder_is_shorter(const encoder_t& encoder, const rotator_t& rotator,
                                uint32_t frames);

// Stands for encoder_process_dynamic and rotator_process, and leaves the rotator as they do: each
// source fades from its beam turned by P along its beam turned by D. Only where
// turning_encoder_is_shorter says so. Allocates nothing.
//
//   inputs  num_sources channels of `frames` samples, at most the maxima of encoder and rotator
//   field   num_channels channels, overwritten
void turning_encoder_process(encoder_t* encoder, rotator_t* rotator, const float* const* inputs,
                             float* const* field, uint32_t frames);

#endif  // ORVANE_AMBISONICS_TURNING_ENCODER_H_
