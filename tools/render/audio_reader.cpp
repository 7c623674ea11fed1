#include "tools/render/audio_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>

#include "tools/render/failure.h"
#include "tools/render/header_labels.h"

namespace render {
namespace {

// Opened here and not by libsndfile for the system's own words when it fails.
int open_regular(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);  // no wait for a pipe
  if (fd < 0) throw Failure(path, errno);
  struct stat status = {};
  if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
    close(fd);
    throw Failure(path, "is not a regular file");
  }
  return fd;
}

SNDFILE* open_audio(const std::string& path, int fd, SF_INFO* info) {
  SNDFILE* file = sf_open_fd(fd, SFM_READ, info, SF_TRUE);
  if (!file) throw Failure(path, std::string("cannot be read as audio: ") + sf_strerror(nullptr));
  return file;
}

std::string format_name(int format) {
  SF_FORMAT_INFO info = {};
  info.format = format;
  sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof(info));
  return info.name ? info.name : "unknown format";
}

ChannelLabels read_labels(SNDFILE* file, int fd, size_t channels) {
  if (const auto labels = header_labels_read(fd, channels)) {
    if (!labels_are_missing(*labels)) return *labels;
  }
  std::vector<int> map(channels, SF_CHANNEL_MAP_INVALID);
  sf_command(file, SFC_GET_CHANNEL_MAP_INFO, map.data(), static_cast<int>(channels * sizeof(int)));
  return speakers_from_sndfile(map);
}

}  // namespace

AudioReader::AudioReader(const std::string& path)
    : path_(path), fd_(open_regular(path)), file_(open_audio(path, fd_, &info_), sf_close) {
  if (frames() == 0) throw Failure(path, "holds no audio");
  if (info_.frames == SF_COUNT_MAX) throw Failure(path, "does not say how long it is");
  labels_ = read_labels(file_.get(), fd_, channels());
}

std::string AudioReader::format() const {
  return format_name(info_.format & SF_FORMAT_TYPEMASK) + ", " +
         format_name(info_.format & SF_FORMAT_SUBMASK);
}

size_t AudioReader::read(float* frames, size_t count) {
  const sf_count_t done = sf_readf_float(file_.get(), frames, static_cast<sf_count_t>(count));
  const size_t read = done > 0 ? static_cast<size_t>(done) : 0;
  if (read == 0 && position_ < this->frames()) {
    throw Failure(path_, "ends after " + std::to_string(position_) + " of " +
                             std::to_string(this->frames()) + " frames");
  }
  check_finite(frames, read);
  position_ += read;
  return read;
}

void AudioReader::check_finite(const float* frames, size_t count) const {
  for (size_t i = 0; i < count * channels(); ++i) {
    if (std::isfinite(frames[i])) continue;
    throw Failure(path_, "sample is not a finite number: frame " +
                             std::to_string(position_ + i / channels()) + ", channel " +
                             std::to_string(i % channels() + 1) + " of " +
                             std::to_string(channels()));
  }
}

}  // namespace render
