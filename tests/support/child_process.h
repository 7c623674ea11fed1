// SPDX-License-Identifier: Apache-2.0
// Programs that a test runs beside itself.
#ifndef ORVANE_TESTS_SUPPORT_CHILD_PROCESS_H_
#define ORVANE_TESTS_SUPPORT_CHILD_PROCESS_H_

#include <sys/types.h>

#include <functional>
#include <string>

// Looks again and again; false if `done` is not true within 30 seconds.
bool wait_until(const std::function<bool()>& done);

// A shell command whose standard output and standard error go to two files. Killed, if need be, at
// the end of its object.
class ChildProcess {
 public:
  ChildProcess(const std::string& command, const std::string& out, const std::string& errors);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  void terminate() const;
  void send(int signal) const;
  bool running();

  // Exit status, or -1 for an end by a signal or none within 30 seconds.
  int wait();

 private:
  pid_t pid_;
  int status_ = 0;
  bool ended_ = false;
};

#endif  // ORVANE_TESTS_SUPPORT_CHILD_PROCESS_H_
