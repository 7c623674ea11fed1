// SPDX-License-Identifier: Apache-2.0
#include "tools/render/channel_labels.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "tools/render/text.h"

namespace render {
namespace {

using enum Speaker;

struct Name {
  std::string_view name;  // in capitals
  Speaker speaker;
};

// Beside the abbreviations of orvane_channel_names, which are FFmpeg's.
constexpr Name kNames[] = {
    // Rec. ITU-R BS.2051: the labels of system H, then layer and azimuth
    {"LFE1", kLfe},
    {"SIL", kSideLeft},
    {"SIR", kSideRight},
    {"TPFL", kTopFrontLeft},
    {"TPFR", kTopFrontRight},
    {"TPFC", kTopFrontCenter},
    {"TPC", kTopCenter},
    {"TPBL", kTopBackLeft},
    {"TPBR", kTopBackRight},
    {"TPBC", kTopBackCenter},
    {"TPSIL", kTopSideLeft},
    {"TPSIR", kTopSideRight},
    {"BTFL", kBottomFrontLeft},
    {"BTFC", kBottomFrontCenter},
    {"BTFR", kBottomFrontRight},
    {"M+000", kFrontCenter},
    {"M+030", kFrontLeft},
    {"M-030", kFrontRight},
    {"M+060", kFrontLeft},
    {"M-060", kFrontRight},
    {"M+090", kSideLeft},
    {"M-090", kSideRight},
    {"M+110", kSideLeft},
    {"M-110", kSideRight},
    {"M+135", kBackLeft},
    {"M-135", kBackRight},
    {"M+180", kBackCenter},
    {"U+000", kTopFrontCenter},
    {"U+030", kTopFrontLeft},
    {"U-030", kTopFrontRight},
    {"U+045", kTopFrontLeft},
    {"U-045", kTopFrontRight},
    {"U+090", kTopSideLeft},
    {"U-090", kTopSideRight},
    {"U+110", kTopBackLeft},
    {"U-110", kTopBackRight},
    {"U+135", kTopBackLeft},
    {"U-135", kTopBackRight},
    {"U+180", kTopBackCenter},
    {"UH+180", kTopBackCenter},
    {"T+000", kTopCenter},
    {"B+000", kBottomFrontCenter},
    {"B+045", kBottomFrontLeft},
    {"B-045", kBottomFrontRight},
    // film mixes
    {"L", kFrontLeft},
    {"R", kFrontRight},
    {"C", kFrontCenter},
    {"LS", kSideLeft},
    {"RS", kSideRight},
    {"LSS", kSideLeft},
    {"RSS", kSideRight},
    {"LB", kBackLeft},
    {"RB", kBackRight},
    {"LRS", kBackLeft},
    {"RRS", kBackRight},
    {"LSR", kBackLeft},
    {"RSR", kBackRight},
    {"CS", kBackCenter},
    {"LC", kFrontLeftOfCenter},
    {"RC", kFrontRightOfCenter},
    {"TS", kTopCenter},
    {"LTF", kTopFrontLeft},
    {"RTF", kTopFrontRight},
    {"LTM", kTopSideLeft},
    {"RTM", kTopSideRight},
    {"LTS", kTopSideLeft},
    {"RTS", kTopSideRight},
    {"LTR", kTopBackLeft},
    {"RTR", kTopBackRight},
    // FFmpeg's stereo that holds more
    {"DL", kFrontLeft},
    {"DR", kFrontRight},
};

// FFmpeg's standard layouts, in versions 4 to 7. All others are described by their channels.
constexpr struct {
  std::string_view name, channels;
} kFfmpegLayouts[] = {
    {"mono", "FC"},
    {"stereo", "FL+FR"},
    {"downmix", "DL+DR"},
    {"2.1", "FL+FR+LFE"},
    {"3.0", "FL+FR+FC"},
    {"3.0(back)", "FL+FR+BC"},
    {"4.0", "FL+FR+FC+BC"},
    {"quad", "FL+FR+BL+BR"},
    {"quad(side)", "FL+FR+SL+SR"},
    {"3.1", "FL+FR+FC+LFE"},
    {"5.0", "FL+FR+FC+BL+BR"},
    {"5.0(side)", "FL+FR+FC+SL+SR"},
    {"4.1", "FL+FR+FC+LFE+BC"},
    {"5.1", "FL+FR+FC+LFE+BL+BR"},
    {"5.1(side)", "FL+FR+FC+LFE+SL+SR"},
    {"6.0", "FL+FR+FC+BC+SL+SR"},
    {"6.0(front)", "FL+FR+FLC+FRC+SL+SR"},
    {"hexagonal", "FL+FR+FC+BL+BR+BC"},
    {"6.1", "FL+FR+FC+LFE+BC+SL+SR"},
    {"6.1(back)", "FL+FR+FC+LFE+BL+BR+BC"},
    {"6.1(front)", "FL+FR+LFE+FLC+FRC+SL+SR"},
    {"7.0", "FL+FR+FC+BL+BR+SL+SR"},
    {"7.0(front)", "FL+FR+FC+FLC+FRC+SL+SR"},
    {"7.1", "FL+FR+FC+LFE+BL+BR+SL+SR"},
    {"7.1(wide)", "FL+FR+FC+LFE+BL+BR+FLC+FRC"},
    {"7.1(wide-side)", "FL+FR+FC+LFE+FLC+FRC+SL+SR"},
    {"3.1.2", "FL+FR+FC+LFE+TFL+TFR"},
    {"5.1.2", "FL+FR+FC+LFE+SL+SR+TFL+TFR"},
    {"5.1.2(back)", "FL+FR+FC+LFE+BL+BR+TFL+TFR"},
    {"7.1(top)", "FL+FR+FC+LFE+BL+BR+TFL+TFR"},
    {"octagonal", "FL+FR+FC+BL+BR+BC+SL+SR"},
    {"cube", "FL+FR+BL+BR+TFL+TFR+TBL+TBR"},
    {"5.1.4", "FL+FR+FC+LFE+BL+BR+TFL+TFR+TBL+TBR"},
    {"7.1.2", "FL+FR+FC+LFE+BL+BR+SL+SR+TFL+TFR"},
    {"7.1.4", "FL+FR+FC+LFE+BL+BR+SL+SR+TFL+TFR+TBL+TBR"},
    {"7.2.3", "FL+FR+FC+LFE+BL+BR+SL+SR+TFL+TFR+TBC+LFE2"},
    {"9.1.4", "FL+FR+FC+LFE+BL+BR+FLC+FRC+SL+SR+TFL+TFR+TBL+TBR"},
    {"9.1.6", "FL+FR+FC+LFE+BL+BR+FLC+FRC+SL+SR+TFL+TFR+TBL+TBR+TSL+TSR"},
    {"hexadecagonal", "FL+FR+FC+BL+BR+BC+SL+SR+TFL+TFC+TFR+TBL+TBC+TBR+WL+WR"},
    {"22.2",
     "FL+FR+FC+LFE+BL+BR+FLC+FRC+BC+SL+SR+TC+TFL+TFC+TFR+TBL+TBC+TBR+LFE2+TSL+TSR+BFC+BFL+BFR"},
};

constexpr uint32_t kWaveMaskBits = 18;  // what WAVE_FORMAT_EXTENSIBLE names: up to TBR

std::string in_capitals(std::string_view text) {
  std::string capitals(text);
  for (char& c : capitals) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return capitals;
}

Speaker speaker_named(const std::string& name) {
  for (uint32_t channel = 0; channel < ORVANE_NUM_CHANNELS; ++channel) {
    if (name == orvane_channel_names[channel].abbreviation) return speaker_of(channel);
  }
  for (const Name& known : kNames) {
    if (name == known.name) return known.speaker;
  }
  return kUnknown;
}

}  // namespace

bool labels_are_missing(const ChannelLabels& labels) {
  for (size_t i = 0; i < labels.speakers.size(); ++i) {
    if (labels.speakers[i] != kUnknown || !labels.names[i].empty()) return false;
  }
  return true;
}

std::string labels_text(const ChannelLabels& labels) {
  if (labels.are_ambisonic) return "ambisonics";
  std::string text;
  for (size_t i = 0; i < labels.speakers.size(); ++i) {
    if (!text.empty()) text += ' ';
    text += labels.names[i].empty() ? speaker_name(labels.speakers[i]) : labels.names[i];
  }
  return text;
}

ChannelLabels labels_read(std::string_view text, char separator) {
  const std::vector<std::string_view> words = text_split(text, separator);
  // In BS.2051 the front pair stands at 30 degrees, but where there is a pair at 60 it is that one.
  const bool is_wide = std::any_of(words.begin(), words.end(), [](std::string_view word) {
    return in_capitals(word) == "M+060";
  });
  ChannelLabels labels;
  for (const std::string_view word : words) {
    const std::string name = in_capitals(word);
    Speaker speaker = speaker_named(name);
    if (is_wide && name == "M+030") speaker = kFrontLeftOfCenter;
    if (is_wide && name == "M-030") speaker = kFrontRightOfCenter;
    labels.speakers.push_back(speaker);
    labels.names.emplace_back(speaker == kUnknown ? word : std::string_view());
  }
  return labels;
}

ChannelLabels labels_from_ffmpeg(std::string_view description, size_t channels) {
  for (const auto& layout : kFfmpegLayouts) {
    if (description == layout.name) description = layout.channels;
  }
  const size_t open = description.find(" channels (");
  if (open != std::string_view::npos) {
    description.remove_prefix(description.find('(') + 1);
    description = description.substr(0, description.find(')'));
  }
  if (description.starts_with("ambisonic ") && description.find('+') == description.npos) {
    ChannelLabels field = std::vector<Speaker>(channels);
    field.are_ambisonic = true;
    return field;
  }
  if (description == "unknown") return std::vector<Speaker>(channels);
  ChannelLabels labels = labels_read(description, '+');
  return labels.speakers.size() == channels ? labels
                                            : ChannelLabels(std::vector<Speaker>(channels));
}

ChannelLabels labels_from_wave_mask(uint32_t mask, size_t channels) {
  ChannelLabels labels(std::vector<Speaker>(channels, kUnknown));
  size_t channel = 0;
  for (uint32_t bit = 0; bit < 32 && channel < channels; ++bit) {
    if (!(mask >> bit & 1)) continue;
    if (bit < kWaveMaskBits) {
      labels.speakers[channel] = speaker_of(bit);
    } else {
      labels.names[channel] = "bit " + std::to_string(bit) + " of the mask";
    }
    ++channel;
  }
  return channel == channels ? labels : ChannelLabels(std::vector<Speaker>(channels));
}

std::string labels_to_ffmpeg(const std::vector<Speaker>& speakers) {
  std::string text;
  for (const Speaker speaker : speakers) {
    if (!text.empty()) text += '+';
    text += speaker_name(speaker);
  }
  return text;
}

}  // namespace render
