// SPDX-License-Identifier: Apache-2.0
// What orvane-render would make of a file.
#ifndef ORVANE_TOOLS_RENDER_INFO_H_
#define ORVANE_TOOLS_RENDER_INFO_H_

#include <ostream>

#include "tools/render/options.h"

namespace render {

// The whole job of `orvane-render info`: prints format, rate, length, channel map, layout and the
// route and peak of every channel of options.input, which is read to its end. Returns whether it
// would be rendered; why not is the last line printed. Throws Failure for a file that is not audio,
// or Interrupted.
bool info_run(std::ostream& out, const Options& options);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_INFO_H_
