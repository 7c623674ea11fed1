// The whole job of orvane-render: one file in, one file out.
#ifndef ORVANE_TOOLS_RENDER_RENDER_H_
#define ORVANE_TOOLS_RENDER_RENDER_H_

#include "tools/render/options.h"
#include "tools/render/report.h"

namespace render {

// Renders options.input to options.output, in memory that does not grow with the file. Throws
// Failure or Interrupted, and then leaves no output.
Report render_file(const Options& options);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_RENDER_H_
