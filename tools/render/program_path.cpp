// SPDX-License-Identifier: Apache-2.0
#include "tools/render/program_path.h"

namespace render {

std::filesystem::path program_path_find(std::initializer_list<std::filesystem::path> candidates) {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) return {};
  for (const std::filesystem::path& candidate : candidates) {
    const std::filesystem::path path = program.parent_path() / candidate;
    if (std::filesystem::exists(path, error)) return path.lexically_normal();
  }
  return {};
}

}  // namespace render
