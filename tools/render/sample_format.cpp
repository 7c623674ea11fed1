// SPDX-License-Identifier: Apache-2.0
#include "tools/render/sample_format.h"

#include <cstdint>
#include <cstring>

namespace render {
namespace {

// The bytes as the upper part of a 32-bit number.
int32_t upper_bits(const unsigned char* bytes, size_t size) {
  uint32_t value = 0;
  for (size_t i = size; i-- > 0;) value = value << 8 | bytes[i];
  return static_cast<int32_t>(value << (32 - 8 * size));
}

template <typename Number>
float read_number(const unsigned char* bytes) {
  Number number;
  std::memcpy(&number, bytes, sizeof(number));
  return static_cast<float>(number);
}

}  // namespace

size_t raw_sample_bytes(RawSample format) {
  switch (format) {
    case RawSample::kUint8:
      return 1;
    case RawSample::kInt16:
      return 2;
    case RawSample::kInt24:
      return 3;
    case RawSample::kInt32:
    case RawSample::kFloat32:
      return 4;
    case RawSample::kFloat64:
      return 8;
  }
  return 0;
}

const char* raw_sample_name(RawSample format) {
  switch (format) {
    case RawSample::kUint8:
      return "8 bit";
    case RawSample::kInt16:
      return "16 bit";
    case RawSample::kInt24:
      return "24 bit";
    case RawSample::kInt32:
      return "32 bit";
    case RawSample::kFloat32:
      return "32 bit float";
    case RawSample::kFloat64:
      return "64 bit float";
  }
  return "";
}

void raw_sample_to_float(RawSample format, const unsigned char* bytes, float* samples,
                         size_t count) {
  constexpr float kScale = 1.0f / 2147483648.0f;
  const size_t size = raw_sample_bytes(format);
  for (size_t i = 0; i < count; ++i, bytes += size) {
    if (format == RawSample::kFloat32) {
      samples[i] = read_number<float>(bytes);
    } else if (format == RawSample::kFloat64) {
      samples[i] = read_number<double>(bytes);
    } else if (format == RawSample::kUint8) {
      samples[i] = static_cast<float>(*bytes - 128) / 128.0f;
    } else {
      samples[i] = kScale * static_cast<float>(upper_bits(bytes, size));
    }
  }
}

}  // namespace render
