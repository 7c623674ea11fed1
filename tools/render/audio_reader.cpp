// SPDX-License-Identifier: Apache-2.0
#include "tools/render/audio_reader.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>

#include "tools/render/failure.h"
#include "tools/render/files.h"
#include "tools/render/header_labels.h"
#include "tools/render/wav_header.h"

namespace render {
namespace {

// Opened here and not by libsndfile for the system's own words when it fails.
int open_regular(const std::string& path) {
  const int fd = file_open(path, false);
  if (fd < 0) throw Failure(path, errno);
  if (file_kind(fd) != FileKind::kRegular) {
    close(fd);
    throw Failure(path, "is not a regular file");
  }
  return fd;
}

SNDFILE* open_audio(const std::string& path, int fd, SF_INFO* info) {
  SNDFILE* file = sf_open_fd(fd, SFM_READ, info, SF_TRUE);
  if (!file)
    throw Failure(path,
                  std::string("cannot be read as audio: libsndfile says: ") + sf_strerror(nullptr));
  return file;
}

std::string format_name(int format) {
  SF_FORMAT_INFO info = {};
  info.format = format;
  sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof(info));
  return info.name ? info.name : "unknown format";
}

// libsndfile is asked of WAV and its kin only: of a CAF or AIFF file it may copy more labels than
// it has room for.
ChannelLabels read_labels(SNDFILE* file, int fd, int format, size_t channels) {
  if (const auto labels = header_labels_read(fd, channels)) return *labels;
  const int type = format & SF_FORMAT_TYPEMASK;
  if (type != SF_FORMAT_WAV && type != SF_FORMAT_WAVEX && type != SF_FORMAT_RF64) {
    return std::vector<Speaker>(channels);
  }
  std::vector<int> map(channels, SF_CHANNEL_MAP_INVALID);
  sf_command(file, SFC_GET_CHANNEL_MAP_INFO, map.data(), static_cast<int>(channels * sizeof(int)));
  return speakers_from_sndfile(map);
}

// Of a WAV file or its kin: whether it has fewer bytes of samples than its header says.
bool is_cut_off(int fd) {
  uint64_t offset = 0;
  const ReadBytes read = [&](void* data, size_t size) {
    const int64_t done = file_read_at(fd, data, size, offset);
    offset += size;
    return done == static_cast<int64_t>(size);
  };
  const int64_t size = file_size(fd);
  if (size < 0) return false;
  char begin[16] = {};
  if (file_read_at(fd, begin, sizeof(begin), 0) < 0) return false;
  if (!wav_header_begins(std::string_view(begin, sizeof(begin)))) return false;
  try {
    const WavHeader header = wav_header_read(read);
    return header.data_bytes && offset + *header.data_bytes > static_cast<uint64_t>(size);
  } catch (const BadText&) {
    return false;
  }
}

}  // namespace

AudioReader::AudioReader(const std::string& path)
    : AudioInput(path), fd_(open_regular(path)), file_(open_audio(path, fd_, &info_), sf_close) {
  channels_ = static_cast<size_t>(info_.channels);
  sample_rate_hz_ = info_.samplerate;
  frames_ = static_cast<uint64_t>(info_.frames);
  is_length_certain_ = true;
  if (frames_ == 0) throw Failure(path, "holds no audio");
  if (info_.frames == SF_COUNT_MAX) throw Failure(path, "does not say how long it is");
  format_ = format_name(info_.format & SF_FORMAT_TYPEMASK) + ", " +
            format_name(info_.format & SF_FORMAT_SUBMASK);
  labels_ = read_labels(file_.get(), fd_, info_.format, channels_);
  if (is_cut_off(fd_)) warnings_.emplace_back("ends before the length that its header says");
}

bool AudioReader::reads(const std::string& path) {
  constexpr std::string_view kMagics[] = {"RIFF", "RIFX", "RF64", "caff", "fLaC", "FORM", ".snd"};
  char begin[4] = {};
  const int fd = file_open(path, false);
  if (fd < 0) return false;
  const int64_t size = file_read_at(fd, begin, sizeof(begin), 0);
  close(fd);
  return size == sizeof(begin) &&
         std::find(std::begin(kMagics), std::end(kMagics),
                   std::string_view(begin, sizeof(begin))) != std::end(kMagics);
}

size_t AudioReader::read_frames(float* frames, size_t count) {
  const sf_count_t done = sf_readf_float(file_.get(), frames, static_cast<sf_count_t>(count));
  const size_t read = done > 0 ? static_cast<size_t>(done) : 0;
  if (read < count && position() + read < frames_ && warnings_.empty()) {
    warnings_.push_back("ends after " + std::to_string(position() + read) + " of " +
                        std::to_string(frames_) + " frames");
  }
  return read;
}

std::map<std::string, std::string> AudioReader::tags() const {
  std::map<std::string, std::string> tags;
  for (const auto& tag : kSndfileTags) {
    const char* text = sf_get_string(file_.get(), tag.sndfile);
    if (text) tags[tag.name] = text;
  }
  return tags;
}

}  // namespace render
