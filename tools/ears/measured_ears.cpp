// SPDX-License-Identifier: Apache-2.0
#include "tools/ears/measured_ears.h"

#include <mysofa.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <numbers>

#include "tools/render/failure.h"
#include "tools/render/text.h"

namespace ears {
namespace {

using render::Failure;
using render::text_format;

constexpr double kDegree = std::numbers::pi / 180.0;
constexpr size_t kMinDirections = 36;  // the fit has 25 channels
constexpr size_t kMaxDirections = 30000, kMinTaps = 32, kMaxTaps = 65536;
constexpr double kMinRateHz = 8000.0, kMaxRateHz = 384000.0, kMaxDelayS = 1.0;
constexpr double kSameDirectionCosine = 1.0 - 5e-7;  // closer than 0.06 degrees
constexpr size_t kCoveragePoints = 2000;
constexpr double kMinCoverage = 0.6;
constexpr float kOnsetLevel = 0.1f;  // of the response's peak
constexpr double kOnsetS = 4e-3;     // in which most of a head's response has passed
constexpr double kOnsetShare = 0.5;  // of its energy
constexpr double kMaxApartS = 2e-3;  // between the ears; a head makes about 0.8 ms
constexpr const char* kEarNames[] = {"left", "right"};

const char* attribute(const MYSOFA_ATTRIBUTE* first, const char* name) {
  for (const MYSOFA_ATTRIBUTE* a = first; a; a = a->next) {
    if (a->name && a->value && std::strcmp(a->name, name) == 0) return a->value;
  }
  return nullptr;
}

bool all_finite(const MYSOFA_ARRAY& array) {
  return std::all_of(array.values, array.values + array.elements,
                     [](float value) { return std::isfinite(value); });
}

void check_convention(const MYSOFA_HRTF& hrtf, const std::string& path) {
  const char* const convention = attribute(hrtf.attributes, "SOFAConventions");
  if (convention && std::strcmp(convention, "SimpleFreeFieldHRIR") != 0) {
    throw Failure(path, std::string("is of the convention ") + convention +
                            ", SimpleFreeFieldHRIR is needed");
  }
  if (hrtf.R != kNumEars) {
    throw Failure(path, text_format("has %u receivers, two ears are needed", hrtf.R));
  }
}

void check_shapes(const MYSOFA_HRTF& hrtf, const std::string& path) {
  const size_t m = hrtf.M, n = hrtf.N;
  if (m < 1 || m > kMaxDirections) {
    throw Failure(path, text_format("has %zu measurements, %zu to %zu are needed", m,
                                    kMinDirections, kMaxDirections));
  }
  if (n < kMinTaps || n > kMaxTaps) {
    throw Failure(path, text_format("has responses of %zu taps, %zu to %zu are needed", n, kMinTaps,
                                    kMaxTaps));
  }
  if (!hrtf.DataIR.values || hrtf.DataIR.elements != m * kNumEars * n) {
    throw Failure(path, text_format("has not the %zu x 2 x %zu values of Data.IR", m, n));
  }
  if (!hrtf.SourcePosition.values || hrtf.SourcePosition.elements != 3 * m) {
    throw Failure(path, text_format("has not the %zu x 3 values of SourcePosition", m));
  }
  const MYSOFA_ARRAY& rate = hrtf.DataSamplingRate;
  if (!rate.values || rate.elements < 1 || !(static_cast<double>(rate.values[0]) >= kMinRateHz) ||
      !(static_cast<double>(rate.values[0]) <= kMaxRateHz)) {
    throw Failure(path, "has no Data.SamplingRate between 8 and 384 kHz");
  }
  const size_t delays = hrtf.DataDelay.values ? hrtf.DataDelay.elements : 0;
  if (delays != 0 && delays != kNumEars && delays != m * kNumEars) {
    throw Failure(path,
                  text_format("has %zu values of Data.Delay, 2 or %zu x 2 are needed", delays, m));
  }
}

void check_values(const MYSOFA_HRTF& hrtf, const std::string& path) {
  if (!all_finite(hrtf.SourcePosition)) throw Failure(path, "has positions that are not finite");
  if (!all_finite(hrtf.DataIR)) throw Failure(path, "has responses that are not finite");
  const double rate = static_cast<double>(hrtf.DataSamplingRate.values[0]);
  for (size_t i = 0; hrtf.DataDelay.values && i < hrtf.DataDelay.elements; ++i) {
    if (!(std::fabs(static_cast<double>(hrtf.DataDelay.values[i])) <= kMaxDelayS * rate)) {
      throw Failure(path, "has delays that are not finite or longer than a second");
    }
  }
}

Direction direction_at(const MYSOFA_HRTF& hrtf, size_t i, bool is_cartesian, double* distance) {
  const float* const p = hrtf.SourcePosition.values + 3 * i;
  const double x = static_cast<double>(p[0]), y = static_cast<double>(p[1]),
               z = static_cast<double>(p[2]);
  if (!is_cartesian) {
    *distance = z;
    return {std::remainder(x, 360.0) * kDegree, std::clamp(y, -90.0, 90.0) * kDegree};
  }
  *distance = std::hypot(x, y, z);
  return {std::atan2(y, x), std::atan2(z, std::hypot(x, y))};
}

// Measurements to keep: one per direction, the farthest where there are several.
std::vector<size_t> distinct_measurements(const MYSOFA_HRTF& hrtf,
                                          std::vector<Direction>* directions) {
  const char* const type = attribute(hrtf.SourcePosition.attributes, "Type");
  const bool is_cartesian = type && std::strcmp(type, "cartesian") == 0;
  std::vector<size_t> kept;
  std::vector<double> distances;
  std::vector<Vector> vectors;
  for (size_t i = 0; i < hrtf.M; ++i) {
    double distance = 0.0;
    const Direction direction = direction_at(hrtf, i, is_cartesian, &distance);
    const Vector vector = unit_vector(direction);
    const auto same = std::find_if(vectors.begin(), vectors.end(), [&](const Vector& other) {
      return dot(vector, other) > kSameDirectionCosine;
    });
    if (same == vectors.end()) {
      kept.push_back(i);
      distances.push_back(distance);
      vectors.push_back(vector);
      directions->push_back(direction);
    } else if (const auto k = static_cast<size_t>(same - vectors.begin());
               distance > distances[k]) {
      kept[k] = i;
      distances[k] = distance;
    }
  }
  return kept;
}

std::string place(const Direction& direction) {
  return text_format("azimuth %.0f, elevation %.0f", direction.azimuth / kDegree,
                     direction.elevation / kDegree);
}

// First tap that is not much quieter than the loudest one.
size_t onset_of(std::span<const float> response, const std::string& what, const std::string& path,
                double rate_hz) {
  float peak = 0.0f;
  double energy = 0.0, early = 0.0;
  for (const float tap : response) {
    peak = std::max(peak, std::fabs(tap));
    energy += static_cast<double>(tap) * static_cast<double>(tap);
  }
  if (!(peak > 0.0f)) throw Failure(path, "is silent at " + what);
  size_t onset = 0;
  while (std::fabs(response[onset]) < kOnsetLevel * peak) ++onset;
  const auto length = static_cast<size_t>(kOnsetS * rate_hz);
  for (size_t t = onset; t < std::min(onset + length, response.size()); ++t) {
    early += static_cast<double>(response[t]) * static_cast<double>(response[t]);
  }
  if (!(early >= kOnsetShare * energy)) throw Failure(path, "has no onset at " + what);
  return onset;
}

void find_arrivals(MeasuredEars* set, const std::string& path) {
  for (size_t i = 0; i < set->directions.size(); ++i) {
    std::array<double, kNumEars> arrivals;
    for (size_t ear = 0; ear < kNumEars; ++ear) {
      const std::string what =
          std::string("the ") + kEarNames[ear] + " ear, " + place(set->directions[i]);
      const size_t onset = onset_of(set->response(i, ear), what, path, set->rate_hz);
      arrivals[ear] = set->delays_s[i][ear] + static_cast<double>(onset) / set->rate_hz;
    }
    const double apart = std::fabs(arrivals[0] - arrivals[1]);
    if (!(apart <= kMaxApartS)) {
      throw Failure(path, text_format("has ears %.1f ms apart at ", 1e3 * apart) +
                              place(set->directions[i]) + ", a head's are at most 1 ms apart");
    }
    set->arrivals_s.push_back(arrivals);
  }
}

double coverage_of(std::span<const Direction> directions) {
  std::vector<Vector> vectors;
  for (const Direction& d : directions) vectors.push_back(unit_vector(d));
  const double cosine = std::cos(reach_of(directions));
  size_t near = 0;
  for (const Direction& d : spread_directions(kCoveragePoints)) {
    near += nearest_cosine(unit_vector(d), vectors) > cosine;
  }
  return static_cast<double>(near) / kCoveragePoints;
}

std::string reason_of(int error) {
  switch (error) {
    case MYSOFA_READ_ERROR:
      return "cannot be read";
    case MYSOFA_INVALID_FORMAT:
    case MYSOFA_UNSUPPORTED_FORMAT:
      return "is not a SOFA file";
    case MYSOFA_INVALID_DIMENSIONS:
    case MYSOFA_INVALID_DIMENSION_LIST:
      return "has arrays of dimensions that SimpleFreeFieldHRIR does not know";
    case MYSOFA_INVALID_ATTRIBUTES:
      return "lacks attributes of SimpleFreeFieldHRIR";
    case MYSOFA_INVALID_COORDINATE_TYPE:
      return "has positions that are neither spherical nor cartesian";
    default:
      return text_format("cannot be taken as a SOFA file (libmysofa: %d)", error);
  }
}

}  // namespace

MeasuredEars measured_ears_from(const MYSOFA_HRTF& hrtf, const std::string& path) {
  check_convention(hrtf, path);
  check_shapes(hrtf, path);
  check_values(hrtf, path);
  MeasuredEars set;
  set.rate_hz = static_cast<double>(hrtf.DataSamplingRate.values[0]);
  set.taps = hrtf.N;
  const std::vector<size_t> kept = distinct_measurements(hrtf, &set.directions);
  if (kept.size() < kMinDirections) {
    throw Failure(path,
                  text_format("has %zu directions, %zu are needed", kept.size(), kMinDirections));
  }
  set.coverage = coverage_of(set.directions);
  if (set.coverage < kMinCoverage) {
    throw Failure(path, text_format("covers %.0f %% of the sphere, %.0f %% are needed",
                                    100.0 * set.coverage, 100.0 * kMinCoverage));
  }
  for (const size_t i : kept) {
    const float* const responses = hrtf.DataIR.values + i * kNumEars * set.taps;
    set.responses.insert(set.responses.end(), responses, responses + kNumEars * set.taps);
    std::array<double, kNumEars> delays = {};
    const MYSOFA_ARRAY& given = hrtf.DataDelay;
    for (size_t ear = 0; given.values && given.elements && ear < kNumEars; ++ear) {
      const size_t first = given.elements > kNumEars ? i * kNumEars : 0;
      delays[ear] = static_cast<double>(given.values[first + ear]) / set.rate_hz;
    }
    set.delays_s.push_back(delays);
  }
  find_arrivals(&set, path);
  return set;
}

MeasuredEars measured_ears_read(const std::string& path) {
  int error = MYSOFA_OK;
  const std::unique_ptr<MYSOFA_HRTF, void (*)(MYSOFA_HRTF*)> hrtf(mysofa_load(path.c_str(), &error),
                                                                  mysofa_free);
  if (!hrtf) throw Failure(path, reason_of(error));
  return measured_ears_from(*hrtf, path);
}

}  // namespace ears
