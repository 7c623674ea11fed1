#include <cmath>
#include <string>

#include "tools/render/pose.h"
#include "tools/validate/checks.h"
#include "tools/validate/effect.h"
#include "tools/validate/field.h"
#include "tools/validate/larger.h"
#include "tools/validate/power_spectrum.h"

namespace validate {
namespace {

using measure::Axis;
using measure::Chart;
using render::Rotation;
using render::Speaker;

constexpr int kPoses = 25;
constexpr int kMaxOrder = 4;

const Axis kOrderAxis = {"ambisonic order", 0.5, 4.5, 0.0};
const Axis kErrorAxis = {"error (dB)", -160.0, -60.0, 20.0};

// As many signals as the order has channels, from all around: each is a frame in which one source
// sounds. Encoded, turned, and read back from the directions in which the head hears them, the
// worst signal's error.
double round_trip_error_db(FieldModules* modules, int order, const Rotation& head) {
  const size_t count = static_cast<size_t>((order + 1) * (order + 1));
  const std::vector<Direction> directions = spread_directions(count);
  Field sources(count, count);
  Field field(count, count);
  Field turned(count, count);
  for (size_t i = 0; i < count; ++i) sources.at(i, i) = 1.0f;
  const Vector v = render::rotation_to_vector(head);
  const float vector[] = {static_cast<float>(v[0]), static_cast<float>(v[1]),
                          static_cast<float>(v[2])};
  modules->place(directions);
  modules->encode(sources, &field);
  modules->settle(vector, ROTATOR_ROTATION_VECTOR);
  modules->rotate(field, &turned);

  std::vector<std::vector<double>> beams(count, std::vector<double>(count));  // channel by source
  for (size_t i = 0; i < count; ++i) {
    const std::vector<double> beam = harmonics(order, heard_from(head, directions[i]));
    for (size_t c = 0; c < count; ++c) beams[c][i] = beam[c];
  }
  double worst = 0.0;
  for (size_t t = 0; t < count; ++t) {
    const std::vector<double> decoded = solve(beams, turned.frame(t));
    for (size_t i = 0; i < count; ++i) {
      worst = larger(worst, std::fabs(decoded[i] - (i == t ? 1.0 : 0.0)));
    }
  }
  return power_db(worst * worst);
}

// A loudspeaker heard by a head that turns towards it sounds as the centre does to a head at rest.
// `towards` is that turn.
struct Facing {
  const char* layout;
  Speaker speaker;
  render::Pose towards;
  Speaker heard_as = Speaker::kFrontCenter;
};

const Facing kFacings[] = {
    {"7.1", Speaker::kFrontLeft, {45.0, 0.0, 0.0}},
    {"7.1", Speaker::kFrontRight, {-45.0, 0.0, 0.0}},
    {"7.1", Speaker::kSideLeft, {90.0, 0.0, 0.0}},
    {"7.1", Speaker::kBackRight, {-135.0, 0.0, 0.0}},
    {"22.2", Speaker::kTopCenter, {0.0, -90.0, 0.0}},
    {"22.2", Speaker::kTopSideLeft, {90.0, -45.0, 0.0}},
    {"22.2", Speaker::kSideRight, {0.0, 0.0, 90.0}, Speaker::kTopCenter},
};

// Both heads lean by `lean` besides. The largest difference of the ears, in dB.
double facing_error_db(const Library& library, const Facing& facing, const Rotation& lean) {
  Effect effect(library, facing.layout);
  effect.settle_head(render::rotation_multiply(render::pose_rotation(facing.towards), lean));
  const Ears turned = effect.respond(facing.speaker, kResponseFrames);
  effect.settle_head(lean);
  return difference_db(turned, effect.respond(facing.heard_as, kResponseFrames));
}

Chart draw_round_trips(const Library& library, Section* section) {
  Chart chart = chart_wide("Encode, turn, decode: error of the signals", kOrderAxis, kErrorAxis);
  double worst = -1000.0;
  for (int order = 1; order <= kMaxOrder; ++order) {
    std::mt19937 generator(static_cast<uint32_t>(order));
    const size_t count = static_cast<size_t>((order + 1) * (order + 1));
    FieldModules modules(library, order, count, count);
    for (int i = 0; i < kPoses; ++i) {
      const double error_db = round_trip_error_db(&modules, order, random_head(&generator));
      const double aside = (static_cast<double>(i) / (kPoses - 1) - 0.5) * 0.6;
      chart.dot(order + aside, error_db, measure::kStyleLeft);
      worst = larger(worst, error_db);
    }
    chart.text(order, kErrorAxis.minimum, 18.0, std::to_string(order));
  }
  section->add("round_trip", worst);
  draw_level(&chart, kOrderAxis, *section->figures.back().limit->at_most, measure::kStyleLimit);
  chart.legend("one random head", measure::kStyleLeft);
  chart.legend("limit", measure::kStyleLimit);
  return chart;
}

}  // namespace

Section consistency_check(const Library& library) {
  Section section = {
      "consistency", "Encode, rotate, decode",
      "As many signals as there are channels are encoded from all around, turned, "
      "and read back from where the head hears them. And through the whole effect: a "
      "loudspeaker that the head turns towards sounds as the centre does ahead."};
  section.draw(kChartRow, {draw_round_trips(library, &section)});
  std::mt19937 generator(1);
  double worst = -1000.0;
  for (const Facing& facing : kFacings) {
    for (const Rotation& lean : {Rotation(), random_head(&generator)}) {
      worst = larger(worst, facing_error_db(library, facing, lean));
    }
  }
  section.add("facing", worst);
  return section;
}

}  // namespace validate
