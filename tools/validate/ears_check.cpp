#include <cmath>

#include "tools/measure/ear_measure.h"
#include "tools/validate/checks.h"
#include "tools/validate/effect.h"
#include "tools/validate/geometry.h"
#include "tools/validate/larger.h"
#include "tools/validate/measured_ears.h"

namespace validate {
namespace {

using measure::Axis;
using measure::Chart;
using measure::Curve;

constexpr double kLevelFromHz = 1500.0;  // below, the ears differ little in level

const Axis kAzimuthAxis = {"azimuth, positive to the left (degrees)", 0.0, 180.0, 30.0};
const Axis kTimeAxis = {"left ear ahead (µs)", -200.0, 800.0, 200.0};
const Axis kLevelAxis = {"left ear louder (dB)", -10.0, 30.0, 10.0};

struct Heard {
  double azimuth_deg;
  double time_us;
  ErbLevels level_db;  // left minus right
};

// The centre loudspeaker for a head that turns away from it, without a room.
Heard hear(Effect* effect, double azimuth_deg) {
  effect->settle_head(head_hearing_ahead_at({azimuth_deg * kDegree, 0.0}));
  std::vector<float> impulse(2 * kResponseFrames);
  impulse[kResponseFrames] = 1.0f;  // not at the ends, which the measurement of time cuts off
  const size_t centre = effect->channel(render::Speaker::kFrontCenter);
  const Ears ears = effect->render(effect->bed(centre, impulse));
  Heard heard = {
      azimuth_deg,
      measure::ear_difference_measure(ears.samples.data(), ears.frames(), render::kEffectRateHz)
          .time_us,
      {}};
  const ErbLevels left = erb_powers(ears.ear(0));
  const ErbLevels right = erb_powers(ears.ear(1));
  for (size_t band = 0; band < kErbBands; ++band) {
    heard.level_db[band] = power_db(left[band] / right[band]);
  }
  return heard;
}

// Mean over the bands from `low_hz` up to `high_hz`.
template <typename Levels>
double band_mean(const Levels& level_db, double low_hz, double high_hz) {
  double sum = 0.0;
  int count = 0;
  for (size_t band = 0; band < kErbBands; ++band) {
    const double hz = erb_centres_hz()[band];
    if (hz < low_hz || hz >= high_hz) continue;
    sum += static_cast<double>(level_db[band]);
    ++count;
  }
  return sum / count;
}

void add_time_figures(const std::vector<Heard>& heard, Section* section) {
  double sum = 0.0;
  double worst = 0.0;
  for (size_t i = 0; i < heard.size(); ++i) {
    const double error =
        std::fabs(heard[i].time_us - static_cast<double>(kMeasuredEars[i].time_us));
    sum += error;
    worst = larger(worst, error);
  }
  section->add("time_mean", sum / static_cast<double>(heard.size()));
  section->add("time_largest", worst);
}

void add_level_figures(const std::vector<Heard>& heard, Section* section) {
  double sum = 0.0;
  double worst = 0.0;
  for (size_t i = 0; i < heard.size(); ++i) {
    ErbLevels error;
    for (size_t band = 0; band < kErbBands; ++band) {
      error[band] =
          std::fabs(heard[i].level_db[band] - static_cast<double>(kMeasuredEars[i].level_db[band]));
    }
    const double mean = band_mean(error, kLevelFromHz, kRateHz);
    sum += mean;
    worst = larger(worst, mean);
  }
  section->add("level_mean", sum / static_cast<double>(heard.size()));
  section->add("level_largest", worst);
}

Chart draw_time(const std::vector<Heard>& heard) {
  Curve found, measured;
  for (size_t i = 0; i < heard.size(); ++i) {
    found.emplace_back(heard[i].azimuth_deg, heard[i].time_us);
    measured.emplace_back(heard[i].azimuth_deg, kMeasuredEars[i].time_us);
  }
  Chart chart = chart_half("Time difference below 1.5 kHz", 0, 0, kAzimuthAxis, kTimeAxis);
  chart.line(found, measure::kStyleLeft);
  chart.line(measured, measure::kStyleReference);
  chart.legend("rendered", measure::kStyleLeft);
  chart.legend("measured head", measure::kStyleReference);
  return chart;
}

Chart draw_level(const std::vector<Heard>& heard, const char* title, size_t column, size_t row,
                 double low_hz, double high_hz) {
  Curve found, measured;
  for (size_t i = 0; i < heard.size(); ++i) {
    found.emplace_back(heard[i].azimuth_deg, band_mean(heard[i].level_db, low_hz, high_hz));
    measured.emplace_back(heard[i].azimuth_deg,
                          band_mean(kMeasuredEars[i].level_db, low_hz, high_hz));
  }
  Chart chart = chart_half(title, column, row, kAzimuthAxis, kLevelAxis);
  chart.line(found, measure::kStyleLeft);
  chart.line(measured, measure::kStyleReference);
  chart.legend("rendered", measure::kStyleLeft);
  chart.legend("measured head", measure::kStyleReference);
  return chart;
}

}  // namespace

Section ears_check(const Library& library) {
  Section section = {"ears", "Two ears against the measured head",
                     "The centre loudspeaker for heads that turn away from it in steps of 5 "
                     "degrees, without a room: how much earlier and louder the left ear hears it, "
                     "beside the measured dummy head that the impulse responses are made from."};
  Effect effect(library, "7.1");
  std::vector<Heard> heard;
  for (const MeasuredEars& measured : kMeasuredEars) {
    heard.push_back(hear(&effect, static_cast<double>(measured.azimuth_deg)));
  }
  add_time_figures(heard, &section);
  add_level_figures(heard, &section);
  section.draw(
      2.0 * kChartRow,
      {draw_time(heard), draw_level(heard, "Level difference, 0.5 to 1.5 kHz", 1, 0, 500.0, 1500.0),
       draw_level(heard, "Level difference, 1.5 to 4 kHz", 0, 1, 1500.0, 4000.0),
       draw_level(heard, "Level difference, 4 to 16 kHz", 1, 1, 4000.0, 16000.0)});
  return section;
}

}  // namespace validate
