// Points of a measured curve.
#ifndef ORVANE_TOOLS_MEASURE_CURVE_H_
#define ORVANE_TOOLS_MEASURE_CURVE_H_

#include <utility>
#include <vector>

namespace measure {

using Curve = std::vector<std::pair<double, double>>;

}  // namespace measure

#endif  // ORVANE_TOOLS_MEASURE_CURVE_H_
