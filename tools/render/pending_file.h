// SPDX-License-Identifier: Apache-2.0
// A file that appears under its name only when it is complete: written under a temporary name in
// the same directory, renamed at the end (through a symbolic link of that name), removed when it is
// given up.
#ifndef ORVANE_TOOLS_RENDER_PENDING_FILE_H_
#define ORVANE_TOOLS_RENDER_PENDING_FILE_H_

#include <cstdint>
#include <string>

namespace render {

class PendingFile {
 public:
  // Throws Failure when `path` cannot become a regular file in its directory.
  explicit PendingFile(const std::string& path);
  ~PendingFile();
  PendingFile(const PendingFile&) = delete;
  PendingFile& operator=(const PendingFile&) = delete;

  const std::string& path() const { return path_; }

  // Under which it is written until commit().
  const std::string& temporary_path() const { return temporary_path_; }

  // As read(2), write(2) and lseek(2), but writes all or fails; the first failed write is kept.
  int64_t read(void* data, int64_t size);
  int64_t write(const void* data, int64_t size);
  int64_t seek(int64_t offset, int whence);

  // Throws Failure if a write has failed since the start.
  void check_written() const;

  // Closes the file and gives it its name. Throws Failure, after which the destructor removes it.
  void commit();

 private:
  std::string path_;
  std::string target_;  // what a link of that name leads to, else path_
  std::string temporary_path_;
  int fd_ = -1;
  int write_error_ = 0;
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_PENDING_FILE_H_
