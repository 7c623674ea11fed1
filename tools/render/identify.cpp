// SPDX-License-Identifier: Apache-2.0
#include "tools/render/identify.h"

#include <algorithm>
#include <cmath>
#include <random>

#include "tools/render/audio_writer.h"
#include "tools/render/effect_host.h"
#include "tools/render/interrupt.h"
#include "tools/render/loudspeakers.h"
#include "tools/render/render.h"
#include "tools/render/text.h"

namespace render {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr size_t kSlotFrames = kEffectRateHz * 3 / 2;
constexpr size_t kBurstFrames = kEffectRateHz / 5;
constexpr size_t kBurstSpacing = kEffectRateHz * 3 / 10;
constexpr size_t kNumBursts = 3;
constexpr size_t kFadeFrames = kEffectRateHz / 100;
constexpr float kPeak = 0.5f;
constexpr double kToneHz = 60.0;

// Falls by 6 dB per octave above some 1200 Hz: broad enough to be located, not as harsh as white.
std::vector<float> make_noise() {
  std::vector<float> samples(kBurstFrames);
  std::minstd_rand random;
  const float middle = 0.5f * static_cast<float>(random.max());
  float low = 0.0f;
  for (float& sample : samples) {
    low += 0.15f * (static_cast<float>(random()) / middle - 1.0f - low);
    sample = low;
  }
  return samples;
}

std::vector<float> make_tone() {
  std::vector<float> samples(kBurstFrames);
  for (size_t i = 0; i < samples.size(); ++i) {
    samples[i] =
        static_cast<float>(std::sin(2.0 * kPi * kToneHz / kEffectRateHz * static_cast<double>(i)));
  }
  return samples;
}

// A slot with bursts of the sound, faded at both ends and brought to kPeak.
std::vector<float> make_slot(std::vector<float> sound) {
  float peak = 0.0f;
  for (size_t i = 0; i < sound.size(); ++i) {
    const size_t to_end = std::min({i, sound.size() - 1 - i, kFadeFrames});
    sound[i] *= static_cast<float>(to_end) / kFadeFrames;
    peak = std::max(peak, std::fabs(sound[i]));
  }
  std::vector<float> slot(kSlotFrames);
  for (size_t burst = 0; burst < kNumBursts; ++burst) {
    for (size_t i = 0; i < sound.size(); ++i) {
      slot[burst * kBurstSpacing + i] = sound[i] * kPeak / peak;
    }
  }
  return slot;
}

std::vector<Speaker> file_channels(const Layout& layout) {
  return channel_order(layout, FileOrder::kWave);
}

size_t position_of(const std::vector<Speaker>& speakers, Speaker speaker) {
  return static_cast<size_t>(std::find(speakers.begin(), speakers.end(), speaker) -
                             speakers.begin());
}

void print_turns(std::ostream& out, const Layout& layout) {
  out << "   time  channel  " << loudspeaker_titles() << "\n";
  size_t turn = 0;
  for (const Speaker speaker : file_channels(layout)) {
    out << text_format("%5.1f s  %7zu  ", static_cast<double>(turn * kSlotFrames) / kEffectRateHz,
                       turn + 1)
        << loudspeaker_columns(layout, position_of(layout.rows, speaker)) << "\n";
    ++turn;
  }
}

void write_bed(const Options& options, const Layout& layout) {
  const std::vector<Speaker> channels = file_channels(layout);
  IdentifyBed bed(layout, channels);
  AudioSpec spec;
  spec.channels = channels.size();
  spec.sample_rate_hz = kEffectRateHz;
  spec.expected_frames = bed.expected_frames();
  spec.sample_format = options.sample_format;
  if (speakers_have_labels(channels)) spec.speakers = channels;
  AudioWriter writer(options.output, spec);
  std::vector<float> frames(kEffectMaxFrames * spec.channels);
  while (const size_t count = bed.read(frames.data(), kEffectMaxFrames)) {
    interrupt_check();
    writer.write(frames.data(), count);
  }
  writer.commit();
}

}  // namespace

IdentifyBed::IdentifyBed(const Layout& layout, const std::vector<Speaker>& channels)
    : layout_(layout), noise_(make_slot(make_noise())), tone_(make_slot(make_tone())) {
  for (const Speaker speaker : file_channels(layout)) {
    turns_.push_back({position_of(channels, speaker), speaker_is_lfe(speaker) ? tone_ : noise_});
  }
}

uint64_t IdentifyBed::expected_frames() const { return turns_.size() * kSlotFrames; }

size_t IdentifyBed::read(float* bed, size_t count) {
  const size_t channels = turns_.size();
  const size_t frames = std::min<uint64_t>(count, expected_frames() - position_);
  std::fill_n(bed, frames * channels, 0.0f);
  for (size_t frame = 0; frame < frames; ++frame, ++position_) {
    const size_t turn = position_ / kSlotFrames;
    bed[frame * channels + turns_[turn].channel] = turns_[turn].slot[position_ % kSlotFrames];
  }
  return frames;
}

void identify_run(std::ostream& out, const Options& options) {
  const Layout& layout = *layout_find(options.channels.layout);
  if (options.bed_only) {
    write_bed(options, layout);
    return print_turns(out, layout);
  }
  IdentifyBed bed(layout, layout.rows);
  const Report report = render_bed(options, bed);
  print_turns(out, layout);
  out << "\n";
  report_print(out, report);
}

}  // namespace render
