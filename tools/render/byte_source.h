// SPDX-License-Identifier: Apache-2.0
// The bytes of a pipe, with a look ahead.
#ifndef ORVANE_TOOLS_RENDER_BYTE_SOURCE_H_
#define ORVANE_TOOLS_RENDER_BYTE_SOURCE_H_

#include <atomic>
#include <cstddef>
#include <string>
#include <string_view>

namespace render {

class ByteSource {
 public:
  // Takes over `fd`, and `name` for failures.
  ByteSource(std::string name, int fd);
  ~ByteSource();
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;

  // The next bytes, which stay; fewer than `size` only at the end. Throws Failure or Interrupted.
  std::string_view peek(size_t size);

  // Fewer bytes than `size` only at the end. Throws Failure or Interrupted.
  size_t read(void* data, size_t size);

  // As read, but as soon as there are any.
  size_t read_some(void* data, size_t size);

  // From any thread: bytes that are still awaited do not come, here is the end.
  void stop() { stop_ = true; }

 private:
  size_t wait_and_read(char* data, size_t size);

  std::string name_;
  int fd_;
  std::atomic<bool> stop_ = false;
  std::string ahead_;  // peeked at and not yet read
  size_t ahead_begin_ = 0;
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_BYTE_SOURCE_H_
