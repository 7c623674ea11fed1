// The checks of the report, one per section. Each drives the library under test and adds figures
// and pictures to a section of its own. They throw render::Failure where the library refuses
// something.
#ifndef ORVANE_TOOLS_VALIDATE_CHECKS_H_
#define ORVANE_TOOLS_VALIDATE_CHECKS_H_

#include "tools/validate/library.h"
#include "tools/validate/section.h"

namespace validate {

Section rotation_check(const Library& library);
Section consistency_check(const Library& library);
Section ears_check(const Library& library);
Section loudspeakers_check(const Library& library);
Section latency_check(const Library& library);
Section reverb_check(const Library& library);
Section reflections_check(const Library& library);
Section sine_check(const Library& library);
Section turns_check(const Library& library);
Section blocks_check(const Library& library);

}  // namespace validate

#endif  // ORVANE_TOOLS_VALIDATE_CHECKS_H_
