#include <cmath>

#include "tools/measure/decay.h"
#include "tools/render/text.h"
#include "tools/validate/checks.h"
#include "tools/validate/effect.h"
#include "tools/validate/larger.h"
#include "tools/validate/reverb_measure.h"

namespace validate {
namespace {

using measure::Axis;
using measure::Chart;
using measure::Curve;
using render::Speaker;

constexpr double kWetGain = 0.2;          // of the tail in the ears
constexpr double kPreDelayS = 0.03;       // what a new effect has
constexpr size_t kPreDelay = 1440;        // the same in samples
constexpr int kDraws = 6;                 // responses that a figure is the average of
constexpr double kTailEndsS = 0.01;       // after the decay time: the tone filter rings
constexpr double kPulseThreshold = 1e-4;  // below the last pulse, 0.2 x 0.001
constexpr double kBandsHz[] = {125.0, 250.0, 500.0, 1000.0, 2000.0, 4000.0, 8000.0};

struct Setting {
  double decay_s, level;
  const char* style;
};
constexpr Setting kSettings[] = {{0.25, 0.1, measure::kStyleLeft},
                                 {1.0, 0.5, measure::kStyleRight},
                                 {2.0, 0.2, measure::kStyleThird}};
constexpr double kSpacings[] = {80.0, 40.0, 20.0};

// The tail alone of an impulse from the centre: what the reverb adds to the ears.
class TailSource {
 public:
  TailSource(const Library& library, double decay_s, double level)
      : dry_(library, "7.1"),
        wet_(library, "7.1"),
        frames_(static_cast<size_t>((kPreDelayS + decay_s + kTailEndsS) * kRateHz)) {
    wet_.set("reverb.enable", 1.0);
    wet_.set("reverb.decay", decay_s);
    wet_.set("reverb.level", level);
  }

  void set(const char* name, double value) { wet_.set(name, value); }

  // A response of its own each time: a parameter that is set draws a new one.
  Ears draw() {
    wet_.set("reverb.enable", 1.0);
    return difference(wet_.respond(Speaker::kFrontCenter, frames_),
                      dry_.respond(Speaker::kFrontCenter, frames_));
  }

