// SPDX-License-Identifier: Apache-2.0
// Files and pipes as this system has them: descriptors of the C library for bytes as they are,
// which no child inherits. files_posix.cpp and files_windows.cpp implement it.
#ifndef ORVANE_TOOLS_RENDER_FILES_H_
#define ORVANE_TOOLS_RENDER_FILES_H_

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

namespace render {

enum class FileKind {
  kRegular,
  kPipe,  // or a device: read in order
  kOther,
};

// A path that is in UTF-8, or on POSIX in whatever bytes.
inline std::filesystem::path file_path(const std::string& path) {
  return std::u8string(path.begin(), path.end());
}

// Each opens a file and returns its descriptor, or -1 and sets errno. Paths are in UTF-8.

// To read. With `waits` it waits for whoever writes into a named pipe.
int file_open(const std::string& path, bool waits = true);

// Standard input, by a descriptor of its own.
int file_open_standard_input();

// A new file to read and write. `path` ends in six X, in the place of which a name is found.
int file_open_new(std::string* path);

// A file without a name, gone when it is closed.
int file_open_nameless(const std::string& folder);

// The same for a few megabytes, in memory where the system can.
int file_open_scratch();

// The folder of large temporary files.
std::string file_temporary_folder();

FileKind file_kind(int fd);
bool file_is_terminal(int fd);

// In bytes, or -1.
int64_t file_size(int fd);

// As read(2), write(2) and pread(2): the number of bytes, or -1 and errno is set.
int64_t file_read(int fd, void* data, size_t size);
int64_t file_write(int fd, const void* data, size_t size);
int64_t file_read_at(int fd, void* data, size_t size, uint64_t offset);

// Whether within `milliseconds` there is something to read, or its end, or room to write.
bool file_wait_readable(int fd, int milliseconds);
bool file_wait_writable(int fd, int milliseconds);

// Closes `fd`, the new file `path`, and gives it the rights of other files and the name `target`,
// in the place of a file of that name. Returns 0 or an errno.
int file_publish(int fd, const std::string& path, const std::string& target);

void file_remove(const std::string& path);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_FILES_H_
