// SPDX-License-Identifier: Apache-2.0
#include "tools/render/program_path.h"

namespace render {

std::filesystem::path program_path() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error);
}

}  // namespace render
