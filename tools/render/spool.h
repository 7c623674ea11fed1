// SPDX-License-Identifier: Apache-2.0
// Sound on disk between two looks at it: a file without a name, gone when the program is.
#ifndef ORVANE_TOOLS_RENDER_SPOOL_H_
#define ORVANE_TOOLS_RENDER_SPOOL_H_

#include <cstddef>
#include <cstdint>
#include <string>

namespace render {

class Spool {
 public:
  // In the folder of `path`, or for "-" where temporary files go. Throws Failure.
  explicit Spool(const std::string& path);
  ~Spool();
  Spool(const Spool&) = delete;
  Spool& operator=(const Spool&) = delete;

  // Appends samples. Throws Failure.
  void write(const float* samples, size_t count);

  // From the first sample on: fewer than `count` only at the end. Throws Failure.
  size_t read(float* samples, size_t count);

 private:
  std::string path_;
  int fd_;
  uint64_t read_at_ = 0;  // bytes
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_SPOOL_H_
