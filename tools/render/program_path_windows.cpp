// SPDX-License-Identifier: Apache-2.0
#include <windows.h>

#include <string>

#include "tools/render/program_path.h"

namespace render {

std::filesystem::path program_path() {
  std::wstring name(MAX_PATH, L'\0');
  for (;;) {
    const DWORD size = GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size()));
    if (size < name.size()) {
      name.resize(size);
      return name;
    }
    name.resize(2 * name.size());  // it was cut off
  }
}

}  // namespace render
