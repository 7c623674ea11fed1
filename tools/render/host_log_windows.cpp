// SPDX-License-Identifier: Apache-2.0
// A program cannot take the place of a library's function here. The library writes its warnings and
// errors to standard error by itself, so that there is nothing to show and nothing to remember.
#include "tools/render/host_log.h"

namespace render {

void host_log_set_verbose(bool /*verbose*/) {}

std::string host_log_take_error() { return {}; }

}  // namespace render
