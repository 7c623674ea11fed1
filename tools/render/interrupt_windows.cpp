// SPDX-License-Identifier: Apache-2.0
#include <windows.h>

#include <atomic>
#include <csignal>
#include <cstdlib>

#include "tools/render/interrupt.h"

namespace render {
namespace {

constexpr int kClosedPipe = 0;                  // no signal: it ends the program with status 1
constexpr unsigned kControlCExit = 0xC000013A;  // the system's status of a program ended by Ctrl-C

std::atomic<int> g_signal = 0;  // a thread of the system's writes it, several look at it

BOOL WINAPI remember(DWORD event) {
  g_signal = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT ? SIGINT : SIGTERM;
  if (g_signal == SIGTERM) Sleep(INFINITE);  // of a closed window: the end comes when this returns
  return TRUE;
}

}  // namespace

void interrupt_install() { SetConsoleCtrlHandler(remember, TRUE); }

void interrupt_check() {
  if (g_signal != 0) throw Interrupted{g_signal};
}

void interrupt_closed_pipe() { throw Interrupted{kClosedPipe}; }

void interrupt_die(int signal) {
  std::exit(signal == kClosedPipe ? 1 : static_cast<int>(kControlCExit));
}

}  // namespace render
