// SPDX-License-Identifier: Apache-2.0
#include "tools/render/program_path.h"

namespace render {

std::filesystem::path program_path_find(std::initializer_list<std::filesystem::path> candidates) {
  const std::filesystem::path program = program_path();
  if (program.empty()) return {};
  std::error_code error;
  for (const std::filesystem::path& candidate : candidates) {
    const std::filesystem::path path = program.parent_path() / candidate;
    if (std::filesystem::exists(path, error)) return path.lexically_normal();
  }
  return {};
}

}  // namespace render
