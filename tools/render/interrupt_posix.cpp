// SPDX-License-Identifier: Apache-2.0
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <initializer_list>

#include "tools/render/interrupt.h"

namespace render {
namespace {

std::atomic<int> g_signal = 0;  // a handler writes it, several threads look at it
static_assert(std::atomic<int>::is_always_lock_free);

void remember(int signal) { g_signal = signal; }

}  // namespace

void interrupt_install() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    // A parent that has it ignored, as nohup does for SIGHUP, wants it ignored.
    if (std::signal(signal, remember) == SIG_IGN) std::signal(signal, SIG_IGN);
  }
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGPIPE, SIG_IGN);
}

void interrupt_check() {
  if (g_signal != 0) throw Interrupted{g_signal};
}

void interrupt_closed_pipe() { throw Interrupted{SIGPIPE}; }

void interrupt_die(int signal) {
  std::signal(signal, SIG_DFL);
  std::raise(signal);
  std::abort();  // not reached: all of them end a process by default
}

}  // namespace render
