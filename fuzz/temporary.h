// SPDX-License-Identifier: Apache-2.0
// Files for what is read by name.
#ifndef ORVANE_FUZZ_TEMPORARY_H_
#define ORVANE_FUZZ_TEMPORARY_H_

#include <sys/mman.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <string_view>

#include "fuzz/input.h"

// A file in memory that has a name as long as it lives.
class MemoryFile {
 public:
  explicit MemoryFile(std::string_view bytes) : fd_(memfd_create("orvane-fuzz", MFD_CLOEXEC)) {
    require(
        fd_ >= 0 && ::write(fd_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()),
        "there is room for a file");
  }
  ~MemoryFile() { close(fd_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }

 private:
  int fd_;
};

// An empty folder that goes with the process.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = std::filesystem::temp_directory_path() / "orvane-fuzz.XXXXXX";
    require(mkdtemp(name.data()), "there is room for a folder");
    path_ = name;
  }
  ~TemporaryFolder() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

#endif  // ORVANE_FUZZ_TEMPORARY_H_
