// SPDX-License-Identifier: Apache-2.0
// Records as libmysofa hands them over, of any shape and with any values; where the seeds are
// replayed, up to the fitted tables. (The reader of files belongs to libmysofa.)
#include <mysofa.h>

#include "fuzz/input.h"
#include "tools/ears/ears.h"
#include "tools/ears/measured_ears.h"
#include "tools/render/failure.h"

namespace {

// An array that is mostly as long as it should be.
void point(Input* input, MYSOFA_ARRAY* array, std::vector<float>* values) {
  constexpr size_t kSizes[] = {0, 1, 2, 3, 100};
  const uint8_t kind = input->take<uint8_t>();
  if (kind >= 0xF0) values->resize(kSizes[kind % 5]);
  values->shrink_to_fit();
  array->values = values->empty() ? nullptr : values->data();
  array->elements = static_cast<unsigned>(values->size());
}

// Puts a few numbers of any kind anywhere.
void spoil(Input* input, std::vector<float>* values) {
  for (uint32_t i = input->below(4); i > 0 && !values->empty(); --i) {
    const size_t at = input->take<uint16_t>() * size_t{7} % values->size();
    (*values)[at] = input->number();
  }
}

MYSOFA_ATTRIBUTE attribute(const char* name, const char* value) {
  return {nullptr, const_cast<char*>(name), const_cast<char*>(value)};
}

// Directions all over the sphere, or wherever the input says, and a pulse for each ear.
struct Record {
  MYSOFA_HRTF hrtf = {};
  std::vector<float> positions, responses, delays, rate;
  MYSOFA_ATTRIBUTE convention, type;

  explicit Record(Input* input) {
    constexpr unsigned kTaps[] = {64, 32, 100, 16, 0}, kReceivers[] = {2, 2, 2, 2, 2, 1, 0};
    constexpr const char* kConventions[] = {"SimpleFreeFieldHRIR", "GeneralFIR"};
    constexpr const char* kTypes[] = {"spherical", "cartesian", "neither"};
    hrtf.M = input->below(90);
    hrtf.N = input->pick(kTaps);
    hrtf.R = input->pick(kReceivers);
    convention = attribute("SOFAConventions", kConventions[input->below(8) == 7]);
    type = attribute("Type", input->pick(kTypes));
    if (input->below(4) != 3) hrtf.attributes = &convention;
    hrtf.SourcePosition.attributes = &type;
    for (const ears::Direction& d : ears::spread_directions(hrtf.M)) {
      const float degree = 57.29578f;
      positions.insert(positions.end(), {static_cast<float>(d.azimuth) * degree,
                                         static_cast<float>(d.elevation) * degree, 1.0f});
    }
    const uint32_t onset = input->below(40), spread = 1 + input->below(8);
    responses.resize(size_t{hrtf.M} * hrtf.R * hrtf.N);
    for (size_t i = 0; hrtf.N > 0 && i * hrtf.N < responses.size(); ++i) {
      const size_t at = (onset + i % spread) % hrtf.N;
      responses[i * hrtf.N + at] = i % 3 ? 1.0f : 0.3f;
    }
    constexpr float kRates[] = {48000.0f, 44100.0f, 96000.0f, 8000.0f, 0.0f};
    rate.push_back(input->pick(kRates));
    delays.resize(input->below(4) == 3 ? 2 * size_t{hrtf.M} : 2);
    for (std::vector<float>* values : {&positions, &responses, &delays}) spoil(input, values);
    point(input, &hrtf.SourcePosition, &positions);
    point(input, &hrtf.DataIR, &responses);
    point(input, &hrtf.DataDelay, &delays);
    point(input, &hrtf.DataSamplingRate, &rate);
  }
};

#ifdef ORVANE_FIT_EARS
bool is_finite_report(const ears::FitReport& report) {
  const ears::EarQuality& q = report.quality;
  return std::isfinite(q.level_db) && std::isfinite(q.ild_db) && std::isfinite(q.itd_us) &&
         std::isfinite(report.lowest_hz);
}

void fit(const ears::MeasuredEars& measured) {
  const ears::Ears fitted = ears::ears_fit(measured, "set");
  for (const std::vector<float>& table : fitted.tables.ears) {
    require(table.size() == ears::kTableSize && all_finite(table), "a table is whole and finite");
  }
  require(is_finite_report(fitted.report), "a report is finite");
}
#else
void fit(const ears::MeasuredEars&) {}
#endif

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const bool fits = input.below(32) == 31;
  Record record(&input);
  try {
    const ears::MeasuredEars measured = ears::measured_ears_from(record.hrtf, "set");
    require(
        measured.directions.size() * ears::kNumEars * measured.taps == measured.responses.size(),
        "every direction has both responses");
    require(measured.arrivals_s.size() == measured.directions.size(), "and both arrivals");
    if (fits) fit(measured);
  } catch (const render::Failure&) {
    // What the user is told.
  }
  return 0;
}
