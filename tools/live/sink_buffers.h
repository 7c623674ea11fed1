// SPDX-License-Identifier: Apache-2.0
// What is in PipeWire's buffers of planar floats, whatever the server says of them.
#ifndef ORVANE_TOOLS_LIVE_SINK_BUFFERS_H_
#define ORVANE_TOOLS_LIVE_SINK_BUFFERS_H_

#include <spa/buffer/buffer.h>
#include <spa/param/audio/raw.h>

#include <cstddef>
#include <cstdint>

namespace live {

constexpr uint32_t kSinkEars = 2;
constexpr uint32_t kSinkChannels = SPA_AUDIO_MAX_CHANNELS;

// Frames that all channels of an input hold, and all ears of an output have room for; 0 where one
// has no memory.
size_t sink_input_frames(const spa_buffer& in);
size_t sink_output_frames(const spa_buffer& out);

// Where the samples of each channel begin; the other entries stay as they are.
void sink_find_inputs(const spa_buffer& in, const float* inputs[kSinkChannels]);

// Says that the output holds `frames` frames, no more than there is room for, and where each ear's
// begin. Null, and nothing said, for an ear that the buffer does not have.
void sink_begin_output(const spa_buffer& out, size_t frames, float* ears[kSinkEars]);

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_SINK_BUFFERS_H_
