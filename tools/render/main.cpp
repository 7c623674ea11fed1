// SPDX-License-Identifier: Apache-2.0
// orvane-render: renders a loudspeaker bed for headphones, and tells about beds. See options.cpp
// for its command line.
#include <cstdio>
#include <exception>
#include <iostream>

#include "tools/render/failure.h"
#include "tools/render/host_log.h"
#include "tools/render/identify.h"
#include "tools/render/info.h"
#include "tools/render/interrupt.h"
#include "tools/render/options.h"
#include "tools/render/program_start.h"
#include "tools/render/render.h"
#include "tools/render/subprocess.h"

int main(int argc, char** argv) {
  try {
    render::program_start(&argc, &argv);
    int exit_status = 0;
    const std::optional<render::Options> options = render::options_parse(argc, argv, &exit_status);
    if (!options) return exit_status;
    render::host_log_set_verbose(options->verbose);
    render::subprocess_set_verbose(options->verbose);
    render::interrupt_install();
    switch (options->job) {
      case render::Job::kRender:
        render::report_print(options->output == "-" ? std::cerr : std::cout,
                             render::render_file(*options));
        return 0;
      case render::Job::kIdentify:
        render::identify_run(std::cout, *options);
        return 0;
      case render::Job::kInfo:
        return render::info_run(std::cout, *options) ? 0 : 1;
    }
  } catch (const render::Interrupted& interrupted) {
    render::interrupt_die(interrupted.signal);
  } catch (const std::exception& failure) {  // Failure, or the memory has run out
    std::fprintf(stderr, "orvane-render: %s\n", failure.what());
  }
  return 1;
}
