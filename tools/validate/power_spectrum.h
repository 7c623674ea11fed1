// Spectra of what the ears hear.
#ifndef ORVANE_TOOLS_VALIDATE_POWER_SPECTRUM_H_
#define ORVANE_TOOLS_VALIDATE_POWER_SPECTRUM_H_

#include <array>
#include <cstddef>
#include <vector>

namespace validate {

// Power per bin, from 0 Hz to half the rate: signal.size() / 2 + 1 of them. The length has to be a
// power of two.
std::vector<double> power_spectrum(const std::vector<double>& signal);

// The same of the last `size` samples under a window (four-term Blackman-Harris: F. J. Harris, "On
// the use of windows for harmonic analysis with the discrete Fourier transform", Proc. IEEE 66,
// 1978), as (Hz, dB) relative to the strongest bin.
struct SpectrumPoint {
  double hz, db;
};
std::vector<SpectrumPoint> sine_spectrum(const std::vector<float>& signal, size_t size);

constexpr size_t kErbBands = 37;  // one ERB apart, from 100 Hz to 16 kHz
using ErbLevels = std::array<double, kErbBands>;

const ErbLevels& erb_centres_hz();

// Power of an impulse response per band, as tools/tables/hrir/quality.py has them (B. R.
// Glasberg and B. C. J. Moore, "Derivation of auditory filter shapes from notched-noise data",
// Hearing Research 47, 1990; the skirts are those of a fourth-order gammatone filter).
ErbLevels erb_powers(const std::vector<float>& response);

// -240 for silence.
double power_db(double power);

}  // namespace validate

#endif  // ORVANE_TOOLS_VALIDATE_POWER_SPECTRUM_H_
