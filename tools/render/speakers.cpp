// SPDX-License-Identifier: Apache-2.0
#include "tools/render/speakers.h"

#include <sndfile.h>

#include <algorithm>
#include <cstddef>

namespace render {
namespace {

struct Label {
  int sndfile;
  Speaker speaker;
};

// When a speaker has two labels, the first is the one written: WAVE files take no other.
constexpr Label kLabels[] = {
    {SF_CHANNEL_MAP_LEFT, Speaker::kFrontLeft},
    {SF_CHANNEL_MAP_FRONT_LEFT, Speaker::kFrontLeft},
    {SF_CHANNEL_MAP_RIGHT, Speaker::kFrontRight},
    {SF_CHANNEL_MAP_FRONT_RIGHT, Speaker::kFrontRight},
    {SF_CHANNEL_MAP_CENTER, Speaker::kFrontCenter},
    {SF_CHANNEL_MAP_FRONT_CENTER, Speaker::kFrontCenter},
    {SF_CHANNEL_MAP_LFE, Speaker::kLfe},
    {SF_CHANNEL_MAP_REAR_LEFT, Speaker::kBackLeft},
    {SF_CHANNEL_MAP_REAR_RIGHT, Speaker::kBackRight},
    {SF_CHANNEL_MAP_FRONT_LEFT_OF_CENTER, Speaker::kFrontLeftOfCenter},
    {SF_CHANNEL_MAP_FRONT_RIGHT_OF_CENTER, Speaker::kFrontRightOfCenter},
    {SF_CHANNEL_MAP_REAR_CENTER, Speaker::kBackCenter},
    {SF_CHANNEL_MAP_SIDE_LEFT, Speaker::kSideLeft},
    {SF_CHANNEL_MAP_SIDE_RIGHT, Speaker::kSideRight},
    {SF_CHANNEL_MAP_TOP_CENTER, Speaker::kTopCenter},
    {SF_CHANNEL_MAP_TOP_FRONT_LEFT, Speaker::kTopFrontLeft},
    {SF_CHANNEL_MAP_TOP_FRONT_CENTER, Speaker::kTopFrontCenter},
    {SF_CHANNEL_MAP_TOP_FRONT_RIGHT, Speaker::kTopFrontRight},
    {SF_CHANNEL_MAP_TOP_REAR_LEFT, Speaker::kTopBackLeft},
    {SF_CHANNEL_MAP_TOP_REAR_CENTER, Speaker::kTopBackCenter},
    {SF_CHANNEL_MAP_TOP_REAR_RIGHT, Speaker::kTopBackRight},
};

Speaker labelled_speaker(int sndfile) {
  for (const Label& label : kLabels) {
    if (label.sndfile == sndfile) return label.speaker;
  }
  return Speaker::kUnknown;
}

const orvane_channel_name_t& names_of(Speaker speaker) {
  return orvane_channel_names[static_cast<size_t>(speaker) - static_cast<size_t>(speaker_of(0))];
}

int label_of(Speaker speaker) {
  for (const Label& label : kLabels) {
    if (label.speaker == speaker) return label.sndfile;
  }
  return SF_CHANNEL_MAP_INVALID;
}

}  // namespace

const char* speaker_name(Speaker speaker) {
  return speaker == Speaker::kUnknown ? "?" : names_of(speaker).abbreviation;
}

const char* speaker_long_name(Speaker speaker) {
  return speaker == Speaker::kUnknown ? "unknown" : names_of(speaker).name;
}

bool speaker_is_lfe(Speaker speaker) {
  return speaker == Speaker::kLfe || speaker == Speaker::kLfe2;
}

bool speakers_have_labels(const std::vector<Speaker>& speakers) {
  return std::all_of(speakers.begin(), speakers.end(),
                     [](Speaker speaker) { return label_of(speaker) != SF_CHANNEL_MAP_INVALID; });
}

std::vector<Speaker> speakers_from_sndfile(const std::vector<int>& channel_map) {
  std::vector<Speaker> speakers;
  for (const int label : channel_map) speakers.push_back(labelled_speaker(label));
  return speakers;
}

std::vector<int> speakers_to_sndfile(const std::vector<Speaker>& speakers) {
  std::vector<int> channel_map;
  for (const Speaker speaker : speakers) channel_map.push_back(label_of(speaker));
  return channel_map;
}

}  // namespace render
