#include <algorithm>
#include <cmath>

#include "tools/render/pose.h"
#include "tools/validate/checks.h"
#include "tools/validate/effect.h"
#include "tools/validate/field.h"
#include "tools/validate/random.h"

namespace validate {
namespace {

using measure::Axis;
using measure::Chart;
using measure::Curve;
using render::Speaker;

constexpr size_t kBlock = 512;
constexpr size_t kDrawnFrames = 256;

size_t peak_frame(const std::vector<float>& response) {
  const auto highest = std::max_element(response.begin(), response.end(), [](float a, float b) {
    return std::fabs(a) < std::fabs(b);
  });
  return static_cast<size_t>(highest - response.begin());
}

// First frame at which the ears are further apart than rounding makes them.
size_t first_difference(const Ears& a, const Ears& b) {
  const double audible = 1e-5 * peak(b.samples);
  for (size_t i = 0; i < a.samples.size(); ++i) {
    if (std::fabs(static_cast<double>(a.samples[i] - b.samples[i])) > audible) return i / 2;
  }
  return a.frames();
}

// One past the last.
size_t end_of_difference(const Ears& a, const Ears& b) {
  const double audible = 1e-5 * peak(b.samples);
  for (size_t i = a.samples.size(); i-- > 0;) {
    if (std::fabs(static_cast<double>(a.samples[i] - b.samples[i])) > audible) return i / 2 + 1;
  }
  return 0;
}

// Frames that encoder and rotator hold an impulse back.
size_t field_latency(const Library& library) {
  FieldModules modules(library, 4, 1, kBlock);
  Field source(1, kBlock);
  Field field(25, kBlock);
  Field turned(25, kBlock);
  source.at(0, 0) = 1.0f;
  modules.place({{0.3, 0.2}});
  modules.encode(source, &field);
  modules.rotate(field, &turned);
  return peak_frame({turned.rows()[0], turned.rows()[0] + kBlock});
}

// Frames from an impulse to the first pulse of the tail, with default settings but for the tone
// filter, which reaches a little ahead.
size_t reverb_onset(const Library& library) {
  const size_t frames = 4800;
  Effect dry(library, "7.1");
  Effect wet(library, "7.1");
  wet.set("reverb.enable", 1.0);
  wet.set("reverb.tone", 0.0);
  return first_difference(wet.respond(Speaker::kFrontCenter, frames),
                          dry.respond(Speaker::kFrontCenter, frames));
}

// A noise from the centre, for a head that turns by 90 degrees before frame kBlock and for one that
// always looked there.
void check_pose(const Library& library, Section* section) {
  const render::Rotation turned = render::pose_rotation({90.0, 0.0, 0.0});
  std::vector<float> noise;
  std::mt19937 generator(1);
  for (size_t i = 0; i < 6 * kBlock; ++i) {
    noise.push_back(random_sample(&generator));
  }
  const auto hear = [&](size_t turned_at) {
    Effect effect(library, "7.1");
    const std::vector<float> bed = effect.bed(effect.channel(Speaker::kFrontCenter), noise);
    if (turned_at == 0) effect.settle_head(turned);
    return effect.render(bed, [&](size_t start) {
      if (start == turned_at) effect.turn_head(turned);
      return kBlock;
    });
  };
  const Ears turning = hear(kBlock);
  const double sent = kBlock;
  section->add("pose_begins",
               static_cast<double>(first_difference(turning, hear(SIZE_MAX))) - sent);
  section->add("pose_done", static_cast<double>(end_of_difference(turning, hear(0))) - sent);
}

Chart draw_response(const Ears& ears) {
  const Axis time = {"samples after the impulse", 0.0, kDrawnFrames, 32.0};
  const Axis value = {"ear signal", -0.2, 0.2, 0.1};
  Chart chart = chart_wide("Impulse from the centre", time, value);
  for (size_t ear = 0; ear < 2; ++ear) {
    const std::vector<float> response = ears.ear(ear);
    Curve curve;
    for (size_t t = 0; t < kDrawnFrames; ++t) {
      curve.emplace_back(static_cast<double>(t), static_cast<double>(response[t]));
    }
    chart.line(curve, ear == 0 ? measure::kStyleLeft : measure::kStyleRight);
  }
  const double latency = static_cast<double>(peak_frame(ears.ear(0)));
  chart.line({{latency, value.minimum}, {latency, value.maximum}}, measure::kStyleReference);
  chart.legend("left ear", measure::kStyleLeft);
  chart.legend("right ear, the same here", measure::kStyleRight);
  chart.legend("peak", measure::kStyleReference);
  return chart;
}

}  // namespace

Section latency_check(const Library& library) {
  Section section = {
      "latency", "Latency and its parts",
      "Samples at 48 kHz from an impulse to the peak at the ears, and what they "
      "consist of: encoder and rotator, the ear filters (the LFE passes only these), "
      "the reverb's pre-delay. And from a head pose, sent before a block of 512, "
      "until it begins to be heard and is heard alone."};
  Effect effect(library, "7.1");
  const Ears centre = effect.respond(Speaker::kFrontCenter, kResponseFrames);
  section.add("centre", static_cast<double>(peak_frame(centre.ear(0))));
  section.add("field", static_cast<double>(field_latency(library)));
  const Ears lfe = effect.respond(Speaker::kLfe, kResponseFrames);
  section.add("ear_filters", static_cast<double>(peak_frame(lfe.ear(0))));
  section.add("reverb", static_cast<double>(reverb_onset(library)));
  check_pose(library, &section);
  section.draw(kChartRow, {draw_response(centre)});
  return section;
}

}  // namespace validate
