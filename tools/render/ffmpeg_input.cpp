// SPDX-License-Identifier: Apache-2.0
#include "tools/render/ffmpeg_input.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "tools/render/failure.h"
#include "tools/render/files.h"
#include "tools/render/interrupt.h"
#include "tools/render/text.h"

namespace render {
namespace {

constexpr size_t kProbeBytes = size_t{5} << 20;  // what ffprobe looks at of a pipe
constexpr size_t kFeedBytes = 4096;

// Without labels FFmpeg must not guess any, or it would mix the channels.
std::string filters(const MediaStream& stream, const ChannelLabels& labels) {
  std::string text =
      "aformat=sample_fmts=flt:sample_rates=" + std::to_string(stream.sample_rate_hz);
  const bool all_named = std::all_of(labels.speakers.begin(), labels.speakers.end(),
                                     [](Speaker speaker) { return speaker != Speaker::kUnknown; });
  if (all_named) text += ":channel_layouts=" + labels_to_ffmpeg(labels.speakers);
  return text + ",aresample=async=1:first_pts=0";
}

std::vector<std::string> command(const std::string& input, const MediaStream& stream,
                                 const ChannelLabels& labels) {
  std::vector<std::string> words = {"ffmpeg", "-nostdin", "-v", "error", "-guess_layout_max", "0"};
  for (const std::string& word : ffmpeg_input(input)) words.push_back(word);
  for (const std::string& word :
       {std::string("-map"), "0:" + std::to_string(stream.index), std::string("-filter:a"),
        filters(stream, labels), std::string("-c:a"), std::string("pcm_f32le"), std::string("-f"),
        std::string("f32le"), std::string("pipe:1")}) {
    words.push_back(word);
  }
  return words;
}

// A probe of the first bytes, which stay in `pipe`.
MediaInfo probe_pipe(const std::string& path, ByteSource* pipe) {
  const std::string_view begin = pipe->peek(kProbeBytes);
  const int copy = file_open_scratch();
  if (copy < 0 || file_write(copy, begin.data(), begin.size()) < 0) throw Failure(path, errno);
  lseek(copy, 0, SEEK_SET);
  try {
    MediaInfo info = probe_file(path, copy);
    close(copy);
    return info;
  } catch (...) {
    close(copy);
    throw;
  }
}

}  // namespace

const MediaStream& sound_stream_find(const std::string& path, const MediaInfo& info,
                                     std::optional<int> wanted) {
  const std::vector<const MediaStream*> sound = info.of_kind("audio");
  if (sound.empty()) throw Failure(path, "holds no sound");
  if (wanted) {
    if (*wanted >= 1 && static_cast<size_t>(*wanted) <= sound.size()) {
      return *sound[static_cast<size_t>(*wanted) - 1];
    }
    throw Failure(path, "has no sound stream " + std::to_string(*wanted) + ", only 1 to " +
                            std::to_string(sound.size()) + ": info lists them");
  }
  return **std::max_element(sound.begin(), sound.end(),
                            [](const auto* a, const auto* b) { return a->channels < b->channels; });
}

FfmpegInput::FfmpegInput(const InputRequest& request, std::unique_ptr<ByteSource> pipe)
    : AudioInput(request.path),
      pipe_(std::move(pipe)),
      media_(pipe_ ? probe_pipe(path_, pipe_.get()) : probe_file(path_)),
      stream_(sound_stream_find(path_, media_, request.stream)) {
  if (stream_.channels == 0 || stream_.sample_rate_hz == 0) {
    throw Failure(path_, "its sound (" + stream_.codec + ") is none that ffmpeg can decode");
  }
  channels_ = stream_.channels;
  sample_rate_hz_ = stream_.sample_rate_hz;
  labels_ = labels_from_ffmpeg(stream_.layout, channels_);
  format_ = media_.format + ", " + stream_.codec;
  const double duration = stream_.duration_s > 0.0 ? stream_.duration_s : media_.duration_s;
  frames_ = static_cast<uint64_t>(std::llround(duration * sample_rate_hz_));
  const std::string input = pipe_ ? "pipe:0" : ffmpeg_path(path_);
  ffmpeg_ = std::make_unique<Subprocess>(
      command(input, stream_, labels_),
      pipe_ ? Subprocess::kInput | Subprocess::kOutput : Subprocess::kOutput);
  if (pipe_) feeder_ = std::thread([this] { feed(); });
}

FfmpegInput::~FfmpegInput() {
  if (!feeder_.joinable()) return;
  ffmpeg_->kill();  // the feeder may be waiting for it to take more
  pipe_->stop();
  feeder_.join();
}

// Ogg has them in its streams. Other containers keep there what is true of the stream alone.
std::map<std::string, std::string> FfmpegInput::tags() const {
  std::map<std::string, std::string> tags = media_.tags;
  if (media_.format == "Ogg") tags.insert(stream_.tags.begin(), stream_.tags.end());
  return tags;
}

// Its failures show in what ffmpeg makes of them.
void FfmpegInput::feed() try {
  std::array<char, kFeedBytes> bytes;
  for (;;) {
    const size_t size = pipe_->read_some(bytes.data(), bytes.size());
    if (size == 0 || !ffmpeg_->write(bytes.data(), size)) break;
  }
  ffmpeg_->close_input();
} catch (const Failure&) {
  ffmpeg_->close_input();
} catch (const Interrupted&) {  // the main thread meets it as well
}

size_t FfmpegInput::read_frames(float* frames, size_t count) {
  const size_t frame_bytes = channels_ * sizeof(float);
  const size_t done = ffmpeg_->read(frames, count * frame_bytes) / frame_bytes;
  if (done < count && !ended_) note_end();
  return done;
}

void FfmpegInput::note_end() {
  ended_ = true;
  const int status = ffmpeg_->wait();
  const std::vector<std::string> errors = ffmpeg_->errors();
  const std::string reason = "ffmpeg says: " + ffmpeg_reason(errors, ffmpeg_path(path_));
  if (status != 0) {
    throw Failure(
        path_, errors.empty() ? "ffmpeg has ended with status " + std::to_string(status) : reason);
  }
  if (!errors.empty()) warnings_.push_back(reason);
}

}  // namespace render
