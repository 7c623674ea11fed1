// SPDX-License-Identifier: Apache-2.0
#include "tools/render/pending_file.h"

#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <utility>

#include "tools/render/failure.h"
#include "tools/render/files.h"

namespace render {
namespace {

std::string temporary_name(const std::string& path) {
  return (file_path(path).parent_path() / ".orvane-render.XXXXXX").string();
}

// A rename would replace whatever bears the name, a device too.
void check_target(const std::string& path) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(file_path(path), error);
  if (status.type() == std::filesystem::file_type::none) throw Failure(path, error.message());
  if (exists(status) && !is_regular_file(status)) {
    throw Failure(path, "exists and is not a regular file");
  }
}

// Where a write to `path` would go.
std::string follow_links(const std::string& path) {
  constexpr int kMostLinks = 40;  // as the system follows
  std::filesystem::path target = file_path(path);
  std::error_code error;
  for (int i = 0; i < kMostLinks && std::filesystem::is_symlink(target, error); ++i) {
    const std::filesystem::path link = std::filesystem::read_symlink(target, error);
    target = link.is_absolute() ? link : target.parent_path() / link;
  }
  return target.string();
}

}  // namespace

PendingFile::PendingFile(const std::string& path) : path_(path), target_(follow_links(path)) {
  check_target(path);
  std::string name = temporary_name(target_);
  fd_ = file_open_new(&name);
  if (fd_ < 0) throw Failure(path, errno);
  temporary_path_ = name;
}

PendingFile::~PendingFile() {
  if (fd_ >= 0) close(fd_);
  if (!temporary_path_.empty()) file_remove(temporary_path_);
}

int64_t PendingFile::read(void* data, int64_t size) {
  return file_read(fd_, data, static_cast<size_t>(size));
}

int64_t PendingFile::write(const void* data, int64_t size) {
  const char* bytes = static_cast<const char*>(data);
  int64_t written = 0;
  while (written < size) {
    const int64_t done = file_write(fd_, bytes + written, static_cast<size_t>(size - written));
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
  const int error = file_publish(std::exchange(fd_, -1), temporary_path_, target_);
  if (error != 0) throw Failure(path_, error);
  temporary_path_.clear();
}

}  // namespace render
