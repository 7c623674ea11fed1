#include "tools/demo/picture.h"

#include <algorithm>
#include <cmath>

#include "tools/demo/bed.h"
#include "tools/measure/decay.h"
#include "tools/measure/svg.h"
#include "tools/render/text.h"

namespace demo {
namespace {

using measure::Axis;
using measure::Chart;
using measure::Curve;

constexpr double kWidth = 960.0, kHeight = 700.0;
constexpr double kDecayFloorDb = -70.0;
constexpr double kReverbAloneS = 0.05;  // the last early reflection has come by then
constexpr size_t kDecayStep = kRateHz / 500;

const char* ear_style(bool left) { return left ? measure::kStyleLeft : measure::kStyleRight; }

// With a sign unless it rounds to nothing.
std::string signed_text(int decimals, double value) {
  const std::string text = render::text_format("%+.*f", decimals, value);
  return text.find_first_of("123456789") == std::string::npos ? text.substr(1) : text;
}

// One bar per voice, in the colour of the ear that it favours.
Chart difference_chart(const std::string& title, double left, const Axis& y,
                       const std::vector<HeardVoice>& heard, double measure::EarDifference::*value,
                       int decimals) {
  const double count = static_cast<double>(heard.size());
  Chart chart(title, left, 60.0, 380.0, 210.0, {"", 0.0, count, 0.0}, y);
  for (size_t i = 0; i < heard.size(); ++i) {
    const double x = static_cast<double>(i) + 0.5;
    const double difference = heard[i].ears.*value;
    chart.bar(x, difference, 0.0, 30.0, ear_style(difference > 0.0));
    chart.text(x, difference, difference < 0.0 ? 16.0 : -6.0, signed_text(decimals, difference));
    const size_t word = heard[i].name.find('_');
    chart.text(x, y.minimum, 18.0, heard[i].name.substr(0, word));
    chart.text(x, y.minimum, 34.0, heard[i].name.substr(word + 1));
    chart.text(x, y.minimum, 50.0, signed_text(0, heard[i].azimuth_deg) + "°");
  }
  return chart;
}

Curve ear_decay(const std::vector<float>& response, size_t ear) {
  std::vector<float> samples;
  for (size_t i = ear; i < response.size(); i += 2) samples.push_back(response[i]);
  return measure::decay_curve(samples, kDecayStep, kRateHz);
}

// Up to where the curve leaves the chart.
Curve above_floor(Curve curve) {
  const auto end = std::find_if(curve.begin(), curve.end(),
                                [](const auto& point) { return point.second < kDecayFloorDb; });
  curve.erase(end, curve.end());
  return curve;
}

Chart decay_chart(const std::vector<float>& response) {
  const Curve curves[] = {ear_decay(response, 0), ear_decay(response, 1)};
  double end_s = 0.0;
  for (const Curve& curve : curves) {
    for (const auto& point : above_floor(curve)) end_s = std::max(end_s, point.first);
  }
  const double tick_s = end_s > 1.0 ? 0.2 : end_s > 0.4 ? 0.1 : 0.05;
  Chart chart(
      "The room after an impulse from the front left", 80.0, 410.0, 840.0, 220.0,
      {"time after the impulse (s)", 0.0, tick_s * std::floor(end_s / tick_s + 1.0), tick_s},
      {"energy still to come (dB)", kDecayFloorDb, 0.0, 10.0});
  for (size_t ear = 0; ear < 2; ++ear) {
    chart.line(above_floor(curves[ear]), ear_style(ear == 0));
    chart.legend(render::text_format("%s ear: %.2f s to -60 dB", ear == 0 ? "left" : "right",
                                     measure::decay_time_s(curves[ear], kReverbAloneS)),
                 ear_style(ear == 0));
  }
  return chart;
}

}  // namespace

void picture_draw(const std::vector<HeardVoice>& heard, const std::vector<float>& response,
                  const std::string& path) {
  measure::svg_write(path, kWidth, kHeight,
                     {difference_chart("How much louder the left ear hears each voice", 80.0,
                                       {"level, left minus right (dB)", -6.0, 6.0, 2.0}, heard,
                                       &measure::EarDifference::level_db, 1),
                      difference_chart("How much earlier the left ear hears each voice", 540.0,
                                       {"time, right minus left (µs)", -900.0, 900.0, 300.0}, heard,
                                       &measure::EarDifference::time_us, 0),
                      decay_chart(response)});
}

}  // namespace demo
