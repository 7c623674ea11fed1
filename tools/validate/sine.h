// Sines, and what is left of them when they are taken out.
#ifndef ORVANE_TOOLS_VALIDATE_SINE_H_
#define ORVANE_TOOLS_VALIDATE_SINE_H_

#include <cstddef>
#include <vector>

#include "tools/measure/curve.h"

namespace validate {

std::vector<float> sine(double hz, double amplitude, size_t frames);

// Level of all that is not a sine of this frequency in the last `frames` samples, against that sine
// (least squares), in dB: distortion and noise.
double residue_db(const std::vector<float>& signal, double hz, size_t frames);

// Energy further than `beside_hz` from a sine against all energy, in dB, over the last `frames`
// samples, a power of two.
double splatter_db(const std::vector<float>& signal, double hz, double beside_hz, size_t frames);

// Spectrum of the last `frames` samples, a power of two, against its peak, for a chart: the highest
// level per `step_octaves`.
measure::Curve sine_curve(const std::vector<float>& signal, size_t frames, double step_octaves);

}  // namespace validate

#endif  // ORVANE_TOOLS_VALIDATE_SINE_H_
