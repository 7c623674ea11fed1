// SPDX-License-Identifier: Apache-2.0
// Samples as bytes, little-endian.
#ifndef ORVANE_TOOLS_RENDER_SAMPLE_FORMAT_H_
#define ORVANE_TOOLS_RENDER_SAMPLE_FORMAT_H_

#include <cstddef>

namespace render {

enum class RawSample { kUint8, kInt16, kInt24, kInt32, kFloat32, kFloat64 };

size_t raw_sample_bytes(RawSample format);

// "16 bit", "32 bit float"
const char* raw_sample_name(RawSample format);

// Full scale becomes 1.
void raw_sample_to_float(RawSample format, const unsigned char* bytes, float* samples,
                         size_t count);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_SAMPLE_FORMAT_H_
