// SPDX-License-Identifier: Apache-2.0
// The spectra of a measured head, made ready for the fit.
#ifndef ORVANE_TOOLS_EARS_HEAD_SET_H_
#define ORVANE_TOOLS_EARS_HEAD_SET_H_

#include <cstddef>
#include <span>
#include <vector>

#include "tools/ears/frequency_grid.h"
#include "tools/ears/measured_ears.h"

namespace ears {

// Spectra of both ears in many directions.
struct HeadSet {
  std::vector<Direction> directions;
  std::vector<double> weights;  // quadrature weights, sum 1
  size_t num_measured = 0;      // the first so many directions are measured, others are filled in
  std::vector<Complex> spectra[kNumEars];  // [direction][bin]
  double lowest_hz = 0.0;                  // how far down the measurement reaches

  Complex* spectrum(size_t ear, size_t direction) { return &spectra[ear][direction * kBins]; }
  const Complex* spectrum(size_t ear, size_t direction) const {
    return &spectra[ear][direction * kBins];
  }
  // Power averaged over all directions, per bin: of one ear, and of both.
  std::vector<double> diffuse_power(size_t ear) const;
  std::vector<double> diffuse_power() const;
};

// The steps of tools/tables/hrir from the measured responses to the fit, for two ears: delays,
// level and group delay that all directions have in common are taken out, for both ears alike, so
// that what the ears have between them stays; below 200 Hz, or where the set ends, levels run to 0
// dB; and the part of the sphere without measurements is filled in smoothly.
HeadSet head_set_make(const MeasuredEars& measured);

}  // namespace ears

#endif  // ORVANE_TOOLS_EARS_HEAD_SET_H_
