// SPDX-License-Identifier: Apache-2.0
#include "tools/render/audio_input.h"

#include <unistd.h>

#include <cerrno>
#include <cmath>

#include "tools/render/audio_reader.h"
#include "tools/render/failure.h"
#include "tools/render/ffmpeg_input.h"
#include "tools/render/files.h"
#include "tools/render/stream_input.h"
#include "tools/render/wav_header.h"

namespace render {
namespace {

constexpr size_t kMagicBytes = 40;  // beginning of a file that tells its format

// Throws Failure with the system's words; a directory and the like are none of ours.
int open_path(const std::string& path, bool* is_regular) {
  const int fd = path == "-" ? file_open_standard_input() : file_open(path);
  if (fd < 0) throw Failure(path, errno);
  const FileKind kind = file_kind(fd);
  *is_regular = kind == FileKind::kRegular && path != "-";
  if (kind != FileKind::kOther) return fd;
  close(fd);
  throw Failure(path, "is neither a file nor a pipe");
}

std::string first_bytes(int fd) {
  std::string bytes(kMagicBytes, '\0');
  const int64_t size = file_read_at(fd, bytes.data(), bytes.size(), 0);
  bytes.resize(size > 0 ? static_cast<size_t>(size) : 0);
  return bytes;
}

// Playlists lead to other files and addresses, and some of them never end.
void refuse_playlist(const std::string& path, std::string_view begin) {
  for (const std::string_view magic : {"#EXTM3U", "ffconcat", "<?xml", "<MPD"}) {
    if (begin.starts_with(magic)) throw Failure(path, "is a playlist, not sound");
  }
}

std::unique_ptr<AudioInput> open_file(const InputRequest& request) {
  if (request.stream || !AudioReader::reads(request.path)) {
    return std::make_unique<FfmpegInput>(request, nullptr);
  }
  std::string reason;
  try {
    return std::make_unique<AudioReader>(request.path);
  } catch (const Failure& failure) {
    reason = failure.what();
  }
  // Such files hold sound that libsndfile does not know, for instance AC-3 in WAV.
  try {
    return std::make_unique<FfmpegInput>(request, nullptr);
  } catch (const Failure& failure) {
    std::string other = failure.what();
    for (const std::string& beginning :
         {request.path + ": ", std::string("cannot be read as audio: ")}) {
      if (other.starts_with(beginning)) other.erase(0, beginning.size());
    }
    throw std::runtime_error(reason + "; " + other);
  }
}

std::unique_ptr<AudioInput> open_pipe(const InputRequest& request, int fd) {
  auto source = std::make_unique<ByteSource>(request.path, fd);
  if (request.raw) return std::make_unique<StreamInput>(std::move(source), request);
  const std::string_view begin = source->peek(kMagicBytes);
  if (begin.empty()) throw Failure(request.path, "holds nothing");
  refuse_playlist(request.path, begin);
  if (wav_header_begins(begin) && !request.stream) {
    return std::make_unique<StreamInput>(std::move(source), request);
  }
  return std::make_unique<FfmpegInput>(request, std::move(source));
}

}  // namespace

size_t AudioInput::read(float* frames, size_t count) {
  const size_t done = read_frames(frames, count);
  check_finite(frames, done);
  position_ += done;
  return done;
}

void AudioInput::check_finite(const float* frames, size_t count) const {
  for (size_t i = 0; i < count * channels(); ++i) {
    if (std::isfinite(frames[i])) continue;
    throw Failure(path_, "sample is not a finite number: frame " +
                             std::to_string(position_ + i / channels()) + ", channel " +
                             std::to_string(i % channels() + 1) + " of " +
                             std::to_string(channels()));
  }
}

std::unique_ptr<AudioInput> audio_input_open(const InputRequest& request) {
  bool is_regular = false;
  const int fd = open_path(request.path, &is_regular);
  if (!is_regular || request.raw) return open_pipe(request, fd);
  const std::string begin = first_bytes(fd);
  // libsndfile 1.2.0 takes the float samples of FFmpeg's W64 files for integers and knows no BW64.
  if (begin.starts_with("riff") || begin.starts_with("BW64")) return open_pipe(request, fd);
  close(fd);
  refuse_playlist(request.path, begin);
  return open_file(request);
}

}  // namespace render
