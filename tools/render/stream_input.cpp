// SPDX-License-Identifier: Apache-2.0
#include "tools/render/stream_input.h"

#include <algorithm>
#include <utility>

#include "tools/render/failure.h"
#include "tools/render/wav_header.h"

namespace render {
namespace {

constexpr size_t kMostChannels = 1024;

constexpr size_t kNameBytes = 4;  // of a chunk

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
    alignment_bytes_ = header.alignment_bytes;
    may_wrap_ = header.may_wrap;
    bytes_left_ = header.data_bytes.value_or(0);
    padding_bytes_ = (alignment_bytes_ - bytes_left_ % alignment_bytes_) % alignment_bytes_;
    frames_ = bytes_left_ / (channels_ * raw_sample_bytes(sample_));
    is_length_certain_ = !is_open_ended_ && !may_wrap_;
  } catch (const BadText& bad) {
    throw Failure(path_, bad.what());
  }
}

// After the whole frames of the length that the header says: whether sound follows, as after the
// 32 bits of a header that has wrapped around. Then the bytes that are left begin its first frame.
bool StreamInput::continues() {
  if (ended_) return false;
  const size_t left = static_cast<size_t>(bytes_left_);
  const std::string_view next = source_->peek(left + padding_bytes_ + kNameBytes);
  const auto is_chunk = [&](size_t at) {
    return at < next.size() && wav_chunk_is_known(next.substr(at, kNameBytes));
  };
  // Some writers leave out the padding.
  if (next.size() <= left + padding_bytes_ || is_chunk(left) || is_chunk(left + padding_bytes_)) {
    // FFmpeg counts the padding of W64 as samples.
    if (left >= alignment_bytes_) warnings_.emplace_back("ends within a frame");
  } else if (may_wrap_) {
    warnings_.emplace_back("goes on after the length that its header says; read to its end");
    is_open_ended_ = true;
    return true;
  } else {
    warnings_.emplace_back("goes on after the length that its header says; not read any further");
  }
  ended_ = true;
  return false;
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
      ended_ = true;
    } else if (done < count && bytes_left_ < frame_bytes && continues()) {
      return done + read_frames(frames + done * channels_, count - done);
    }
  }
  return done;
}

}  // namespace render
