// SPDX-License-Identifier: Apache-2.0
// The headers of WAV, RF64, BW64 and W64 files, read without seeking.
#ifndef ORVANE_TOOLS_RENDER_WAV_HEADER_H_
#define ORVANE_TOOLS_RENDER_WAV_HEADER_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "tools/render/sample_format.h"

namespace render {

struct WavHeader {
  std::string format;  // "WAV", "RF64", "BW64" or "W64"
  size_t channels = 0;
  int sample_rate_hz = 0;
  uint32_t mask = 0;                   // of channels; 0: none
  std::optional<RawSample> sample;     // none where the samples are compressed
  std::optional<uint64_t> data_bytes;  // none where the header leaves the length open
  size_t alignment_bytes = 1;          // of the next chunk
  bool may_wrap = false;               // data_bytes is all that 32 bits hold of a longer length
};

// Delivers exactly `size` bytes, or false at the end.
using ReadBytes = std::function<bool(void* data, size_t size)>;

// Whether bytes, twelve or more, begin such a file.
bool wav_header_begins(std::string_view bytes);

// Whether `bytes` are the name of a chunk that may follow the samples.
bool wav_chunk_is_known(std::string_view bytes);

// Reads up to the first byte of the samples. Throws BadText.
WavHeader wav_header_read(const ReadBytes& read);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_WAV_HEADER_H_
