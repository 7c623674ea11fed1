// SPDX-License-Identifier: Apache-2.0
// The ears of a sphere, as a SOFA record has them: a delay by the way around it and a shadow of
// first order (Brown and Duda, "A structural model for binaural sound synthesis", 1998).
#ifndef ORVANE_TESTS_SUPPORT_SPHERE_HEAD_H_
#define ORVANE_TESTS_SUPPORT_SPHERE_HEAD_H_

#include <mysofa.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "tools/ears/sphere.h"

struct SphereHead {
  double rate_hz = 48000.0;
  unsigned taps = 256;
  double radius_m[2] = {0.0875, 0.0875};  // seen from the left and from the right ear
  std::vector<ears::Direction> directions = ears::spread_directions(240);
};

// A record with storage of its own, to be spoiled at will.
class SphereRecord {
 public:
  explicit SphereRecord(const SphereHead& head = {}) {
    for (const ears::Direction& d : head.directions) {
      const double degree = 180.0 / std::numbers::pi;
      for (const double p : {d.azimuth * degree, d.elevation * degree, 1.5}) {
        positions.push_back(static_cast<float>(p));
      }
      for (const size_t ear : {0u, 1u}) add_response(head, d, ear);
    }
    hrtf.I = 1;
    hrtf.C = 3;
    hrtf.R = 2;
    hrtf.E = 1;
    hrtf.N = head.taps;
    hrtf.M = static_cast<unsigned>(head.directions.size());
    rate.push_back(static_cast<float>(head.rate_hz));
    delays.assign(2, 0.0f);
  }

  // With the arrays as they are now.
  const MYSOFA_HRTF& get() {
    const auto point = [](MYSOFA_ARRAY* array, std::vector<float>& values) {
      array->values = values.empty() ? nullptr : values.data();
      array->elements = static_cast<unsigned>(values.size());
    };
    point(&hrtf.DataIR, responses);
    point(&hrtf.SourcePosition, positions);
    point(&hrtf.DataSamplingRate, rate);
    point(&hrtf.DataDelay, delays);
    return hrtf;
  }

  MYSOFA_HRTF hrtf = {};
  std::vector<float> responses, positions, rate, delays;

 private:
  void add_response(const SphereHead& head, const ears::Direction& d, size_t ear) {
    constexpr double kPi = std::numbers::pi, kSpeed = 343.0;
    const ears::Vector axis = {0.0, ear == 0 ? 1.0 : -1.0, 0.0};
    const double angle = std::acos(std::clamp(ears::dot(axis, unit_vector(d)), -1.0, 1.0));
    const double radius = head.radius_m[ear], seconds = radius / kSpeed;
    const double way = angle < kPi / 2.0 ? -std::cos(angle) : angle - kPi / 2.0;
    const double delay = (1e-3 + seconds * (1.0 + way)) * head.rate_hz;
    // (1 + alpha s / 2w) / (1 + s / 2w) by the bilinear transform.
    const double alpha = 1.05 + 0.95 * std::cos(1.2 * angle), k = head.rate_hz * seconds;
    double last_in = 0.0, last_out = 0.0;
    for (unsigned t = 0; t < head.taps; ++t) {
      const double x = static_cast<double>(t) - delay, reach = 24.0;
      const double window = std::fabs(x) < reach ? 0.5 + 0.5 * std::cos(kPi * x / reach) : 0.0;
      const double in = (x == 0.0 ? 1.0 : std::sin(kPi * x) / (kPi * x)) * window;
      const double out =
          ((1.0 + alpha * k) * in + (1.0 - alpha * k) * last_in - (1.0 - k) * last_out) / (1.0 + k);
      responses.push_back(static_cast<float>(out));
      last_in = in;
      last_out = out;
    }
  }
};

#endif  // ORVANE_TESTS_SUPPORT_SPHERE_HEAD_H_
