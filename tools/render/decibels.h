// SPDX-License-Identifier: Apache-2.0
// Levels as decibels and as factors of amplitude.
#ifndef ORVANE_TOOLS_RENDER_DECIBELS_H_
#define ORVANE_TOOLS_RENDER_DECIBELS_H_

#include <cmath>

namespace render {

inline double decibels_to_factor(double decibels) { return std::pow(10.0, decibels / 20.0); }

inline double decibels_from_factor(double factor) { return 20.0 * std::log10(factor); }

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_DECIBELS_H_
