// How the sound of a room dies away.
#ifndef ORVANE_TOOLS_MEASURE_DECAY_H_
#define ORVANE_TOOLS_MEASURE_DECAY_H_

#include <cstddef>
#include <vector>

#include "tools/measure/curve.h"

namespace measure {

// The energy that is still to come in the impulse response of one ear, relative to all of it, as
// points of (seconds, decibels) every `step` frames (backward integration: M. R. Schroeder, "New
// Method of Measuring Reverberation Time", J. Acoust. Soc. Am. 37, 1965). Ends where nothing is
// left.
Curve decay_curve(const std::vector<float>& response, size_t step, int rate_hz);

// Seconds to -60 dB at the speed of the fall from 5 to 25 dB below the curve's value at `from_s`,
// after which the reverberation is alone; 0 where the curve does not reach that far.
double decay_time_s(const Curve& curve, double from_s);

}  // namespace measure

#endif  // ORVANE_TOOLS_MEASURE_DECAY_H_
