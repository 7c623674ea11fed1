#include <cmath>
#include <string>

#include "tools/validate/checks.h"
#include "tools/validate/field.h"
#include "tools/validate/larger.h"
#include "tools/validate/power_spectrum.h"
#include "tools/validate/random.h"

namespace validate {
namespace {

using measure::Axis;
using measure::Chart;

constexpr int kPoses = 200;
constexpr size_t kDirections = 64;
constexpr double kPitchSpared = 1.0;  // degrees around +90 that the Euler formats move: see docs

const Axis kTurnAxis = {"turn of the head (degrees)", 0.0, 180.0, 30.0};
const Axis kErrorAxis = {"error (dB)", -160.0, -60.0, 20.0};

// A turn of the head in one of the rotator's formats.
struct Pose {
  render::Rotation head;
  float values[3];
  uint32_t format;
};

double angle_deg(const render::Rotation& head) {
  const Vector v = render::rotation_to_vector(head);
  return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]) / kDegree;
}

Pose random_vector_pose(std::mt19937* generator) {
  const render::Rotation head = random_head(generator);
  const Vector v = render::rotation_to_vector(head);
  return {head,
          {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])},
          ROTATOR_ROTATION_VECTOR};
}

// Yaw, pitch and roll, in this order, about the axes of the room.
Pose random_angles_pose(std::mt19937* generator) {
  const auto degrees = [&] { return (random_unit(generator) - 0.5) * 360.0; };
  const double yaw = degrees();
  double pitch = degrees();
  const double roll = degrees();
  if (std::fabs(pitch - 90.0) <= kPitchSpared) pitch -= 2.0 * kPitchSpared;
  const auto about = [](double x, double y, double z) {
    return render::rotation_from_vector({x * kDegree, y * kDegree, z * kDegree});
  };
  const render::Rotation head = render::rotation_multiply(
      about(roll, 0.0, 0.0),
      render::rotation_multiply(about(0.0, pitch, 0.0), about(0.0, 0.0, yaw)));
  return {head,
          {static_cast<float>(yaw), static_cast<float>(pitch), static_cast<float>(roll)},
          ROTATOR_YAW_PITCH_ROLL};
}

// Level of the error of a turned field against the harmonics of the turned directions, the worst of
// all directions. Frame d of the field is a plane wave from direction d.
double rotation_error_db(FieldModules* modules, int order, const Pose& pose) {
  const std::vector<Direction> directions = spread_directions(kDirections);
  const size_t channels = static_cast<size_t>((order + 1) * (order + 1));
  Field field(channels, kDirections);
  Field turned(channels, kDirections);
  for (size_t d = 0; d < kDirections; ++d) field.set_frame(d, harmonics(order, directions[d]));
  modules->settle(pose.values, pose.format);
  modules->rotate(field, &turned);
  double worst = 0.0;
  for (size_t d = 0; d < kDirections; ++d) {
    const std::vector<double> exact = harmonics(order, heard_from(pose.head, directions[d]));
    const std::vector<double> found = turned.frame(d);
    double error = 0.0;
    double power = 0.0;
    for (size_t c = 0; c < channels; ++c) {
      error += (found[c] - exact[c]) * (found[c] - exact[c]);
      power += exact[c] * exact[c];
    }
    worst = larger(worst, error / power);
  }
  return power_db(worst);
}

}  // namespace

Section rotation_check(const Library& library) {
  Section section = {
      "rotation", "Rotation against the analytic one",
      "Plane waves from 64 directions are turned for random heads, given as rotation "
      "vectors and as yaw, pitch and roll, and compared with the spherical harmonics "
      "of the turned directions in double precision. A dot is the worst direction "
      "of one head."};
  std::vector<Chart> charts;
  for (int order = 1; order <= 4; ++order) {
    std::mt19937 generator(static_cast<uint32_t>(order));
    FieldModules modules(library, order, 1, kDirections);
    Chart chart = chart_half("Order " + std::to_string(order), charts.size() % 2, charts.size() / 2,
                             kTurnAxis, kErrorAxis);
    double worst = -1000.0;
    for (int i = 0; i < kPoses; ++i) {
      const bool vector = i % 2 == 0;
      const Pose pose = vector ? random_vector_pose(&generator) : random_angles_pose(&generator);
      const double error_db = rotation_error_db(&modules, order, pose);
      chart.dot(angle_deg(pose.head), error_db,
                vector ? measure::kStyleLeft : measure::kStyleRight);
      worst = larger(worst, error_db);
    }
    section.add("order_" + std::to_string(order), worst);
    draw_level(&chart, kTurnAxis, *section.figures.back().limit->at_most, measure::kStyleLimit);
    chart.legend("vector", measure::kStyleLeft);
    chart.legend("angles", measure::kStyleRight);
    chart.legend("limit", measure::kStyleLimit);
    charts.push_back(chart);
  }
  section.draw(2.0 * kChartRow, charts);
  return section;
}

}  // namespace validate
