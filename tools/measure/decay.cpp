#include "tools/measure/decay.h"

#include <algorithm>
#include <cmath>

namespace measure {

Curve decay_curve(const std::vector<float>& response, size_t step, int rate_hz) {
  std::vector<double> to_come(response.size() + 1);
  for (size_t i = response.size(); i-- > 0;) {
    const double sample = static_cast<double>(response[i]);
    to_come[i] = to_come[i + 1] + sample * sample;
  }
  Curve curve;
  for (size_t i = 0; i < response.size() && to_come[i] > 0.0; i += step) {
    curve.emplace_back(static_cast<double>(i) / rate_hz,
                       10.0 * std::log10(to_come[i] / to_come[0]));
  }
  return curve;
}

double decay_time_s(const Curve& curve, double from_s) {
  const auto start = std::find_if(curve.begin(), curve.end(),
                                  [=](const auto& point) { return point.first >= from_s; });
  if (start == curve.end()) return 0.0;
  const auto reaches = [&](double level_db) {
    return std::find_if(start, curve.end(), [&](const auto& point) {
      return point.second <= start->second + level_db;
    });
  };
  const auto begin = reaches(-5.0);
  const auto end = reaches(-25.0);
  if (end == curve.end()) return 0.0;
  return 60.0 * (end->first - begin->first) / (begin->second - end->second);
}

}  // namespace measure
