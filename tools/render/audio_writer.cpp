// SPDX-License-Identifier: Apache-2.0
#include "tools/render/audio_writer.h"

#include "tools/render/audio_reader.h"
#include "tools/render/failure.h"
#include "tools/render/header_labels.h"
#include "tools/render/mux_writer.h"
#include "tools/render/text.h"

namespace render {
namespace {

constexpr uint64_t kWavLimit = (uint64_t{1} << 32) - 4096;  // bytes of samples; the rest is header

struct Container {
  const char* extension;
  int sndfile_format;
  bool has_float;
};

constexpr Container kContainers[] = {
    {".wav", SF_FORMAT_WAV, true},   {".w64", SF_FORMAT_W64, true},
    {".rf64", SF_FORMAT_RF64, true}, {".caf", SF_FORMAT_CAF, true},
    {".aiff", SF_FORMAT_AIFF, true}, {".flac", SF_FORMAT_FLAC, false},
};

const Container* container_of(const std::string& path) {
  const std::string extension = text_extension(path);
  for (const Container& container : kContainers) {
    if (extension == container.extension) return &container;
  }
  return nullptr;
}

const Container& find_container(const std::string& path) {
  if (const Container* container = container_of(path)) return *container;
  std::string text = "-";
  for (const Container& container : kContainers) text += std::string(", ") + container.extension;
  throw Failure(
      path, "the extension says no format I write (" + text + ", " + MuxWriter::extensions() + ")");
}

SampleFormat settle_sample_format(const std::string& path, const AudioSpec& spec) {
  const bool has_float = find_container(path).has_float;
  if (!has_float && spec.sample_format == SampleFormat::kFloat32) {
    throw Failure(path, "FLAC holds no float samples, only --format 24 or 16");
  }
  return spec.sample_format.value_or(has_float ? SampleFormat::kFloat32 : SampleFormat::kInt24);
}

int sndfile_format(SampleFormat format) {
  switch (format) {
    case SampleFormat::kFloat32:
      return SF_FORMAT_FLOAT;
    case SampleFormat::kInt24:
      return SF_FORMAT_PCM_24;
    case SampleFormat::kInt16:
      return SF_FORMAT_PCM_16;
  }
  return 0;
}

// A .wav that may come to 4 GiB begins as RF64, which becomes WAV at its end if it is shorter.
int settle_container(const std::string& path, const AudioSpec& spec, SampleFormat format) {
  const int container = find_container(path).sndfile_format;
  if (container != SF_FORMAT_WAV) return container;
  const uint64_t sample_bytes = format == SampleFormat::kFloat32 ? 4 : 3;
  if (spec.expected_frames == 0 ||
      spec.expected_frames > kWavLimit / (spec.channels * sample_bytes)) {
    return SF_FORMAT_RF64;
  }
  return spec.speakers.empty() ? SF_FORMAT_WAV : SF_FORMAT_WAVEX;
}

void set_tags(SNDFILE* file, const std::map<std::string, std::string>& tags) {
  for (const auto& tag : kSndfileTags) {
    const auto found = tags.find(tag.name);
    if (found != tags.end()) sf_set_string(file, tag.sndfile, found->second.c_str());
  }
}

// libsndfile writes through the pending file, which remembers a failed write: libsndfile forgets
// those of its last buffers and headers.
SF_VIRTUAL_IO pending_file_io() {
  SF_VIRTUAL_IO io = {};
  io.get_filelen = [](void* user) -> sf_count_t {
    auto* pending = static_cast<PendingFile*>(user);
    const int64_t position = pending->seek(0, SEEK_CUR);
    const int64_t length = pending->seek(0, SEEK_END);
    pending->seek(position, SEEK_SET);
    return length;
  };
  io.seek = [](sf_count_t offset, int whence, void* user) -> sf_count_t {
    return static_cast<PendingFile*>(user)->seek(offset, whence);
  };
  io.read = [](void* data, sf_count_t size, void* user) -> sf_count_t {
    return static_cast<PendingFile*>(user)->read(data, size);
  };
  io.write = [](const void* data, sf_count_t size, void* user) -> sf_count_t {
    return static_cast<PendingFile*>(user)->write(data, size);
  };
  io.tell = [](void* user) -> sf_count_t {
    return static_cast<PendingFile*>(user)->seek(0, SEEK_CUR);
  };
  return io;
}

SNDFILE* open_audio(PendingFile* pending, const AudioSpec& spec, SampleFormat sample_format) {
  SF_INFO info = {};
  info.channels = static_cast<int>(spec.channels);
  info.samplerate = spec.sample_rate_hz;
  info.format =
      settle_container(pending->path(), spec, sample_format) | sndfile_format(sample_format);
  SF_VIRTUAL_IO io = pending_file_io();
  SNDFILE* file = sf_open_virtual(&io, SFM_WRITE, &info, pending);
  pending->check_written();
  if (!file) throw Failure(pending->path(), sf_strerror(nullptr));
  sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);  // it would wrap around
  if (text_extension(pending->path()) == ".wav") {
    sf_command(file, SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);
  }
  sf_command(file, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);  // carries the time of day
  return file;
}

void set_channel_map(const std::string& path, SNDFILE* file, const std::vector<Speaker>& speakers) {
  if (speakers.empty()) return;
  const bool is_flac = find_container(path).sndfile_format == SF_FORMAT_FLAC;
  if (is_flac && speakers == flac_order(speakers.size())) return;
  std::vector<int> map = speakers_to_sndfile(speakers);
  const int size = static_cast<int>(map.size() * sizeof(int));
  if (sf_command(file, SFC_SET_CHANNEL_MAP_INFO, map.data(), size) != SF_TRUE) {
    throw Failure(path, "its format cannot name these channels");
  }
}

}  // namespace

AudioWriter::AudioWriter(const std::string& path, const AudioSpec& spec)
    : pending_(path),
      sample_format_(settle_sample_format(path, spec)),
      file_(open_audio(&pending_, spec, sample_format_), sf_close) {
  set_channel_map(path, file_.get(), spec.speakers);
  set_tags(file_.get(), spec.source.tags);
}

bool AudioWriter::writes(const std::string& path) { return container_of(path) != nullptr; }

std::string AudioWriter::format() const {
  return sample_format_ == SampleFormat::kFloat32 ? "float"
         : sample_format_ == SampleFormat::kInt24 ? "24-bit"
                                                  : "16-bit";
}

void AudioWriter::write(const float* frames, size_t count) {
  const sf_count_t done = sf_writef_float(file_.get(), frames, static_cast<sf_count_t>(count));
  pending_.check_written();
  if (done != static_cast<sf_count_t>(count)) {
    throw Failure(pending_.path(), sf_strerror(file_.get()));
  }
}

void AudioWriter::commit() {
  if (sf_close(file_.release()) != 0) throw Failure(pending_.path(), "cannot be completed");
  pending_.commit();
}

}  // namespace render
