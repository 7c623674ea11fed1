// The whole job of orvane-render: one bed in, one file for headphones out.
#ifndef ORVANE_TOOLS_RENDER_RENDER_H_
#define ORVANE_TOOLS_RENDER_RENDER_H_

#include <functional>
#include <memory>

#include "tools/render/bed.h"
#include "tools/render/options.h"
#include "tools/render/report.h"

namespace render {

// A bed from its start; called once for every passage through the effect.
using OpenBed = std::function<std::unique_ptr<Bed>()>;

// Renders a bed to options.output, in memory that does not grow with it. The report says nothing of
// an input file. Throws Failure or Interrupted, and then leaves no output.
Report render_bed(const Options& options, const OpenBed& open);

// As render_bed, for the file options.input.
Report render_file(const Options& options);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_RENDER_H_
