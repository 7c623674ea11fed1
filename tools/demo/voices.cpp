#include "tools/demo/voices.h"

#include <cerrno>
#include <fstream>

#include "tools/demo/bed.h"
#include "tools/render/audio_reader.h"
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

void voices_write_facing(const std::vector<Voice>& voices, const std::string& path) {
  std::ofstream file(path);
  file << "time,yaw,pitch,roll\n";
  for (const Voice& voice : voices) {
    for (const size_t frame : {voice.start, voice.start + voice.samples.size()}) {
      file << static_cast<double>(frame) / kRateHz << "," << voice.azimuth_deg << ",0,0\n";
    }
  }
  file.close();
  if (!file) throw render::Failure(path, errno);
}

void voices_write_bed(const std::vector<Voice>& voices, const std::string& path) {
  Bed bed(voices_length(voices));
  for (const Voice& voice : voices) bed.place(voice.speaker, voice.start, voice.samples);
  bed.write(path);
}

}  // namespace demo
