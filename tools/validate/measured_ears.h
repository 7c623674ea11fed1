// The measured ears that the library's impulse responses are made from, around the horizon.
#ifndef ORVANE_TOOLS_VALIDATE_MEASURED_EARS_H_
#define ORVANE_TOOLS_VALIDATE_MEASURED_EARS_H_

#include <cstddef>

#include "tools/validate/power_spectrum.h"

namespace validate {

constexpr size_t kMeasuredAzimuths = 37;  // every 5 degrees from ahead over the left to behind

struct MeasuredEars {
  float azimuth_deg;
  float time_us;              // as measure::EarDifference has it
  float level_db[kErbBands];  // per band of erb_powers, left minus right
};

extern const MeasuredEars kMeasuredEars[kMeasuredAzimuths];

}  // namespace validate

#endif  // ORVANE_TOOLS_VALIDATE_MEASURED_EARS_H_
