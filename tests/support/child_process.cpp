// SPDX-License-Identifier: Apache-2.0
#include "tests/support/child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>
#include <utility>

bool wait_until(const std::function<bool()>& done) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!done()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

ChildProcess::ChildProcess(const std::string& command, const std::string& out,
                           const std::string& errors)
    : pid_(fork()) {
  if (pid_ != 0) return;
  for (const auto& [path, fd] : {std::pair(out, 1), std::pair(errors, 2)}) {
    dup2(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), fd);
  }
  execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
  _exit(127);
}

ChildProcess::~ChildProcess() {
  if (!running()) return;
  kill(pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
}

void ChildProcess::send(int signal) const { kill(pid_, signal); }

void ChildProcess::terminate() const { kill(pid_, SIGTERM); }

bool ChildProcess::running() {
  if (!ended_) ended_ = waitpid(pid_, &status_, WNOHANG) == pid_;
  return !ended_;
}

int ChildProcess::wait() {
  if (!wait_until([this] { return !running(); }) || !WIFEXITED(status_)) return -1;
  return WEXITSTATUS(status_);
}
