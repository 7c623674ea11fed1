// What tells a listener left from right: differences in level and time between the ears.
#ifndef ORVANE_TOOLS_MEASURE_EAR_MEASURE_H_
#define ORVANE_TOOLS_MEASURE_EAR_MEASURE_H_

#include <cstddef>

namespace measure {

struct EarDifference {
  double level_db;  // energy, left minus right
  double time_us;   // positive: the left ear hears it first
};

// Measures interleaved stereo at `rate_hz`. The time is where the cross-correlation of the ears
// peaks within a millisecond, below 1.5 kHz, where the phase of the ears is what is heard; the peak
// is interpolated between samples. Level and time mean nothing for silence.
EarDifference ear_difference_measure(const float* ears, size_t frames, int rate_hz);

}  // namespace measure

#endif  // ORVANE_TOOLS_MEASURE_EAR_MEASURE_H_
