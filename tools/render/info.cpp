// SPDX-License-Identifier: Apache-2.0
#include "tools/render/info.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "tools/render/audio_input.h"
#include "tools/render/channel_map.h"
#include "tools/render/decibels.h"
#include "tools/render/effect_host.h"
#include "tools/render/failure.h"
#include "tools/render/interrupt.h"
#include "tools/render/loudspeakers.h"
#include "tools/render/probe.h"
#include "tools/render/text.h"

namespace render {
namespace {

constexpr size_t kScanFrames = 4096;

std::string or_unknown(const std::string& text) { return text.empty() ? "unknown" : text; }

// The sound streams of a film, the one that is rendered marked.
void print_streams(std::ostream& out, const AudioInput& input) {
  const auto sounds = input.media()->of_kind("audio");
  for (size_t i = 0; sounds.size() > 1 && i < sounds.size(); ++i) {
    const MediaStream& stream = *sounds[i];
    out << text_format("stream    %c %zu  %s, %zu channels, %s",
                       stream.index == input.stream()->index ? '*' : ' ', i + 1,
                       stream.codec.c_str(), stream.channels, or_unknown(stream.layout).c_str());
    if (!stream.language.empty()) out << ", " << stream.language;
    if (!stream.title.empty()) out << ", " << stream.title;
    out << "\n";
  }
}

void print_file(std::ostream& out, const AudioInput& input) {
  const int rate_hz = input.sample_rate_hz();
  out << "file      " << input.path() << ", " << input.format() << "\n";
  if (input.media()) print_streams(out, input);
  out << "rate      " << rate_hz << " Hz";
  if (rate_hz != kEffectRateHz) out << ", will be " << kEffectRateHz << " Hz";
  out << "\nchannels  " << input.channels() << "\n"
      << "map       "
      << (labels_are_missing(input.labels()) && !input.labels().are_ambisonic
              ? "none"
              : labels_text(input.labels()))
      << "\n";
}

// Of every channel, full scale = 1. Throws Failure for what cannot be rendered.
std::vector<float> scan_peaks(AudioInput* reader) {
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
void print_channels(std::ostream& out, const AudioInput& reader, const ChannelPlan& plan,
                    const std::vector<float>& peaks) {
  const bool is_field = plan.layout->ambisonic_order > 0;
  out << "\nchannel  "
      << (is_field ? "ACN        peak\n" : "map   " + loudspeaker_titles() + "        peak\n");
  for (size_t channel = 0; channel < peaks.size(); ++channel) {
    if (is_field) {
      out << text_format("%7zu  %3zu  %10s\n", channel + 1, channel,
                         peak_text(peaks[channel]).c_str());
      continue;
    }
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
  const std::unique_ptr<AudioInput> input = audio_input_open(options.input);
  print_file(out, *input);
  try {
    const ChannelPlan plan =
        channel_plan_make(options.input.path, input->labels(), options.channels);
    const std::vector<float> peaks = scan_peaks(input.get());
    out << text_format("length    %.3f s, %llu frames\n",
                       static_cast<double>(input->position()) / input->sample_rate_hz(),
                       static_cast<unsigned long long>(input->position()))
        << "layout    " << plan.layout->name << "\n";
    for (const std::string& notice : plan.notices) out << "note      " << notice << "\n";
    for (const std::string& warning : input->warnings()) out << "warning   " << warning << "\n";
    print_channels(out, *input, plan, peaks);
  } catch (const Failure& failure) {
    out << "refused   " << failure.what() << "\n";
    return false;
  }
  return !options.strict || input->warnings().empty();
}

}  // namespace render
