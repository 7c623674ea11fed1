// SPDX-License-Identifier: Apache-2.0
// For the library's own use: the sources of the dynamic pass of an encoder, and their SH weights.
#ifndef ORVANE_AMBISONICS_ENCODER_INTERNAL_H_
#define ORVANE_AMBISONICS_ENCODER_INTERNAL_H_

#include <stdint.h>

#include "ambisonics/encoder.h"
#include "numerics/mix_channels.h"

// As encoder_init, for an encoder that only holds sources and their SH weights, or whose outputs
// lie apart from its inputs: it takes no memory to stage a block.
uint32_t encoder_init_unstaged(encoder_t* encoder, const ambisonics_base_t* ambisonics,
                               uint32_t num_sources, uint32_t max_frame_size);

// Sources of the dynamic pass.
uint32_t encoder_count_dynamic(const encoder_t& encoder);

// Collects the sources of the dynamic pass: their weights in the first rows of gain_matrix, and
// their samples, which it returns. They stand until the encoder's next call.
channels_t<const float> encoder_gather_dynamic(encoder_t* encoder, const float* const* inputs);

#endif  // ORVANE_AMBISONICS_ENCODER_INTERNAL_H_
