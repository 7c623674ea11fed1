// SPDX-License-Identifier: Apache-2.0
// clang-format off
#include <windows.h>
// clang-format on
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <thread>

#include "tools/render/files.h"
#include "tools/render/wide_text.h"

namespace render {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kBytesOfOurOwn = _O_BINARY | _O_NOINHERIT;
constexpr size_t kMostAtOnce = size_t{1} << 30;  // the C library counts in int
constexpr std::chrono::milliseconds kBusyWait(1);

HANDLE handle_of(int fd) { return reinterpret_cast<HANDLE>(_get_osfhandle(fd)); }

// Puts letters and digits in the place of six X.
void choose_name(std::string* path) {
  static std::atomic<uint64_t> count = 0;
  constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
  LARGE_INTEGER now = {};
  QueryPerformanceCounter(&now);
  uint64_t number =
      static_cast<uint64_t>(now.QuadPart) * 2654435761u + GetCurrentProcessId() + (count++ << 20);
  for (size_t i = path->size() - 6; i < path->size(); ++i) {
    (*path)[i] = kLetters[number % 36];
    number /= 36;
  }
}

int open_new(std::string* path, int flags) {
  constexpr int kMostTries = 1000;
  for (int i = 0; i < kMostTries; ++i) {
    choose_name(path);
    const int fd =
        _wopen(utf8_to_wide(*path).c_str(), _O_RDWR | _O_CREAT | _O_EXCL | kBytesOfOurOwn | flags,
               _S_IREAD | _S_IWRITE);
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  return -1;
}

// Whether there are bytes in a pipe, or its end. A file and the like are always ready.
bool has_bytes(HANDLE file) {
  DWORD available = 0;
  const bool is_pipe = GetFileType(file) == FILE_TYPE_PIPE;
  return !is_pipe || !PeekNamedPipe(file, nullptr, 0, nullptr, &available, nullptr) ||
         available > 0;
}

}  // namespace

int file_open(const std::string& path, bool /*waits*/) {
  const int fd = _wopen(utf8_to_wide(path).c_str(), _O_RDONLY | kBytesOfOurOwn);
  if (fd >= 0 || errno != EACCES) return fd;
  std::error_code error;
  const bool is_directory = std::filesystem::is_directory(utf8_to_wide(path), error);
  errno = is_directory ? EISDIR : EACCES;
  return fd;
}

int file_open_standard_input() {
  const HANDLE standard = GetStdHandle(STD_INPUT_HANDLE);
  HANDLE own = nullptr;
  // Without a standard input the value stands for this process, which can be duplicated, too.
  if (standard == INVALID_HANDLE_VALUE ||
      !DuplicateHandle(GetCurrentProcess(), standard, GetCurrentProcess(), &own, 0, FALSE,
                       DUPLICATE_SAME_ACCESS)) {
    errno = EBADF;
    return -1;
  }
  const int fd = _open_osfhandle(reinterpret_cast<intptr_t>(own), _O_RDONLY | kBytesOfOurOwn);
  if (fd < 0) CloseHandle(own);
  return fd;
}

int file_open_new(std::string* path) { return open_new(path, 0); }

int file_open_nameless(const std::string& folder) {
  std::string name = folder + "/.orvane-render.XXXXXX";
  return open_new(&name, _O_TEMPORARY);  // which has a name, but the system removes it
}

int file_open_scratch() { return file_open_nameless(file_temporary_folder()); }

std::string file_temporary_folder() {
  wchar_t folder[MAX_PATH + 1] = {};
  GetTempPathW(MAX_PATH + 1, folder);
  return wide_to_utf8(folder);
}

FileKind file_kind(int fd) {
  switch (GetFileType(handle_of(fd))) {
    case FILE_TYPE_DISK:
      return FileKind::kRegular;
    case FILE_TYPE_PIPE:
    case FILE_TYPE_CHAR:
      return FileKind::kPipe;
    default:
      return FileKind::kOther;
  }
}

bool file_is_terminal(int fd) {
  DWORD mode = 0;
  return GetConsoleMode(handle_of(fd), &mode) != 0;
}

int64_t file_size(int fd) { return _filelengthi64(fd); }

int64_t file_read(int fd, void* data, size_t size) {
  return _read(fd, data, static_cast<unsigned>(std::min(size, kMostAtOnce)));
}

int64_t file_write(int fd, const void* data, size_t size) {
  const int64_t done = _write(fd, data, static_cast<unsigned>(std::min(size, kMostAtOnce)));
  // The C library calls these an invalid argument.
  const bool is_closed = _doserrno == ERROR_NO_DATA || _doserrno == ERROR_PIPE_NOT_CONNECTED;
  if (done < 0 && is_closed) errno = EPIPE;
  return done;
}

int64_t file_read_at(int fd, void* data, size_t size, uint64_t offset) {
  const int64_t position = _telli64(fd);
  if (position < 0 || _lseeki64(fd, static_cast<int64_t>(offset), SEEK_SET) < 0) return -1;
  const int64_t done = file_read(fd, data, size);
  _lseeki64(fd, position, SEEK_SET);
  return done;
}

// Windows cannot wait for the bytes of a pipe that another program has made. This asks again and
// again: at first at once, since a pipe holds so little that whoever fills it waits for us, then
// after pauses, which last up to 16 ms.
bool file_wait_readable(int fd, int milliseconds) {
  const Clock::time_point start = Clock::now();
  while (!has_bytes(handle_of(fd))) {
    const Clock::duration waited = Clock::now() - start;
    if (waited > std::chrono::milliseconds(milliseconds)) return false;
    if (waited > kBusyWait) {
      Sleep(1);
    } else {
      SwitchToThread();
    }
  }
  return true;
}

// A write waits by itself. Ctrl-C does not end that, but it ends the program that does not read.
bool file_wait_writable(int /*fd*/, int /*milliseconds*/) { return true; }

int file_publish(int fd, const std::string& path, const std::string& target) {
  if (close(fd) != 0) return errno;
  if (MoveFileExW(utf8_to_wide(path).c_str(), utf8_to_wide(target).c_str(),
                  MOVEFILE_REPLACE_EXISTING)) {
    return 0;
  }
  return EACCES;  // most likely another program has a file of that name open
}

void file_remove(const std::string& path) { _wunlink(utf8_to_wide(path).c_str()); }

}  // namespace render
