// SPDX-License-Identifier: Apache-2.0
// In the place of measured_ears.cpp where there is no libmysofa.
#include "tools/ears/measured_ears.h"
#include "tools/render/failure.h"

namespace ears {

MeasuredEars measured_ears_read(const std::string& path) {
  throw render::Failure(path, "this program was built without libmysofa, which reads SOFA files");
}

}  // namespace ears
