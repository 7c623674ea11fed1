// SPDX-License-Identifier: Apache-2.0
// A listener's own ears: tables for the renderer, from a SOFA file or from the cache.
#ifndef ORVANE_TOOLS_EARS_EARS_H_
#define ORVANE_TOOLS_EARS_EARS_H_

#include <string>

#include "tools/ears/ear_fit.h"
#include "tools/ears/ear_quality.h"

namespace ears {

// What there is to know about a fit.
struct FitReport {
  double directions = 0.0, taps = 0.0, rate_hz = 0.0;  // of the set
  double coverage = 0.0;                               // share of the sphere that was measured
  double lowest_hz = 0.0;                              // how far down the set reaches
  EarQuality quality;
};

struct Ears {
  EarTables tables;
  FitReport report;
  bool is_cached = false;  // or fitted just now
};

// Throws Failure, with `path`, for a set that no table fits.
Ears ears_fit(const MeasuredEars& measured, const std::string& path);

// Fits the tables, or takes them from the cache where the same file was fitted before: its place is
// $XDG_CACHE_HOME/orvane/ears, or ~/.cache/orvane/ears. With `again` the cache is not asked. A
// cache that cannot be written does no harm. Throws Failure for a file that cannot be fitted.
Ears ears_load(const std::string& path, bool again = false);

// The tables alone, which are read once per program; those that were fitted just now are reported
// to standard error.
EarTables ears_load_and_tell(const std::string& path);

// Lines that describe a fit, each with its end.
std::string ears_report(const std::string& path, const FitReport& report);

}  // namespace ears

#endif  // ORVANE_TOOLS_EARS_EARS_H_
