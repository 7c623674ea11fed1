// What a reverberation tail is like.
#ifndef ORVANE_TOOLS_VALIDATE_REVERB_MEASURE_H_
#define ORVANE_TOOLS_VALIDATE_REVERB_MEASURE_H_

#include <cstddef>
#include <vector>

namespace validate {

// The octave around `centre_hz`, through three second-order band-passes (constant peak gain, from
// R. Bristow-Johnson, "Cookbook formulae for audio equalizer biquad filter coefficients").
std::vector<float> octave_band(const std::vector<float>& signal, double centre_hz);

// One response whose energy at every sample is that of all together. They have equal lengths.
std::vector<float> energy_sum(const std::vector<std::vector<float>>& responses);

// Seconds that a tail of decay time T and level L takes to fall by 60 dB: its envelope goes from L
// to 0.001 in T seconds.
double expected_reverberation_s(double decay_s, double level);

// Samples above `threshold` per second from `start` to `end`.
double pulses_per_second(const std::vector<float>& tail, size_t start, size_t end,
                         double threshold);

// Of two ears: level left over right, and the correlation coefficient.
double balance_db(const std::vector<float>& left, const std::vector<float>& right);
double correlation(const std::vector<float>& left, const std::vector<float>& right);

}  // namespace validate

#endif  // ORVANE_TOOLS_VALIDATE_REVERB_MEASURE_H_
