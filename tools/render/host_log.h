// SPDX-License-Identifier: Apache-2.0
// The platform log of this program: its definition of the log function takes the place of the
// system's for the effect library that is loaded.
#ifndef ORVANE_TOOLS_RENDER_HOST_LOG_H_
#define ORVANE_TOOLS_RENDER_HOST_LOG_H_

#include <string>

namespace render {

// Prints every line to standard error from now on.
void host_log_set_verbose(bool verbose);

// The last line of error priority, then forgotten; empty if there was none.
std::string host_log_take_error();

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_HOST_LOG_H_
