// SPDX-License-Identifier: Apache-2.0
#include "tools/ears/ears.h"

#include <cmath>
#include <cstdio>
#include <mutex>
#include <utility>

#include "tools/ears/ear_cache.h"
#include "tools/ears/measured_ears.h"
#include "tools/render/failure.h"
#include "tools/render/text.h"

namespace ears {
namespace {

bool is_usable(const EarTables& tables) {
  for (const std::vector<float>& table : tables.ears) {
    for (const float tap : table) {
      if (!std::isfinite(tap)) return false;
    }
  }
  return true;
}

}  // namespace

Ears ears_fit(const MeasuredEars& measured, const std::string& path) {
  const HeadSet set = head_set_make(measured);
  Ears ears;
  ears.tables = ear_tables_fit(set);
  if (!is_usable(ears.tables)) throw render::Failure(path, "has responses that no table fits");
  ears.report = {static_cast<double>(measured.directions.size()),
                 static_cast<double>(measured.taps),
                 measured.rate_hz,
                 measured.coverage,
                 set.lowest_hz,
                 ear_quality_measure(set, ears.tables)};
  return ears;
}

Ears ears_load(const std::string& path, bool again) {
  const std::optional<std::filesystem::path> place = ear_cache_place(path);
  if (place && !again) {
    if (std::optional<Ears> kept = ear_cache_read(*place)) return *kept;
  }
  Ears ears = ears_fit(measured_ears_read(path), path);
  if (place) ear_cache_write(*place, ears);
  return ears;
}

EarTables ears_load_and_tell(const std::string& path) {
  static std::mutex mutex;
  static std::string last_path;
  static EarTables last;  // several renderers of one run have the same ears
  const std::lock_guard lock(mutex);
  if (path != last_path) {
    Ears ears = ears_load(path);
    if (!ears.is_cached) std::fputs(ears_report(path, ears.report).c_str(), stderr);
    last = std::move(ears.tables);
    last_path = path;
  }
  return last;
}

std::string ears_report(const std::string& path, const FitReport& report) {
  const EarQuality& q = report.quality;
  return render::text_format(
      "ears    %s\n"
      "set     %.0f directions, %.0f %% of the sphere, %.0f taps at %g kHz, down to %.0f Hz\n"
      "level   %.2f dB off on average, %.2f dB above 2 kHz\n"
      "ILD     %.2f dB off above 1.5 kHz\n"
      "ITD     %.0f us off below 1.5 kHz\n",
      path.c_str(), report.directions, 100.0 * report.coverage, report.taps,
      report.rate_hz / 1000.0, report.lowest_hz, q.level_db, q.high_level_db, q.ild_db, q.itd_us);
}

}  // namespace ears
