#include "tools/demo/voices.h"

#include <algorithm>

#include "tools/render/audio_reader.h"
#include "tools/render/audio_writer.h"
#include "tools/render/channel_map.h"
#include "tools/render/failure.h"

namespace demo {
namespace {

using render::Speaker;

constexpr size_t kPauseFrames = kRateHz / 2;

std::vector<float> read_recording(const std::string& path) {
  render::AudioReader reader(path);
  if (reader.channels() != 1 || reader.sample_rate_hz() != kRateHz) {
    throw render::Failure(path, "is not mono at 48 kHz");
  }
  std::vector<float> samples(reader.frames());
  samples.resize(reader.read(samples.data(), samples.size()));
  return samples;
}

}  // namespace

std::vector<Voice> voices_read(const std::string& directory) {
  std::vector<Voice> voices = {
      {"Front_Left", Speaker::kFrontLeft, 45.0, 0, {}},
      {"Front_Center", Speaker::kFrontCenter, 0.0, 0, {}},
      {"Front_Right", Speaker::kFrontRight, -45.0, 0, {}},
      {"Side_Right", Speaker::kSideRight, -90.0, 0, {}},
      {"Rear_Right", Speaker::kBackRight, -135.0, 0, {}},
      {"Rear_Left", Speaker::kBackLeft, 135.0, 0, {}},
      {"Side_Left", Speaker::kSideLeft, 90.0, 0, {}},
  };
  size_t start = 0;
  for (Voice& voice : voices) {
    voice.start = start;
    voice.samples = read_recording(directory + "/" + voice.name + ".wav");
    start += voice.samples.size() + kPauseFrames;
  }
  return voices;
}

size_t voices_length(const std::vector<Voice>& voices) {
  return voices.back().start + voices.back().samples.size() + kPauseFrames;
}

void voices_write_bed(const std::vector<Voice>& voices, const std::string& path) {
  const std::vector<Speaker>& speakers = render::layout_find("7.1")->rows;
  std::vector<float> bed(voices_length(voices) * speakers.size());
  for (const Voice& voice : voices) {
    const auto found = std::find(speakers.begin(), speakers.end(), voice.speaker);
    const size_t channel = static_cast<size_t>(found - speakers.begin());
    for (size_t i = 0; i < voice.samples.size(); ++i) {
      bed[(voice.start + i) * speakers.size() + channel] = voice.samples[i];
    }
  }
  render::AudioSpec spec;
  spec.channels = speakers.size();
  spec.sample_rate_hz = kRateHz;
  spec.expected_frames = voices_length(voices);
  spec.speakers = speakers;
  render::AudioWriter writer(path, spec);
  writer.write(bed.data(), spec.expected_frames);
  writer.commit();
}

}  // namespace demo
