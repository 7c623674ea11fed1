// SPDX-License-Identifier: Apache-2.0
#include "tools/render/spool.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "tools/render/failure.h"

namespace render {
namespace {

// Not /tmp, which may be in memory.
std::string folder_of(const std::string& path) {
  if (path != "-") {
    const std::filesystem::path parent = std::filesystem::path(path).parent_path();
    return parent.empty() ? "." : parent.string();
  }
  const char* folder = std::getenv("TMPDIR");
  return folder && *folder ? folder : "/var/tmp";
}

int open_nameless(const std::string& folder) {
  const int fd = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (fd >= 0) return fd;
  std::string name = folder + "/.orvane-render.XXXXXX";  // for file systems without the above
  const int named = mkostemp(name.data(), O_CLOEXEC);
  if (named < 0) throw Failure(folder, errno);
  unlink(name.c_str());
  return named;
}

}  // namespace

Spool::Spool(const std::string& path) : path_(path), fd_(open_nameless(folder_of(path))) {}

Spool::~Spool() { close(fd_); }

void Spool::write(const float* samples, size_t count) {
  const char* bytes = reinterpret_cast<const char*>(samples);
  size_t left = count * sizeof(float);
  while (left > 0) {
    const ssize_t done = ::write(fd_, bytes, left);
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
    const ssize_t part = pread(fd_, bytes + done, size - done, read_at_);
    if (part < 0 && errno == EINTR) continue;
    if (part < 0) throw Failure(path_, errno);
    if (part == 0) break;
    done += static_cast<size_t>(part);
    read_at_ += part;
  }
  return done / sizeof(float);
}

}  // namespace render
