// SPDX-License-Identifier: Apache-2.0
#include "tools/render/byte_source.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "tools/render/failure.h"
#include "tools/render/files.h"
#include "tools/render/interrupt.h"

namespace render {

ByteSource::ByteSource(std::string name, int fd) : name_(std::move(name)), fd_(fd) {}

ByteSource::~ByteSource() { close(fd_); }

size_t ByteSource::wait_and_read(char* data, size_t size) {
  while (!stop_) {
    interrupt_check();
    if (!file_wait_readable(fd_, kInterruptLookMs)) continue;
    const int64_t count = file_read(fd_, data, size);
    if (count >= 0) return static_cast<size_t>(count);
    if (errno != EINTR && errno != EAGAIN) throw Failure(name_, errno);
  }
  return 0;
}

std::string_view ByteSource::peek(size_t size) {
  ahead_.erase(0, ahead_begin_);
  ahead_begin_ = 0;
  size_t have = ahead_.size();
  if (have < size) ahead_.resize(size);
  while (have < size) {
    const size_t count = wait_and_read(ahead_.data() + have, size - have);
    if (count == 0) break;
    have += count;
  }
  ahead_.resize(have);
  return std::string_view(ahead_).substr(0, size);
}

size_t ByteSource::read_some(void* data, size_t size) {
  const size_t ready = std::min(size, ahead_.size() - ahead_begin_);
  if (ready == 0) return wait_and_read(static_cast<char*>(data), size);
  std::memcpy(data, ahead_.data() + ahead_begin_, ready);
  ahead_begin_ += ready;
  return ready;
}

size_t ByteSource::read(void* data, size_t size) {
  size_t done = 0;
  while (done < size) {
    const size_t count = read_some(static_cast<char*>(data) + done, size - done);
    if (count == 0) break;
    done += count;
  }
  return done;
}

}  // namespace render
