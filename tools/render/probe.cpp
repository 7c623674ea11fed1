// SPDX-License-Identifier: Apache-2.0
#include "tools/render/probe.h"

#include <cctype>
#include <charconv>
#include <optional>

#include "tools/render/failure.h"
#include "tools/render/subprocess.h"
#include "tools/render/text.h"

namespace render {
namespace {

constexpr size_t kMostStreams = 1000;
constexpr size_t kMostOutput = size_t{1} << 22;  // bytes
constexpr size_t kMostChannels = 1024;
constexpr double kMostRate = 1e7;
constexpr char kEntries[] =
    "stream=index,codec_name,codec_type,channels,channel_layout,sample_rate,duration"
    ":stream_tags:stream_disposition=default,attached_pic"
    ":format=format_long_name,duration:format_tags";

// The value of a line of ffprobe's flat format: a number, or a text in quotes with escapes.
std::string unquoted(std::string_view value) {
  if (value.size() < 2 || !value.starts_with('"') || !value.ends_with('"')) {
    return std::string(value);
  }
  value = value.substr(1, value.size() - 2);
  std::string text;
  for (size_t i = 0; i < value.size(); ++i) {
    if (value[i] != '\\' || i + 1 == value.size()) {
      text += value[i];
      continue;
    }
    ++i;
    text += value[i] == 'n' ? '\n' : value[i] == 'r' ? '\r' : value[i];
  }
  return text;
}

// A number from 0 to `most`, else 0.
double number_of(const std::string& value, double most) {
  const double number = text_number(value).value_or(0.0);
  return number > 0.0 && number <= most ? number : 0.0;
}

// Of a key "tags.TITLE".
void set_tag(std::map<std::string, std::string>* tags, std::string_view key,
             const std::string& value) {
  constexpr std::string_view kTags = "tags.";
  if (!key.starts_with(kTags)) return;
  std::string tag(key.substr(kTags.size()));
  for (char& c : tag) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  (*tags)[tag] = value;
}

void set_field(MediaStream* stream, std::string_view key, const std::string& value) {
  if (key == "index") stream->index = static_cast<int>(number_of(value, kMostStreams));
  if (key == "codec_type") stream->kind = value;
  if (key == "codec_name") stream->codec = value;
  if (key == "channels") stream->channels = static_cast<size_t>(number_of(value, kMostChannels));
  if (key == "sample_rate") stream->sample_rate_hz = static_cast<int>(number_of(value, kMostRate));
  if (key == "channel_layout") stream->layout = value;
  if (key == "duration") stream->duration_s = number_of(value, 1e9);
  if (key == "tags.language") stream->language = value;
  if (key == "tags.title") stream->title = value;
  set_tag(&stream->tags, key, value);
  if (key == "disposition.default") stream->is_default = value == "1";
  if (key == "disposition.attached_pic") stream->is_picture = value == "1";
}

void set_field(MediaInfo* info, std::string_view key, const std::string& value) {
  if (key == "format_long_name") info->format = value;
  if (key == "duration") info->duration_s = number_of(value, 1e9);
  set_tag(&info->tags, key, value);
}

}  // namespace

std::vector<const MediaStream*> MediaInfo::of_kind(std::string_view kind) const {
  std::vector<const MediaStream*> found;
  for (const MediaStream& stream : streams) {
    if (stream.kind == kind) found.push_back(&stream);
  }
  return found;
}

MediaInfo probe_parse(std::string_view text) {
  constexpr std::string_view kStream = "streams.stream.", kFormat = "format.";
  MediaInfo info;
  for (std::string_view line : text_split(text, '\n')) {
    if (line.empty()) continue;
    const size_t equals = line.find('=');
    if (equals == std::string_view::npos) throw BadText("ffprobe says " + std::string(line));
    const std::string value = unquoted(line.substr(equals + 1));
    std::string_view key = line.substr(0, equals);
    if (key.starts_with(kFormat)) set_field(&info, key.substr(kFormat.size()), value);
    if (!key.starts_with(kStream)) continue;
    key.remove_prefix(kStream.size());
    size_t number = 0;
    const auto end = std::from_chars(key.data(), key.data() + key.size(), number);
    if (end.ec != std::errc() || end.ptr == key.data() + key.size() || number >= kMostStreams) {
      throw BadText("ffprobe says " + std::string(line));
    }
    key.remove_prefix(static_cast<size_t>(end.ptr - key.data()) + 1);
    if (info.streams.size() <= number) info.streams.resize(number + 1);
    set_field(&info.streams[number], key, value);
  }
  return info;
}

std::string ffmpeg_path(const std::string& path) { return "file:" + path; }

std::vector<std::string> ffmpeg_input(const std::string& path) {
  return {"-protocol_whitelist", "file,pipe", "-i", path};
}

std::string ffmpeg_reason(const std::vector<std::string>& lines, const std::string& path) {
  if (lines.empty()) return "no reason given";
  std::string line = lines.back();
  const std::string prefix = path + ": ";
  if (line.starts_with(prefix)) line.erase(0, prefix.size());
  return line;
}

MediaInfo probe_file(const std::string& path, int input) {
  const std::string name = input >= 0 ? "pipe:0" : ffmpeg_path(path);
  std::vector<std::string> command = {"ffprobe",       "-v",    "error", "-of", "flat",
                                      "-show_entries", kEntries};
  for (const std::string& word : ffmpeg_input(name)) command.push_back(word);
  std::optional<Subprocess> started;
  try {
    started.emplace(command, Subprocess::kOutput, input);
  } catch (const Failure& failure) {
    throw Failure(path, std::string("is read through ffmpeg: ") + failure.what());
  }
  Subprocess& ffprobe = *started;
  std::string text(kMostOutput, '\0');
  text.resize(ffprobe.read(text.data(), text.size()));
  if (text.size() == kMostOutput) throw Failure(path, "ffprobe does not come to an end with it");
  if (ffprobe.wait() != 0) {
    throw Failure(
        path, "cannot be read as audio: ffprobe says: " + ffmpeg_reason(ffprobe.errors(), name));
  }
  try {
    return probe_parse(text);
  } catch (const BadText& bad) {
    throw Failure(path, bad.what());
  }
}

}  // namespace render
