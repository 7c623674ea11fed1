// The one exception of the host tools: something about a file or the library that the user can act
// on. Caught in main, printed as `PROGRAM: SUBJECT: reason`, exit status 1.
#ifndef ORVANE_TOOLS_RENDER_FAILURE_H_
#define ORVANE_TOOLS_RENDER_FAILURE_H_

#include <cstring>
#include <stdexcept>
#include <string>

namespace render {

class Failure : public std::runtime_error {
 public:
  // `subject` is what failed, in most cases a file name; `reason` has no closing full stop.
  Failure(const std::string& subject, const std::string& reason)
      : std::runtime_error(subject + ": " + reason) {}

  // With the system's text for `error_number` as the reason.
  Failure(const std::string& subject, int error_number)
      : Failure(subject, std::string(std::strerror(error_number))) {}
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_FAILURE_H_
