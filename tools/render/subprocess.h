// SPDX-License-Identifier: Apache-2.0
// Another program as a child of this one, with pipes to it. No shell is in between.
#ifndef ORVANE_TOOLS_RENDER_SUBPROCESS_H_
#define ORVANE_TOOLS_RENDER_SUBPROCESS_H_

#include <sys/types.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace render {

class Subprocess {
 public:
  enum Pipes : unsigned { kNone = 0, kInput = 1, kOutput = 2 };

  // Starts `command`, whose first word is looked up in the PATH. Its standard input is a pipe with
  // kInput, else `input`, or nothing where that is negative; its output is a pipe with kOutput,
  // else nothing. Signals of the terminal do not reach it; it dies when this object or the thread
  // that made it does, on Windows with the program. Throws Failure where the program cannot be
  // started.
  Subprocess(const std::vector<std::string>& command, unsigned pipes, int input = -1);
  ~Subprocess();
  Subprocess(const Subprocess&) = delete;
  Subprocess& operator=(const Subprocess&) = delete;

  // Its process id, while it has not been waited for.
  pid_t pid() const;

  // Bytes of its output; fewer than `size` only at its end. Throws Interrupted.
  size_t read(void* data, size_t size);

  // False when the child takes no more. Throws Interrupted.
  bool write(const void* data, size_t size);

  // The end of its input.
  void close_input();

  // Waits for its end. The exit status, or 128 and the signal that ended it. Throws Interrupted.
  int wait();

  // Ends it at once; its pipes come to their end. All else works as after any other end.
  void kill();

  // What it has written to its standard error: the lines, trimmed.
  std::vector<std::string> errors() const;

 private:
  struct Child;  // the system's own: subprocess_posix.cpp or subprocess_windows.cpp

  static constexpr size_t kMostErrors = size_t{1} << 16;  // bytes that are looked at

  std::string error_text() const;

  std::unique_ptr<Child> child_;
};

// For --verbose: the command as a shell would take it.
std::string command_text(const std::vector<std::string>& command);

// Shows every command that is started on standard error from now on.
void subprocess_set_verbose(bool verbose);

// Shows a command that is to be started, if that is wanted.
void subprocess_show(const std::vector<std::string>& command);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_SUBPROCESS_H_
