// SPDX-License-Identifier: Apache-2.0
#include "tools/render/spool.h"

#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "tools/render/failure.h"
#include "tools/render/files.h"

namespace render {
namespace {

std::string folder_of(const std::string& path) {
  if (path == "-") return file_temporary_folder();
  const std::filesystem::path parent = file_path(path).parent_path();
  return parent.empty() ? "." : parent.string();
}

int open_nameless(const std::string& folder) {
  const int fd = file_open_nameless(folder);
  if (fd < 0) throw Failure(folder, errno);
  return fd;
}

}  // namespace

Spool::Spool(const std::string& path) : path_(path), fd_(open_nameless(folder_of(path))) {}

Spool::~Spool() { close(fd_); }

void Spool::write(const float* samples, size_t count) {
  const char* bytes = reinterpret_cast<const char*>(samples);
  size_t left = count * sizeof(float);
  while (left > 0) {
    const int64_t done = file_write(fd_, bytes, left);
    if (done < 0 && errno == EINTR) continue;
    if (done <= 0) throw Failure(path_, done < 0 ? errno : EIO);
    bytes += done;
    left -= static_cast<size_t>(done);
  }
}

size_t Spool::read(float* samples, size_t count) {
  char* bytes = reinterpret_cast<char*>(samples);
  const size_t size = count * sizeof(float);
  size_t done = 0;
  while (done < size) {
    const int64_t part = file_read_at(fd_, bytes + done, size - done, read_at_);
    if (part < 0 && errno == EINTR) continue;
    if (part < 0) throw Failure(path_, errno);
    if (part == 0) break;
    done += static_cast<size_t>(part);
    read_at_ += static_cast<uint64_t>(part);
  }
  return done / sizeof(float);
}

}  // namespace render
