// The loudspeaker positions that a bed's channels can carry, and their labels in audio files.
#ifndef ORVANE_TOOLS_RENDER_SPEAKERS_H_
#define ORVANE_TOOLS_RENDER_SPEAKERS_H_

#include <vector>

namespace render {

enum class Speaker {
  kUnknown,
  kFrontLeft,
  kFrontRight,
  kFrontCenter,
  kLfe,
  kBackLeft,
  kBackRight,
  kFrontLeftOfCenter,
  kFrontRightOfCenter,
  kBackCenter,
  kSideLeft,
  kSideRight,
  kTopCenter,
  kTopFrontLeft,
  kTopFrontCenter,
  kTopFrontRight,
  kTopBackLeft,
  kTopBackCenter,
  kTopBackRight,
  kTopSideLeft,
  kTopSideRight,
  kBottomFrontLeft,
  kBottomFrontCenter,
  kBottomFrontRight,
  kLfe2,
};

// Its abbreviation: "FL", "LFE", "TBC".
const char* speaker_name(Speaker speaker);

// In words: "front left".
const char* speaker_long_name(Speaker speaker);

// Whether libsndfile can label all of them.
bool speakers_have_labels(const std::vector<Speaker>& speakers);

// libsndfile's channel map (SF_CHANNEL_MAP_*) as speakers; what it cannot name is kUnknown.
std::vector<Speaker> speakers_from_sndfile(const std::vector<int>& channel_map);

// The reverse. Speakers without a libsndfile label become SF_CHANNEL_MAP_INVALID.
std::vector<int> speakers_to_sndfile(const std::vector<Speaker>& speakers);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_SPEAKERS_H_
