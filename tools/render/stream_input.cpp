// SPDX-License-Identifier: Apache-2.0
#include "tools/render/stream_input.h"

#include <algorithm>
#include <utility>

#include "tools/render/failure.h"
#include "tools/render/wav_header.h"

namespace render {
namespace {

constexpr size_t kMostChannels = 1024;

// Whether they can be the name of a chunk that follows the samples.
bool is_chunk_name(std::string_view bytes) {
  return bytes.size() == 4 &&
         std::all_of(bytes.begin(), bytes.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

}  // namespace

StreamInput::StreamInput(std::unique_ptr<ByteSource> source, const InputRequest& request)
    : AudioInput(request.path), source_(std::move(source)) {
  if (request.raw) {
    sample_ = *request.raw;
    channels_ = request.raw_channels;
    sample_rate_hz_ = request.raw_rate_hz;
    labels_ = std::vector<Speaker>(channels_);
    format_ = std::string("raw, ") + raw_sample_name(sample_);
  } else {
    read_header();
  }
  if (channels_ == 0 || channels_ > kMostChannels) {
    throw Failure(path_, "has " + std::to_string(channels_) + " channels");
  }
}

void StreamInput::read_header() {
  const ReadBytes read = [this](void* data, size_t size) {
    return source_->read(data, size) == size;
  };
  try {
    const WavHeader header = wav_header_read(read);
    if (!header.sample) throw BadText("its samples are compressed: decode them with ffmpeg first");
    sample_ = *header.sample;
    channels_ = header.channels;
    sample_rate_hz_ = header.sample_rate_hz;
    labels_ = labels_from_wave_mask(header.mask, channels_);
    format_ = header.format + ", " + raw_sample_name(sample_);
    is_open_ended_ = !header.data_bytes;
    bytes_left_ = header.data_bytes.value_or(0);
    frames_ = bytes_left_ / (channels_ * raw_sample_bytes(sample_));
  } catch (const BadText& bad) {
    throw Failure(path_, bad.what());
  }
}

// After the length that the header says: whether sound follows, as after the 32 bits of a header
// that has wrapped around.
bool StreamInput::continues() {
  const std::string_view next = source_->peek(4);
  if (next.empty() || is_chunk_name(next)) return false;
  warnings_.emplace_back("goes on after the length that its header says; read to its end");
  is_open_ended_ = true;
  return true;
}

size_t StreamInput::read_frames(float* frames, size_t count) {
  const size_t frame_bytes = channels_ * raw_sample_bytes(sample_);
  if (!is_open_ended_ && bytes_left_ < frame_bytes && !continues()) return 0;
  size_t size = count * frame_bytes;
  if (!is_open_ended_) size = static_cast<size_t>(std::min<uint64_t>(size, bytes_left_));
  size -= size % frame_bytes;
  bytes_.resize(size);
  const size_t read = source_->read(bytes_.data(), size);
  const size_t done = read / frame_bytes;
  raw_sample_to_float(sample_, bytes_.data(), frames, done * channels_);
  if (read % frame_bytes != 0) warnings_.emplace_back("ends within a frame");
  if (!is_open_ended_) {
    bytes_left_ -= read;
    if (read < size) {
      warnings_.emplace_back("ends before the length that its header says");
      bytes_left_ = 0;
    } else if (done < count && bytes_left_ < frame_bytes && continues()) {
      return done + read_frames(frames + done * channels_, count - done);
    }
  }
  return done;
}

}  // namespace render
