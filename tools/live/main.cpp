// SPDX-License-Identifier: Apache-2.0
// orvane-live: renders a loudspeaker bed for headphones while it plays. See options.cpp for its
// command line.
#include <cstdio>
#include <exception>

#include "tools/live/jack_client.h"
#include "tools/live/live.h"
#include "tools/live/options.h"
#include "tools/render/host_log.h"
#include "tools/render/interrupt.h"

int main(int argc, char** argv) {
  try {
    int exit_status = 0;
    const std::optional<live::Options> options = live::options_parse(argc, argv, &exit_status);
    if (!options) return exit_status;
    render::host_log_set_verbose(options->verbose);
    live::jack_messages_set_verbose(options->verbose);
    render::interrupt_install();
    live::live_run(*options);
    return 0;
  } catch (const std::exception& failure) {  // Failure, or the memory has run out
    std::fprintf(stderr, "orvane-live: %s\n", failure.what());
  }
  return 1;
}
