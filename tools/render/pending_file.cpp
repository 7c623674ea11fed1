// SPDX-License-Identifier: Apache-2.0
#include "tools/render/pending_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "tools/render/failure.h"

namespace render {
namespace {

std::string temporary_name(const std::string& path) {
  return (std::filesystem::path(path).parent_path() / ".orvane-render.XXXXXX").string();
}

// A rename would replace whatever bears the name, a device too.
void check_target(const std::string& path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) {
    if (errno != ENOENT) throw Failure(path, errno);
  } else if (!S_ISREG(status.st_mode)) {
    throw Failure(path, "exists and is not a regular file");
  }
}

// Where a write to `path` would go.
std::string follow_links(const std::string& path) {
  constexpr int kMostLinks = 40;  // as the system follows
  std::filesystem::path target = path;
  std::error_code error;
  for (int i = 0; i < kMostLinks && std::filesystem::is_symlink(target, error); ++i) {
    const std::filesystem::path link = std::filesystem::read_symlink(target, error);
    target = link.is_absolute() ? link : target.parent_path() / link;
  }
  return target;
}

mode_t new_file_mode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

PendingFile::PendingFile(const std::string& path) : path_(path), target_(follow_links(path)) {
  check_target(path);
  std::string name = temporary_name(target_);
  fd_ = mkostemp(name.data(), O_CLOEXEC);
  if (fd_ < 0) throw Failure(path, errno);
  temporary_path_ = name;
}

PendingFile::~PendingFile() {
  if (fd_ >= 0) close(fd_);
  if (!temporary_path_.empty()) unlink(temporary_path_.c_str());
}

int64_t PendingFile::read(void* data, int64_t size) {
  return ::read(fd_, data, static_cast<size_t>(size));
}

int64_t PendingFile::write(const void* data, int64_t size) {
  const char* bytes = static_cast<const char*>(data);
  int64_t written = 0;
  while (written < size) {
    const ssize_t done = ::write(fd_, bytes + written, static_cast<size_t>(size - written));
    if (done < 0 && errno == EINTR) continue;
    if (done <= 0) {
      if (write_error_ == 0) write_error_ = done < 0 ? errno : EIO;
      break;
    }
    written += done;
  }
  return written;
}

int64_t PendingFile::seek(int64_t offset, int whence) { return lseek(fd_, offset, whence); }

void PendingFile::check_written() const {
  if (write_error_ != 0) throw Failure(path_, write_error_);
}

void PendingFile::commit() {
  check_written();
  if (fchmod(fd_, new_file_mode()) != 0) throw Failure(path_, errno);
  const int fd = fd_;
  fd_ = -1;
  if (close(fd) != 0) throw Failure(path_, errno);  // network file systems report a full disk here
  if (std::rename(temporary_path_.c_str(), target_.c_str()) != 0) throw Failure(path_, errno);
  temporary_path_.clear();
}

}  // namespace render