 private:
  Effect dry_, wet_;
  size_t frames_;
};

double reverberation_s(const std::vector<std::vector<float>>& tails, double band_hz) {
  std::vector<std::vector<float>> bands;
  for (const std::vector<float>& tail : tails) bands.push_back(octave_band(tail, band_hz));
  const Curve decay =
      measure::decay_curve(energy_sum(bands), render::kEffectRateHz / 1000, render::kEffectRateHz);
  return measure::decay_time_s(decay, kPreDelayS);
}

// Draws one setting; the largest deviation of its bands from what it asks for, in per cent.
double check_decay(const Library& library, const Setting& setting, Chart* chart) {
  TailSource source(library, setting.decay_s, setting.level);
  std::vector<std::vector<float>> tails;
  for (int i = 0; i < kDraws; ++i) {
    const Ears ears = source.draw();
    for (size_t ear = 0; ear < 2; ++ear) tails.push_back(ears.ear(ear));
  }
  const double expected = expected_reverberation_s(setting.decay_s, setting.level);
  double worst = 0.0;
  Curve curve;
  for (const double band_hz : kBandsHz) {
    const double share = 100.0 * reverberation_s(tails, band_hz) / expected;
    curve.emplace_back(band_hz, share);
    worst = larger(worst, std::fabs(share - 100.0));
  }
  chart->line(curve, setting.style);
  chart->legend(
      render::text_format("T %g s, L %g: %.3f s", setting.decay_s, setting.level, expected),
      setting.style);
  return worst;
}

void check_decays(const Library& library, Section* section) {
  const Axis bands = {"octave band (Hz)", 100.0, 10000.0, 0.0, true};
  Chart chart = chart_wide("Reverberation time against T x 60 / (20 log10(L / 0.001))", bands,
                           {"time found (%)", 90.0, 110.0, 5.0});
  draw_level(&chart, bands, 100.0, measure::kStyleReference);
  double worst = 0.0;
  for (const Setting& setting : kSettings) {
    worst = larger(worst, check_decay(library, setting, &chart));
  }
  section->add("time", worst);
  const double limit = *section->figures.back().limit->at_most;
  draw_level(&chart, bands, 100.0 - limit, measure::kStyleLimit);
  draw_level(&chart, bands, 100.0 + limit, measure::kStyleLimit);
  chart.legend("limits", measure::kStyleLimit);
  section->draw(kChartRow, {chart});
}

// White pulses: how far any of them is from the envelope, in dB.
double envelope_error_db(const std::vector<float>& tail, double decay_s, double level) {
  double worst = 0.0;
  for (size_t t = kPreDelay; t < tail.size(); ++t) {
    const double magnitude = std::fabs(static_cast<double>(tail[t]));
    if (magnitude <= kPulseThreshold) continue;
    const double seconds = (static_cast<double>(t - kPreDelay) + 1.0) / kRateHz;
    const double envelope = kWetGain * level * std::pow(0.001 / level, seconds / decay_s);
    worst = larger(worst, std::fabs(20.0 * std::log10(magnitude / envelope)));
  }
  return worst;
}

// Draws the density of one spacing over time; its deviation from the setting in per cent.
double check_density(const std::vector<float>& tail, double spacing, double decay_s,
                     const char* style, Chart* chart) {
  const size_t length = static_cast<size_t>(decay_s * kRateHz);
  const size_t window = static_cast<size_t>(0.1 * kRateHz);
  Curve curve;
  for (size_t start = 0; start + window <= length; start += window) {
    const size_t from = kPreDelay + start;
    curve.emplace_back(static_cast<double>(start + window / 2) / kRateHz,
                       pulses_per_second(tail, from, from + window, kPulseThreshold));
  }
  chart->line(curve, style);
  chart->legend(render::text_format("spacing %g", spacing), style);
  const double found = pulses_per_second(tail, kPreDelay, kPreDelay + length, kPulseThreshold);
  return 100.0 * std::fabs(found * spacing / kRateHz - 1.0);
}

void check_pulses(const Library& library, Section* section) {
  constexpr double kDecayS = 1.0, kLevel = 0.5;
  const Axis time = {"time after the pre-delay (s)", 0.0, kDecayS, 0.2};
  Chart chart =
      chart_wide("Pulses of the tail per second", time, {"pulses per second", 0.0, 3000.0, 600.0});
  TailSource source(library, kDecayS, kLevel);
  source.set("reverb.tone", 0.0);
  const char* styles[] = {measure::kStyleLeft, measure::kStyleRight, measure::kStyleThird};
  double density = 0.0;
  double envelope = 0.0;
  for (size_t i = 0; i < std::size(kSpacings); ++i) {
    source.set("reverb.spacing", kSpacings[i]);
    const Ears ears = source.draw();
    draw_level(&chart, time, kRateHz / kSpacings[i], measure::kStyleReference);
    density = larger(density, check_density(ears.ear(0), kSpacings[i], kDecayS, styles[i], &chart));
    for (size_t ear = 0; ear < 2; ++ear) {
      envelope = larger(envelope, envelope_error_db(ears.ear(ear), kDecayS, kLevel));
    }
  }
  chart.legend("48000 / spacing", measure::kStyleReference);
  section->add("density", density);
  section->add("envelope", envelope);
  section->draw(kChartRow, {chart});
}

// With all defaults but the length, which makes chance weigh less.
void check_ears(const Library& library, Section* section) {
  TailSource source(library, 1.0, 0.1);
  double balance = 0.0;
  double correlated = 0.0;
  for (int i = 0; i < kDraws; ++i) {
    const Ears ears = source.draw();
    balance = larger(balance, std::fabs(balance_db(ears.ear(0), ears.ear(1))));
    correlated = larger(correlated, std::fabs(correlation(ears.ear(0), ears.ear(1))));
  }
  section->add("balance", balance);
  section->add("correlation", correlated);
  source.set("reverb.stereo", 0.0);
  const Ears mono = source.draw();
  section->add("mono", correlation(mono.ear(0), mono.ear(1)));
}

}  // namespace

Section reverb_check(const Library& library) {
  Section section = {
      "reverb", "Reverberation",
      "The tail alone, which is what the reverb adds to the ears of an impulse from "
      "the centre: how fast it decays in octave bands for three settings of decay "
      "time T and level L, averaged over six draws and both ears; how dense its "
      "pulses are and how closely they follow the envelope; how alike the ears are."};
  check_decays(library, &section);
  check_pulses(library, &section);
  check_ears(library, &section);
  return section;
}

}  // namespace validate
