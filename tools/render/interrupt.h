// SPDX-License-Identifier: Apache-2.0
// SIGINT, SIGTERM and SIGHUP as a question that the work asks between blocks, so that it can tidy
// up.
#ifndef ORVANE_TOOLS_RENDER_INTERRUPT_H_
#define ORVANE_TOOLS_RENDER_INTERRUPT_H_

namespace render {

constexpr int kInterruptLookMs = 50;  // how often to ask while waiting for something else

// Thrown by interrupt_check; on its way destructors remove unfinished files.
struct Interrupted {
  int signal;
};

// Catches the three signals, and turns a file size limit and a closed pipe into ordinary write
// errors.
void interrupt_install();

// Throws Interrupted once a signal has come.
void interrupt_check();

// Throws Interrupted for a pipe that nobody reads any more, which ends other programs silently.
[[noreturn]] void interrupt_closed_pipe();

// Ends the process as `signal` would have.
[[noreturn]] void interrupt_die(int signal);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_INTERRUPT_H_
