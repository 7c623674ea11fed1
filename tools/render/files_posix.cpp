// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "tools/render/files.h"

namespace render {
namespace {

mode_t new_file_mode() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

bool is_ready(int fd, short events, int milliseconds) {
  pollfd look = {fd, events, 0};
  return poll(&look, 1, milliseconds) > 0;
}

}  // namespace

int file_open(const std::string& path, bool waits) {
  return open(path.c_str(), O_RDONLY | O_CLOEXEC | (waits ? 0 : O_NONBLOCK));
}

int file_open_standard_input() { return fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0); }

int file_open_new(std::string* path) { return mkostemp(path->data(), O_CLOEXEC); }

int file_open_nameless(const std::string& folder) {
  const int fd = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (fd >= 0) return fd;
  std::string name = folder + "/.orvane-render.XXXXXX";  // for file systems without the above
  const int named = file_open_new(&name);
  if (named >= 0) unlink(name.c_str());
  return named;
}

int file_open_scratch() { return memfd_create("scratch", MFD_CLOEXEC); }

// Not /tmp, which may be in memory.
std::string file_temporary_folder() {
  const char* folder = std::getenv("TMPDIR");
  return folder && *folder ? folder : "/var/tmp";
}

FileKind file_kind(int fd) {
  struct stat status = {};
  if (fstat(fd, &status) != 0) return FileKind::kOther;
  if (S_ISREG(status.st_mode)) return FileKind::kRegular;
  const bool is_pipe =
      S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode) || S_ISCHR(status.st_mode);
  return is_pipe ? FileKind::kPipe : FileKind::kOther;
}

bool file_is_terminal(int fd) { return isatty(fd) != 0; }

int64_t file_size(int fd) {
  struct stat status = {};
  return fstat(fd, &status) == 0 ? status.st_size : -1;
}

int64_t file_read(int fd, void* data, size_t size) { return read(fd, data, size); }

int64_t file_write(int fd, const void* data, size_t size) { return write(fd, data, size); }

int64_t file_read_at(int fd, void* data, size_t size, uint64_t offset) {
  return pread(fd, data, size, static_cast<off_t>(offset));
}

bool file_wait_readable(int fd, int milliseconds) { return is_ready(fd, POLLIN, milliseconds); }

bool file_wait_writable(int fd, int milliseconds) { return is_ready(fd, POLLOUT, milliseconds); }

int file_publish(int fd, const std::string& path, const std::string& target) {
  const int refused = fchmod(fd, new_file_mode()) == 0 ? 0 : errno;
  if (close(fd) != 0) return errno;  // network file systems report a full disk here
  if (refused != 0) return refused;
  return std::rename(path.c_str(), target.c_str()) == 0 ? 0 : errno;
}

void file_remove(const std::string& path) { unlink(path.c_str()); }

}  // namespace render
