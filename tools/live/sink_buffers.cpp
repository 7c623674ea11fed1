// SPDX-License-Identifier: Apache-2.0
#include "tools/live/sink_buffers.h"

#include <algorithm>

namespace live {
namespace {

// Of a channel's valid bytes, in its memory: another process wrote both numbers.
uint32_t offset_of(const spa_data& data) { return std::min(data.chunk->offset, data.maxsize); }
uint32_t size_of(const spa_data& data) {
  return data.data ? std::min(data.chunk->size, data.maxsize - offset_of(data)) : 0;
}

}  // namespace

size_t sink_input_frames(const spa_buffer& in) {
  uint32_t bytes = in.n_datas == 0 ? 0 : UINT32_MAX;
  for (uint32_t i = 0; i < in.n_datas; ++i) bytes = std::min(bytes, size_of(in.datas[i]));
  return bytes / sizeof(float);
}

size_t sink_output_frames(const spa_buffer& out) {
  uint32_t bytes = out.n_datas < kSinkEars ? 0 : UINT32_MAX;
  for (uint32_t i = 0; i < out.n_datas; ++i) {
    bytes = std::min(bytes, out.datas[i].data ? out.datas[i].maxsize : 0);
  }
  return bytes / sizeof(float);
}

void sink_find_inputs(const spa_buffer& in, const float* inputs[kSinkChannels]) {
  for (uint32_t i = 0; i < std::min(in.n_datas, kSinkChannels); ++i) {
    const spa_data& data = in.datas[i];
    inputs[i] = static_cast<const float*>(data.data) + offset_of(data) / sizeof(float);
  }
}

void sink_begin_output(const spa_buffer& out, size_t frames, float* ears[kSinkEars]) {
  for (uint32_t i = 0; i < kSinkEars; ++i) {
    ears[i] = nullptr;
    if (i >= out.n_datas) continue;
    ears[i] = static_cast<float*>(out.datas[i].data);
    *out.datas[i].chunk = {0, static_cast<uint32_t>(frames * sizeof(float)), sizeof(float), 0};
  }
}

}  // namespace live
