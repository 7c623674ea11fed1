// SPDX-License-Identifier: Apache-2.0
// The whole job of orvane-render: one bed in, one file for headphones out.
#ifndef ORVANE_TOOLS_RENDER_RENDER_H_
#define ORVANE_TOOLS_RENDER_RENDER_H_

#include "tools/render/audio_output.h"
#include "tools/render/bed.h"
#include "tools/render/options.h"
#include "tools/render/report.h"

namespace render {

// Renders a bed to options.output, in memory that does not grow with it. The report says nothing of
// an input file. Throws Failure or Interrupted, and then leaves no output.
Report render_bed(const Options& options, Bed& bed, const OutputSource& source = {});

// As render_bed, for the file options.input. Notes and warnings go to standard error.
Report render_file(const Options& options);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_RENDER_H_
