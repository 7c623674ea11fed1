#include "tools/render/info.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "tools/render/audio_reader.h"
#include "tools/render/channel_map.h"
#include "tools/render/decibels.h"
#include "tools/render/effect_host.h"
#include "tools/render/failure.h"
#include "tools/render/interrupt.h"
#include "tools/render/loudspeakers.h"
#include "tools/render/text.h"

namespace render {
namespace {

constexpr size_t kScanFrames = 4096;

void print_file(std::ostream& out, const AudioReader& reader) {
  const int rate_hz = reader.sample_rate_hz();
  out << "file      " << reader.path() << ", " << reader.format() << "\n"
      << "rate      " << rate_hz << " Hz";
  if (rate_hz != kEffectRateHz) out << ", will be " << kEffectRateHz << " Hz";
  out << text_format("\nlength    %.3f s, %llu frames\n",
                     static_cast<double>(reader.frames()) / rate_hz,
                     static_cast<unsigned long long>(reader.frames()))
      << "channels  " << reader.channels() << "\n"
      << "map       "
      << (labels_are_missing(reader.labels()) ? "none" : labels_text(reader.labels())) << "\n";
}

// Of every channel, full scale = 1. Throws Failure for what cannot be rendered.
std::vector<float> scan_peaks(AudioReader* reader) {
  std::vector<float> peaks(reader->channels());
  std::vector<float> frames(kScanFrames * peaks.size());
  while (const size_t count = reader->read(frames.data(), kScanFrames)) {
    interrupt_check();
    for (size_t i = 0; i < count * peaks.size(); ++i) {
      float& peak = peaks[i % peaks.size()];
      peak = std::max(peak, std::fabs(frames[i]));
    }
  }
  return peaks;
}

std::string peak_text(float peak) {
  if (peak == 0.0f) return "silent";
  return text_format("%+.1f dBFS", decibels_from_factor(static_cast<double>(peak)));
}

// What the file calls a channel.
std::string label_text(const ChannelLabels& labels, size_t channel) {
  if (!labels.names[channel].empty()) return labels.names[channel];
  return speaker_name(labels.speakers[channel]);
}

// One line per channel of the file, in its order.
void print_channels(std::ostream& out, const AudioReader& reader, const ChannelPlan& plan,
                    const std::vector<float>& peaks) {
  out << "\nchannel  map   " << loudspeaker_titles() << "        peak\n";
  for (size_t channel = 0; channel < peaks.size(); ++channel) {
    const auto& inputs = plan.file_channels;
    const auto input =
        static_cast<size_t>(std::find(inputs.begin(), inputs.end(), channel) - inputs.begin());
    out << text_format("%7zu  %-4s  ", channel + 1, label_text(reader.labels(), channel).c_str())
        << loudspeaker_columns(*plan.layout, input)
        << text_format("  %10s\n", peak_text(peaks[channel]).c_str());
  }
}

}  // namespace

bool info_run(std::ostream& out, const Options& options) {
  AudioReader reader(options.input);
  print_file(out, reader);
  try {
    const ChannelPlan plan = channel_plan_make(options.input, reader.labels(), options.channels);
    out << "layout    " << plan.layout->name << "\n";
    for (const std::string& notice : plan.notices) out << "note      " << notice << "\n";
    print_channels(out, reader, plan, scan_peaks(&reader));
  } catch (const Failure& failure) {
    out << "refused   " << failure.what() << "\n";
    return false;
  }
  return true;
}

}  // namespace render
