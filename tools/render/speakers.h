// SPDX-License-Identifier: Apache-2.0
// The loudspeaker positions that a bed's channels can carry, and their labels in audio files.
#ifndef ORVANE_TOOLS_RENDER_SPEAKERS_H_
#define ORVANE_TOOLS_RENDER_SPEAKERS_H_

#include <cstdint>
#include <vector>

#include "renderer/loudspeaker_layouts.h"

namespace render {

// Beyond kUnknown, numbered from 1 in the order of orvane_channel.
enum class Speaker : uint8_t {
  kUnknown,
  kFrontLeft = ORVANE_FRONT_LEFT + 1,
  kFrontRight = ORVANE_FRONT_RIGHT + 1,
  kFrontCenter = ORVANE_FRONT_CENTRE + 1,
  kLfe = ORVANE_LFE + 1,
  kBackLeft = ORVANE_BACK_LEFT + 1,
  kBackRight = ORVANE_BACK_RIGHT + 1,
  kFrontLeftOfCenter = ORVANE_FRONT_LEFT_OF_CENTRE + 1,
  kFrontRightOfCenter = ORVANE_FRONT_RIGHT_OF_CENTRE + 1,
  kBackCenter = ORVANE_BACK_CENTRE + 1,
  kSideLeft = ORVANE_SIDE_LEFT + 1,
  kSideRight = ORVANE_SIDE_RIGHT + 1,
  kTopCenter = ORVANE_TOP_CENTRE + 1,
  kTopFrontLeft = ORVANE_TOP_FRONT_LEFT + 1,
  kTopFrontCenter = ORVANE_TOP_FRONT_CENTRE + 1,
  kTopFrontRight = ORVANE_TOP_FRONT_RIGHT + 1,
  kTopBackLeft = ORVANE_TOP_BACK_LEFT + 1,
  kTopBackCenter = ORVANE_TOP_BACK_CENTRE + 1,
  kTopBackRight = ORVANE_TOP_BACK_RIGHT + 1,
  kTopSideLeft = ORVANE_TOP_SIDE_LEFT + 1,
  kTopSideRight = ORVANE_TOP_SIDE_RIGHT + 1,
  kBottomFrontLeft = ORVANE_BOTTOM_FRONT_LEFT + 1,
  kBottomFrontCenter = ORVANE_BOTTOM_FRONT_CENTRE + 1,
  kBottomFrontRight = ORVANE_BOTTOM_FRONT_RIGHT + 1,
  kLfe2 = ORVANE_LFE_2 + 1,
};

// That of an orvane_channel.
constexpr Speaker speaker_of(uint32_t channel) { return static_cast<Speaker>(channel + 1); }

// Its abbreviation: "FL", "LFE", "TBC".
const char* speaker_name(Speaker speaker);

// In words: "front left".
const char* speaker_long_name(Speaker speaker);

// Whether it is heard from everywhere.
bool speaker_is_lfe(Speaker speaker);

// Whether libsndfile can label all of them.
bool speakers_have_labels(const std::vector<Speaker>& speakers);

// libsndfile's channel map (SF_CHANNEL_MAP_*) as speakers; what it cannot name is kUnknown.
std::vector<Speaker> speakers_from_sndfile(const std::vector<int>& channel_map);

// The reverse. Speakers without a libsndfile label become SF_CHANNEL_MAP_INVALID.
std::vector<int> speakers_to_sndfile(const std::vector<Speaker>& speakers);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_SPEAKERS_H_
