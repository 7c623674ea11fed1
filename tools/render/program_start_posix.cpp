// SPDX-License-Identifier: Apache-2.0
#include "tools/render/program_start.h"

namespace render {

void program_start(int* /*argc*/, char*** /*argv*/) {}  // so it is from the beginning

}  // namespace render
