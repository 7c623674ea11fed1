// Where a rendering of the demo's programme puts its voices.
#ifndef ORVANE_TOOLS_DEMO_HEARING_H_
#define ORVANE_TOOLS_DEMO_HEARING_H_

#include <optional>
#include <string>
#include <vector>

#include "tools/demo/voices.h"
#include "tools/measure/ear_measure.h"

namespace demo {

struct HeardVoice {
  std::string name;
  double azimuth_deg;  // of its loudspeaker from the head, positive to the left
  measure::EarDifference ears;
};

// Measures the rendering `path` for a head turned by `yaw_deg` to the left, or, where that is
// unset, for one that faces each voice. Throws render::Failure.
std::vector<HeardVoice> hearing_measure(const std::vector<Voice>& voices, const std::string& path,
                                        std::optional<double> yaw_deg);

// Prints a line per voice; returns whether all are heard where they are.
bool hearing_check(const std::vector<HeardVoice>& heard);

// Interleaved stereo at kRateHz: the whole file, or `frames` of it. Throws render::Failure.
std::vector<float> hearing_read(const std::string& path, std::optional<size_t> frames);

}  // namespace demo

#endif  // ORVANE_TOOLS_DEMO_HEARING_H_
