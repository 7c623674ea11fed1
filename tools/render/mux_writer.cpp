// SPDX-License-Identifier: Apache-2.0
#include "tools/render/mux_writer.h"

#include <algorithm>

#include "tools/render/failure.h"
#include "tools/render/probe.h"
#include "tools/render/text.h"

namespace render {
namespace {

using Words = std::vector<std::string>;

struct Container {
  const char* extension;
  const char* muxer;
  bool has_video;
  const char* codecs;        // by our names, the one that suits it first
  const char* copied = "*";  // FFmpeg's names of the sound that it takes over; "*": any
};

constexpr Container kContainers[] = {
    {".mkv", "matroska", true, "flac aac alac opus vorbis mp3 pcm"},
    {".mka", "matroska", false, "flac aac alac opus vorbis mp3 pcm"},
    {".webm", "webm", true, "opus vorbis", "opus vorbis"},
    {".mp4", "mp4", true, "aac alac opus flac mp3",
     "aac ac3 eac3 alac flac opus mp3 mp2 dts truehd vorbis"},
    {".m4v", "mp4", true, "aac alac", "aac ac3 eac3 alac mp3"},
    {".mov", "mov", true, "aac alac pcm",
     "aac ac3 eac3 alac mp3 pcm_s16le pcm_s24le pcm_s32le pcm_f32le pcm_s16be pcm_s24be"},
    {".m4a", "ipod", false, "aac alac"},
    {".ts", "mpegts", true, "aac mp3", "aac ac3 eac3 mp3 mp2 dts truehd opus"},
    {".opus", "opus", false, "opus"},
    {".ogg", "ogg", false, "vorbis opus flac"},
    {".mp3", "mp3", false, "mp3"},
    {".wv", "wv", false, "wavpack"},
};

// By our names; rates for two channels at which nobody hears the codec.
const struct {
  const char* name;
  Words options;
} kCodecs[] = {
    {"flac", {"flac", "-sample_fmt", "s32", "-bits_per_raw_sample", "24"}},
    {"aac", {"aac", "-b:a:0", "320k"}},
    {"alac", {"alac", "-sample_fmt", "s32p", "-bits_per_raw_sample", "24"}},
    {"opus", {"libopus", "-b:a:0", "256k"}},
    {"vorbis", {"libvorbis", "-q:a:0", "8"}},
    {"mp3", {"libmp3lame", "-b:a:0", "320k"}},
    {"pcm", {"pcm_s24le"}},
    {"wavpack", {"wavpack"}},
};

const Container* find_container(const std::string& path) {
  const std::string extension = text_extension(path);
  for (const Container& container : kContainers) {
    if (extension == container.extension) return &container;
  }
  return nullptr;
}

std::string settle_codec(const std::string& path, const std::string& wanted) {
  const std::vector<std::string_view> codecs = text_split(find_container(path)->codecs, ' ');
  if (wanted.empty()) return std::string(codecs.front());
  if (std::find(codecs.begin(), codecs.end(), wanted) != codecs.end()) return wanted;
  throw Failure(path, "holds no " + wanted + ", only --codec " +
                          text_choices({codecs.begin(), codecs.end()}));
}

bool is_film(const OutputSource& source, const Container& container) {
  if (!source.media || source.path.empty() || !container.has_video) return false;
  const auto videos = source.media->of_kind("video");
  return std::any_of(videos.begin(), videos.end(),
                     [](const MediaStream* stream) { return !stream->is_picture; });
}

bool contains_word(std::string_view words, std::string_view word) {
  const auto all = text_split(words, ' ');
  return std::find(all.begin(), all.end(), word) != all.end();
}

// The codec into which a container takes subtitles; empty where it does not.
std::string subtitle_codec(const std::string& muxer, const std::string& codec) {
  const bool is_text = codec == "subrip" || codec == "ass" || codec == "ssa" || codec == "webvtt" ||
                       codec == "mov_text" || codec == "text";
  if (muxer == "matroska") return codec == "mov_text" ? "srt" : "copy";
  if (muxer == "mp4" || muxer == "mov")
    return codec == "mov_text" ? "copy" : is_text ? "mov_text" : "";
  if (muxer == "webm") return codec == "webvtt" ? "copy" : is_text ? "webvtt" : "";
  return muxer == "mpegts" && codec == "dvb_subtitle" ? "copy" : "";
}

void append(Words* words, Words more) { words->insert(words->end(), more.begin(), more.end()); }

// What is taken over from a film, beside its tags and chapters.
Words film_streams(const AudioSpec& spec, const Container& container,
                   std::vector<std::string>* notices) {
  const std::string muxer = container.muxer;
  const OutputSource& source = spec.source;
  Words words = {"-map", "0:v", "-map", "1:a"};
  size_t sounds = 1, subtitles = 0;
  for (const MediaStream* stream : source.media->of_kind("audio")) {
    if (spec.replace && stream->index == source.stream->index) continue;
    if (container.copied != std::string_view("*") &&
        !contains_word(container.copied, stream->codec)) {
      notices->push_back("leaves out sound in " + stream->codec +
                         ", which its format does not hold");
      continue;
    }
    append(&words, {"-map", "0:" + std::to_string(stream->index),
                    "-disposition:a:" + std::to_string(sounds++), "-default"});
  }
  append(&words, {"-c", "copy"});
  for (const MediaStream* stream : source.media->of_kind("subtitle")) {
    const std::string codec = subtitle_codec(muxer, stream->codec);
    if (codec.empty()) {
      notices->push_back("leaves out subtitles of the kind " + stream->codec +
                         ", which its format does not hold");
      continue;
    }
    append(&words, {"-map", "0:" + std::to_string(stream->index),
                    "-c:s:" + std::to_string(subtitles++), codec});
  }
  if (muxer == "matroska") append(&words, {"-map", "0:t?"});
  append(&words, {"-metadata:s:a:0", "title=Headphones"});
  if (!source.stream->language.empty()) {
    append(&words, {"-metadata:s:a:0", "language=" + source.stream->language});
  }
  append(&words, {"-disposition:a:0", "default"});
  return words;
}

// Tags that FFmpeg does not find where it looks for those of the file.
Words stream_tags(const OutputSource& source) {
  Words words;
  if (!source.media) return words;
  for (const auto& [name, value] : source.tags) {
    if (source.media->tags.count(name) > 0 || name == "encoder") continue;
    append(&words, {"-metadata", name + "=" + value});
  }
  return words;
}

Words command(const std::string& path, const std::string& target, const AudioSpec& spec,
              const std::string& codec, std::vector<std::string>* notices) {
  const Container& container = *find_container(path);
  Words words = {"ffmpeg", "-nostdin", "-v", "error", "-y"};
  const bool has_source = !spec.source.path.empty();
  if (has_source) append(&words, ffmpeg_input(ffmpeg_path(spec.source.path)));
  // FFmpeg's Matroska writer puts Opus earlier by the codec's delay, 312 samples at 48 kHz, than
  // its reader then finds it.
  const bool is_matroska =
      container.muxer == std::string("matroska") || container.muxer == std::string("webm");
  if (is_matroska && codec == "opus") append(&words, {"-itsoffset", "0.0065"});
  append(&words, {"-f", "f32le", "-ar", std::to_string(spec.sample_rate_hz), "-ac",
                  std::to_string(spec.channels)});
  append(&words, ffmpeg_input("pipe:0"));
  if (is_film(spec.source, container)) {
    append(&words, film_streams(spec, container, notices));
  } else {
    append(&words, {"-map", has_source ? "1:a" : "0:a"});
    if (has_source && container.muxer == std::string("ipod"))
      append(&words, {"-map", "0:v?", "-c:v", "copy"});
    append(&words, stream_tags(spec.source));
  }
  if (has_source) append(&words, {"-map_metadata", "0", "-map_chapters", "0"});
  append(&words, {"-c:a:0"});
  for (const auto& known : kCodecs) {
    if (codec == known.name) append(&words, known.options);
  }
  append(&words, {"-strict", "-2", "-f", container.muxer, ffmpeg_path(target)});
  return words;
}

}  // namespace

bool MuxWriter::writes(const std::string& path) { return find_container(path) != nullptr; }

std::string MuxWriter::extensions() {
  std::string text;
  for (const Container& container : kContainers) {
    text += (text.empty() ? "" : ", ") + std::string(container.extension);
  }
  return text;
}

MuxWriter::MuxWriter(const std::string& path, const AudioSpec& spec)
    : pending_(path),
      frame_bytes_(spec.channels * sizeof(float)),
      format_(settle_codec(path, spec.codec)) {
  if (spec.sample_format) {
    throw Failure(path, "the codec settles its samples, so --format has no effect");
  }
  if (spec.replace && !is_film(spec.source, *find_container(path))) {
    throw Failure(path, "is no film, so --replace has no effect");
  }
  ffmpeg_ = std::make_unique<Subprocess>(
      command(path, pending_.temporary_path(), spec, format_, &notices_), Subprocess::kInput);
}

void MuxWriter::fail() {
  const int status = ffmpeg_->wait();
  const std::vector<std::string> errors = ffmpeg_->errors();
  throw Failure(pending_.path(), errors.empty()
                                     ? "ffmpeg has ended with status " + std::to_string(status)
                                     : "ffmpeg says: " + errors.front());
}

void MuxWriter::write(const float* frames, size_t count) {
  if (!ffmpeg_->write(frames, count * frame_bytes_)) fail();
}

void MuxWriter::commit() {
  ffmpeg_->close_input();
  if (ffmpeg_->wait() != 0) fail();
  const std::vector<std::string> errors = ffmpeg_->errors();
  if (!errors.empty()) notices_.push_back("ffmpeg says: " + errors.front());
  pending_.commit();
}

}  // namespace render
