// SPDX-License-Identifier: Apache-2.0
// Response tables for the renderer, fitted to a measured head.
#ifndef ORVANE_TOOLS_EARS_EAR_FIT_H_
#define ORVANE_TOOLS_EARS_EAR_FIT_H_

#include <cstddef>
#include <vector>

#include "ambisonics/binauralizer.h"
#include "tools/ears/head_set.h"

namespace ears {

constexpr size_t kTableTaps = BINAURALIZER_TAPS;
constexpr size_t kTableChannels = BINAURALIZER_RESPONSE_CHANNELS;
constexpr size_t kTableSize = kTableTaps * kTableChannels;

// As ubr_set_responses takes them: kTableTaps rows of kTableChannels for each ear.
struct EarTables {
  std::vector<float> ears[kNumEars];
};

// Least squares below 1.75 kHz, above it of magnitudes alone (MagLS: Schoerkhuber, Zaunschirm and
// Hoeldrich, "Binaural rendering of Ambisonic signals via magnitude least squares", DAGA 2018),
// each ear by itself: the fit that the built-in table's refinement starts from.
EarTables ear_tables_fit(const HeadSet& set);

// Spectra of a table's channels, [channel][bin], at the level, polarity and delay of a HeadSet's.
std::vector<Complex> ear_table_spectra(const std::vector<float>& table);

}  // namespace ears

#endif  // ORVANE_TOOLS_EARS_EAR_FIT_H_
