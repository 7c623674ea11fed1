// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <initializer_list>
#include <thread>

#include "tools/render/failure.h"
#include "tools/render/interrupt.h"
#include "tools/render/subprocess.h"

namespace render {
namespace {

// A descriptor that the child can be given: one of 0 to 2, which are free where this program was
// started without them, would be in the way of another there. Throws Failure.
int beyond_standard(const std::string& program, int fd) {
  if (fd > STDERR_FILENO) return fd;
  const int error = errno;  // of an open that has failed
  const int moved = fd < 0 ? fd : fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (moved < 0) throw Failure(program, fd < 0 ? error : errno);
  close(fd);
  return moved;
}

struct Pipe {
  int read_end = -1, write_end = -1;

  void make(const std::string& program) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw Failure(program, errno);
    read_end = beyond_standard(program, ends[0]);
    write_end = beyond_standard(program, ends[1]);
  }
};

void close_all(std::initializer_list<int> fds) {
  for (const int fd : fds) {
    if (fd >= 0) close(fd);
  }
}

// Between fork and exec: only what may be called there.
[[noreturn]] void become(char* const* argv, int input, int output, int errors, int report,
                         pid_t parent) {
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != parent) _exit(127);  // it died before the line above
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGXFSZ}) ::signal(signal, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  if (input == STDIN_FILENO) fcntl(input, F_SETFD, 0);  // where dup2 does nothing
  dup2(input, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(errors, STDERR_FILENO);
  execvp(argv[0], argv);
  const int error = errno;
  if (write(report, &error, sizeof(error)) < 0) _exit(126);
  _exit(127);
}

// Returns when `fd` is ready or its other end is closed. Throws Interrupted.
void wait_for(int fd, short events) {
  for (;;) {
    interrupt_check();
    pollfd look = {fd, events, 0};
    if (poll(&look, 1, kInterruptLookMs) > 0) return;
  }
}

}  // namespace

struct Subprocess::Child {
  ~Child() {
    kill_and_reap();
    close_all({input, output, errors});
  }

  void kill() const {
    if (pid > 0) ::kill(pid, SIGKILL);
  }

  void kill_and_reap() {
    if (pid <= 0) return;
    kill();
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    pid = -1;
  }

  pid_t pid = -1;  // -1 when it has been waited for
  int status = 0;
  int input = -1, output = -1, errors = -1;
};

Subprocess::Subprocess(const std::vector<std::string>& command, unsigned pipes, int input)
    : child_(std::make_unique<Child>()) {
  subprocess_show(command);
  const std::string& program = command.front();
  std::vector<char*> argv;
  for (const std::string& word : command) argv.push_back(const_cast<char*>(word.c_str()));
  argv.push_back(nullptr);

  Pipe to_child, from_child, report;
  if (pipes & kInput) to_child.make(program);
  if (pipes & kOutput) from_child.make(program);
  report.make(program);
  child_->errors = beyond_standard(program, memfd_create("errors", MFD_CLOEXEC));
  const int nothing = beyond_standard(program, open("/dev/null", O_RDWR | O_CLOEXEC));
  const int child_input = pipes & kInput ? to_child.read_end : input >= 0 ? input : nothing;
  const int child_output = pipes & kOutput ? from_child.write_end : nothing;
  const pid_t parent = getpid();
  child_->pid = fork();
  if (child_->pid == 0) {
    become(argv.data(), child_input, child_output, child_->errors, report.write_end, parent);
  }
  const int fork_error = child_->pid < 0 ? errno : 0;
  close_all({to_child.read_end, from_child.write_end, report.write_end, nothing});
  child_->input = to_child.write_end;
  child_->output = from_child.read_end;
  int error = fork_error;
  if (error == 0 && ::read(report.read_end, &error, sizeof(error)) <= 0) error = 0;
  close(report.read_end);
  if (error == 0) return;
  throw Failure(program, error == ENOENT ? "is not installed" : std::strerror(error));
}

Subprocess::~Subprocess() = default;

pid_t Subprocess::pid() const { return child_->pid; }

void Subprocess::kill() { child_->kill(); }

size_t Subprocess::read(void* data, size_t size) {
  char* bytes = static_cast<char*>(data);
  size_t done = 0;
  while (done < size) {
    wait_for(child_->output, POLLIN);
    const ssize_t count = ::read(child_->output, bytes + done, size - done);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    done += static_cast<size_t>(count);
  }
  return done;
}

bool Subprocess::write(const void* data, size_t size) {
  const char* bytes = static_cast<const char*>(data);
  size_t done = 0;
  while (done < size) {
    if (child_->input < 0) return false;
    wait_for(child_->input, POLLOUT);
    // A pipe that is ready takes this much without waiting.
    const size_t part = std::min<size_t>(size - done, 4096);
    const ssize_t count = ::write(child_->input, bytes + done, part);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    done += static_cast<size_t>(count);
  }
  return true;
}

void Subprocess::close_input() {
  if (child_->input >= 0) close(child_->input);
  child_->input = -1;
}

int Subprocess::wait() {
  while (child_->pid > 0) {
    const pid_t ended = waitpid(child_->pid, &child_->status, WNOHANG);
    if (ended == child_->pid) child_->pid = -1;
    if (child_->pid <= 0) break;
    interrupt_check();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return WIFSIGNALED(child_->status) ? 128 + WTERMSIG(child_->status) : WEXITSTATUS(child_->status);
}

std::string Subprocess::error_text() const {
  std::string text(kMostErrors, '\0');
  const ssize_t size = pread(child_->errors, text.data(), text.size(), 0);
  text.resize(size > 0 ? static_cast<size_t>(size) : 0);
  return text;
}

}  // namespace render
