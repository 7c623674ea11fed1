// SPDX-License-Identifier: Apache-2.0
#include "tools/live/recentring.h"

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <optional>

#include "tools/live/steady_clock.h"

namespace live {
namespace {

constexpr int kPollMs = 20;
constexpr char kKey = 'c';

std::atomic<bool> g_asked = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

// A terminal that hands over every key at once; it is put back in the end.
class Keys {
 public:
  Keys() {
    if (!isatty(STDIN_FILENO) || tcgetpgrp(STDIN_FILENO) != getpgrp()) return;
    termios settings = {};
    if (tcgetattr(STDIN_FILENO, &settings) != 0) return;
    before_ = settings;
    settings.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);  // Ctrl-C stays a signal
    settings.c_cc[VMIN] = 0;
    settings.c_cc[VTIME] = 0;
    tcsetattr(STDIN_FILENO, TCSANOW, &settings);
  }
  ~Keys() {
    if (before_) tcsetattr(STDIN_FILENO, TCSANOW, &*before_);
  }
  Keys(const Keys&) = delete;
  Keys& operator=(const Keys&) = delete;

  // Waits a little. Whether the key was pressed.
  bool take() {
    pollfd input = {before_ ? STDIN_FILENO : -1, POLLIN, 0};
    char key = 0;
    return poll(&input, 1, kPollMs) > 0 && read(STDIN_FILENO, &key, 1) == 1 && key == kKey;
  }

 private:
  std::optional<termios> before_;
};

}  // namespace

Recentring::Recentring(HeadInput* input) : input_(input) {
  g_asked = false;
  std::signal(SIGUSR1, [](int) { g_asked = true; });
  thread_ = std::thread([this] { watch(); });
}

Recentring::~Recentring() {
  stop_ = true;
  thread_.join();
  std::signal(SIGUSR1, SIG_IGN);  // one that is still on its way does not end the program
}

void Recentring::watch() {
  Keys keys;
  while (!stop_) {
    const bool is_pressed = keys.take();
    input_->settle(steady_seconds());
    if (g_asked.exchange(false) || is_pressed) input_->recentre();
  }
}

}  // namespace live
