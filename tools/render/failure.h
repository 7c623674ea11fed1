// SPDX-License-Identifier: Apache-2.0
// The exceptions of the host tools.
#ifndef ORVANE_TOOLS_RENDER_FAILURE_H_
#define ORVANE_TOOLS_RENDER_FAILURE_H_

#include <cstring>
#include <stdexcept>
#include <string>

namespace render {

// Something about a file or the library that the user can act on. Caught in main, printed as
// `PROGRAM: SUBJECT: reason`, exit status 1.
class Failure : public std::runtime_error {
 public:
  // `subject` is what failed, in most cases a file name; `reason` has no closing full stop.
  Failure(const std::string& subject, const std::string& reason)
      : std::runtime_error(subject + ": " + reason) {}

  // With the system's text for `error_number` as the reason.
  Failure(const std::string& subject, int error_number)
      : Failure(subject, std::string(std::strerror(error_number))) {}
};

// A text that means nothing here. Whoever knows where the text stands catches it and says so: a
// Failure for a file, a wrong command line for an option.
class BadText : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_FAILURE_H_
