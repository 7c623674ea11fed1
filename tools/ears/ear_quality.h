// SPDX-License-Identifier: Apache-2.0
// How far tables are from the head that they were fitted to, in hearing's terms.
#ifndef ORVANE_TOOLS_EARS_EAR_QUALITY_H_
#define ORVANE_TOOLS_EARS_EAR_QUALITY_H_

#include "tools/ears/ear_fit.h"
#include "tools/ears/head_set.h"

namespace ears {

// Mean errors over the measured directions, against the equalised measurement.
struct EarQuality {
  double level_db = 0.0;       // of both ears in ERB bands from 100 Hz to 16 kHz
  double high_level_db = 0.0;  // the same from 2 kHz on
  double ild_db = 0.0;         // level difference of the ears in bands from 1.5 kHz on
  double itd_us = 0.0;  // time difference of the ears below 1.5 kHz, up to 30 degrees of elevation
};

EarQuality ear_quality_measure(const HeadSet& set, const EarTables& tables);

}  // namespace ears

#endif  // ORVANE_TOOLS_EARS_EAR_QUALITY_H_
