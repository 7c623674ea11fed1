// SPDX-License-Identifier: Apache-2.0
// What the library logs. The test program has the log functions itself, in front of the system's or
// of the library's own (-Wl,--wrap); messages go nowhere while no LogCapture lives.
#ifndef ORVANE_TESTS_SUPPORT_LOG_CAPTURE_H_
#define ORVANE_TESTS_SUPPORT_LOG_CAPTURE_H_

#include <string>
#include <vector>

// Collects the messages of all threads while it lives; one at a time. A line reads "E text", with
// I, W or E for the priority; a security event reads "S 0x<tag> <sub-tag>".
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  std::vector<std::string> lines() const;

  // The lines but those of priority I.
  std::vector<std::string> problems() const;

  // Whether a line reads exactly so.
  bool has(const std::string& line) const;
};

#endif  // ORVANE_TESTS_SUPPORT_LOG_CAPTURE_H_
