// SPDX-License-Identifier: Apache-2.0
#include "tools/render/pipe_writer.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "tools/render/failure.h"
#include "tools/render/files.h"
#include "tools/render/interrupt.h"

namespace render {
namespace {

size_t sample_bytes(SampleFormat format) {
  return format == SampleFormat::kFloat32 ? 4 : format == SampleFormat::kInt24 ? 3 : 2;
}

void append(std::vector<unsigned char>* bytes, uint32_t value, size_t size) {
  for (size_t i = 0; i < size; ++i) bytes->push_back(static_cast<unsigned char>(value >> 8 * i));
}

void append(std::vector<unsigned char>* bytes, const char* text) {
  bytes->insert(bytes->end(), text, text + std::strlen(text));
}

uint32_t sample_bits(float sample, SampleFormat format) {
  uint32_t bits = 0;
  if (format == SampleFormat::kFloat32) {
    std::memcpy(&bits, &sample, sizeof(bits));
    return bits;
  }
  const float full = format == SampleFormat::kInt24 ? 8388608.0f : 32768.0f;
  const float scaled = std::clamp(std::nearbyint(sample * full), -full, full - 1.0f);
  return static_cast<uint32_t>(static_cast<int32_t>(scaled));
}

}  // namespace

PipeWriter::PipeWriter(const AudioSpec& spec)
    : channels_(spec.channels), format_(spec.sample_format.value_or(SampleFormat::kFloat32)) {
  if (file_is_terminal(STDOUT_FILENO)) {
    throw Failure("-", "standard output is a terminal, not a pipe");
  }
  write_header(spec);
}

std::string PipeWriter::format() const {
  return std::string("WAV, ") + (format_ == SampleFormat::kFloat32 ? "float"
                                 : format_ == SampleFormat::kInt24 ? "24-bit"
                                                                   : "16-bit");
}

void PipeWriter::write_header(const AudioSpec& spec) {
  constexpr uint32_t kUnknown = 0xFFFFFFFF;
  const uint32_t channels = static_cast<uint32_t>(channels_);
  const uint32_t size = static_cast<uint32_t>(sample_bytes(format_));
  const uint32_t rate = static_cast<uint32_t>(spec.sample_rate_hz);
  std::vector<unsigned char> header;
  append(&header, "RIFF");
  append(&header, kUnknown, 4);
  append(&header, "WAVEfmt ");
  append(&header, 16, 4);
  append(&header, format_ == SampleFormat::kFloat32 ? 3 : 1, 2);
  append(&header, channels, 2);
  append(&header, rate, 4);
  append(&header, rate * channels * size, 4);
  append(&header, channels * size, 2);
  append(&header, 8 * size, 2);
  append(&header, "data");
  append(&header, kUnknown, 4);
  write_bytes(header.data(), header.size());
}

void PipeWriter::write(const float* frames, size_t count) {
  bytes_.clear();
  const size_t size = sample_bytes(format_);
  for (size_t i = 0; i < count * channels_; ++i) {
    append(&bytes_, sample_bits(frames[i], format_), size);
  }
  write_bytes(bytes_.data(), bytes_.size());
}

void PipeWriter::write_bytes(const unsigned char* bytes, size_t size) {
  size_t done = 0;
  while (done < size) {
    interrupt_check();
    if (!file_wait_writable(STDOUT_FILENO, kInterruptLookMs)) continue;
    const int64_t count =
        file_write(STDOUT_FILENO, bytes + done, std::min<size_t>(size - done, 4096));
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (count < 0 && errno == EPIPE) interrupt_closed_pipe();
    if (count < 0) throw Failure("-", errno);
    done += static_cast<size_t>(count);
  }
}

}  // namespace render
