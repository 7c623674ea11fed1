// SPDX-License-Identifier: Apache-2.0
// The names by which files, programs and people call the channels of a bed.
#ifndef ORVANE_TOOLS_RENDER_CHANNEL_LABELS_H_
#define ORVANE_TOOLS_RENDER_CHANNEL_LABELS_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/render/speakers.h"

namespace render {

// What a file says of each of its channels.
struct ChannelLabels {
  ChannelLabels() = default;
  ChannelLabels(std::vector<Speaker> known) : speakers(std::move(known)), names(speakers.size()) {}

  std::vector<Speaker> speakers;  // kUnknown where there is no label, or one of no loudspeaker here
  std::vector<std::string> names;  // of the latter; empty for all others
  bool are_ambisonic = false;      // instead: a field of full order, ACN and SN3D
};

// Whether the file says nothing of any channel.
bool labels_are_missing(const ChannelLabels& labels);

// "FL FR FC LFE"; "?" for a channel without a label.
std::string labels_text(const ChannelLabels& labels);

// Reads names with `separator` between them, in capitals or not: those of FFmpeg (FL, TFL), of
// Rec. ITU-R BS.2051 (M+030, U+045, TpFL) and of film mixes (L, Lrs, Ltf).
ChannelLabels labels_read(std::string_view text, char separator);

// Reads FFmpeg's description of a stream of `channels`: "5.1(side)", "8 channels (FL+FR+...)".
ChannelLabels labels_from_ffmpeg(std::string_view description, size_t channels);

// The lowest bits of `mask` for so many channels, as in a WAVE file; all without a label where it
// has fewer bits.
ChannelLabels labels_from_wave_mask(uint32_t mask, size_t channels);

// For FFmpeg: "FL+FR+FC". Only for speakers that are known.
std::string labels_to_ffmpeg(const std::vector<Speaker>& speakers);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_CHANNEL_LABELS_H_
