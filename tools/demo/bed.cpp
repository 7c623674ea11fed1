#include "tools/demo/bed.h"

#include <algorithm>

#include "tools/render/audio_writer.h"
#include "tools/render/channel_map.h"

namespace demo {
namespace {

const std::vector<render::Speaker>& speakers() { return render::layout_find("7.1")->rows; }

}  // namespace

Bed::Bed(size_t frames) : samples_(frames * speakers().size()) {}

void Bed::place(render::Speaker speaker, size_t start, const std::vector<float>& samples) {
  const auto found = std::find(speakers().begin(), speakers().end(), speaker);
  const size_t channel = static_cast<size_t>(found - speakers().begin());
  for (size_t i = 0; i < samples.size(); ++i) {
    samples_[(start + i) * speakers().size() + channel] = samples[i];
  }
}

void Bed::write(const std::string& path) const {
  render::AudioSpec spec;
  spec.channels = speakers().size();
  spec.sample_rate_hz = kRateHz;
  spec.expected_frames = samples_.size() / spec.channels;
  spec.speakers = speakers();
  render::AudioWriter writer(path, spec);
  writer.write(samples_.data(), spec.expected_frames);
  writer.commit();
}

}  // namespace demo
