#include <algorithm>
#include <cmath>

#include "tools/render/text.h"
#include "tools/validate/checks.h"
#include "tools/validate/effect.h"
#include "tools/validate/larger.h"
#include "tools/validate/power_spectrum.h"
#include "tools/validate/random.h"
#include "tools/validate/sine.h"

namespace validate {
namespace {

using measure::Axis;
using measure::Chart;
using render::Speaker;

constexpr double kAmplitude = 0.5;
constexpr size_t kSettle = 24000;  // longer than room and tail
constexpr size_t kMeasured = 16384;
constexpr double kBinHz =
    kRateHz / kMeasured;  // sines of whole bins leave no skirts in the picture
constexpr double kFrequenciesHz[] = {35.0 * kBinHz, 341.0 * kBinHz, 1707.0 * kBinHz,
                                     4091.0 * kBinHz};
constexpr double kDrawnHz = kFrequenciesHz[1];
constexpr size_t kTailFrames = 24000;

// The whole path: reflections in the finest mode, the reverb as it is by default.
void add_room(Effect* effect) {
  effect->set("reverb.enable", 1.0);
  effect->set("reflections.mode", 4.0);
}

Ears render_sine(const Library& library, double hz) {
  Effect effect(library, "7.1.4");
  add_room(&effect);
  return effect.render(
      effect.bed(effect.channel(Speaker::kFrontLeft), sine(hz, kAmplitude, kSettle + kMeasured)));
}

Chart draw_spectrum(const std::vector<float>& ear, double limit_db) {
  const Axis frequency = {"frequency (Hz)", 20.0, 24000.0, 0.0, true};
  const Axis level = {"level against the sine (dB)", -200.0, 0.0, 40.0};
  Chart chart =
      chart_wide(render::text_format("Spectrum of a sine of %.0f Hz", kDrawnHz), frequency, level);
  measure::Curve curve = sine_curve(ear, kMeasured, 1.0 / 48.0);
  curve.erase(curve.begin(), std::find_if(curve.begin(), curve.end(), [&](const auto& point) {
                return point.first >= frequency.minimum;
              }));
  chart.line(curve, measure::kStyleLeft);
  draw_level(&chart, frequency, limit_db, measure::kStyleLimit);
  chart.legend("left ear", measure::kStyleLeft);
  chart.legend("limit for all together", measure::kStyleLimit);
  return chart;
}

// What is left where the room has died away after a noise in all channels, in dB of full scale.
double after_sound_db(const Library& library) {
  Effect effect(library, "7.1.4");
  add_room(&effect);
  std::vector<float> bed((kSettle + 2 * kTailFrames) * effect.channels());
  std::mt19937 generator(1);
  for (size_t i = 0; i < kSettle * effect.channels(); ++i) {
    bed[i] = random_sample(&generator);
  }
  const Ears ears = effect.render(bed);
  const size_t silent = 2 * (kSettle + kTailFrames);
  const double highest =
      peak({ears.samples.begin() + static_cast<ptrdiff_t>(silent), ears.samples.end()});
  return power_db(highest * highest);
}

double silence_db(const Library& library) {
  Effect effect(library, "7.1.4");
  add_room(&effect);
  const Ears ears = effect.render(std::vector<float>(kSettle * effect.channels()));
  const double highest = peak(ears.samples);
  return power_db(highest * highest);
}

}  // namespace

Section sine_check(const Library& library) {
  Section section = {
      "noise", "Distortion and noise",
      "A sine at half of full scale from the front left through the whole path, "
      "reflections and reverb included: the level of all that is not this sine. And "
      "what is heard of silence, before any sound and after its room has died away."};
  double worst = -1000.0;
  std::vector<float> drawn;
  for (const double hz : kFrequenciesHz) {
    const Ears ears = render_sine(library, hz);
    for (size_t ear = 0; ear < 2; ++ear) {
      worst = larger(worst, residue_db(ears.ear(ear), hz, kMeasured));
    }
    if (hz == kDrawnHz) drawn = ears.ear(0);
  }
  section.add("sine", worst);
  section.draw(kChartRow, {draw_spectrum(drawn, *section.figures.back().limit->at_most)});
  section.add("silence", silence_db(library));
  section.add("after_sound", after_sound_db(library));
  return section;
}

}  // namespace validate
