#include <algorithm>

#include "tools/render/pose.h"
#include "tools/validate/checks.h"
#include "tools/validate/effect.h"
#include "tools/validate/sine.h"

namespace validate {
namespace {

using measure::Axis;
using measure::Chart;
using render::Speaker;

constexpr size_t kFrames = 32768;                  // the last half of the rendering
constexpr double kHz = 683.0 * kRateHz / kFrames;  // a whole bin leaves no skirts
constexpr double kBesideHz = 300.0;  // a turn of the head bends the sine itself by much less
constexpr size_t kBlock = 512;

struct Turn {
  const char* name;
  const char* figure;
  double degrees_per_s;  // 0: a jump by 90 degrees in the middle
  const char* style;
};
constexpr Turn kTurns[] = {{"90°/s", "slow", 90.0, measure::kStyleLeft},
                           {"720°/s", "fast", 720.0, measure::kStyleRight},
                           {"jump by 90°", "jump", 0.0, measure::kStyleThird}};

// The left ear of a sine from the centre, for a head with a new pose before every block.
std::vector<float> hear(const Library& library, const Turn& turn) {
  Effect effect(library, "7.1");
  const std::vector<float> bed =
      effect.bed(effect.channel(Speaker::kFrontCenter), sine(kHz, 1.0, 2 * kFrames));
  const auto yaw_deg = [&](size_t start) {
    if (turn.degrees_per_s == 0.0) return start < kFrames + kFrames / 2 ? 0.0 : 90.0;
    return turn.degrees_per_s * static_cast<double>(start + kBlock) / kRateHz;
  };
  const Ears ears = effect.render(bed, [&](size_t start) {
    effect.turn_head(render::pose_rotation({yaw_deg(start), 0.0, 0.0}));
    return kBlock;
  });
  return ears.ear(0);
}

}  // namespace

Section turns_check(const Library& library) {
  Section section = {"turns", "Splatter under head turns",
                     "A sine of 1 kHz from the centre, heard by a head that turns steadily, with a "
                     "new pose before every block of 512, and by one that jumps by 90 degrees: the "
                     "energy further than 300 Hz from the sine. A head that turns bends the sine "
                     "itself by far less."};
  const Axis frequency = {"frequency (Hz)", 100.0, 24000.0, 0.0, true};
  const Axis level = {"level against the sine (dB)", -180.0, 0.0, 30.0};
  Chart chart = chart_wide("Spectrum of the sine", frequency, level);
  for (const Turn& turn : kTurns) {
    const std::vector<float> ear = hear(library, turn);
    section.add(turn.figure, splatter_db(ear, kHz, kBesideHz, kFrames));
    measure::Curve curve = sine_curve(ear, kFrames, 1.0 / 24.0);
    curve.erase(curve.begin(), std::find_if(curve.begin(), curve.end(), [&](const auto& point) {
                  return point.first >= frequency.minimum;
                }));
    chart.line(curve, turn.style);
    chart.legend(turn.name, turn.style);
  }
  for (const double edge : {kHz - kBesideHz, kHz + kBesideHz}) {
    chart.line({{edge, level.minimum}, {edge, level.maximum}}, measure::kStyleReference);
  }
  chart.legend("300 Hz beside", measure::kStyleReference);
  section.draw(kChartRow, {chart});
  return section;
}

}  // namespace validate
