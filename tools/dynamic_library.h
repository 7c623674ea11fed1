// SPDX-License-Identifier: Apache-2.0
// dlopen() and its like for programs that also run on Windows, which has other names for them.
#ifndef ORVANE_TOOLS_DYNAMIC_LIBRARY_H_
#define ORVANE_TOOLS_DYNAMIC_LIBRARY_H_

#ifdef _WIN32
#include <windows.h>

#include <cwchar>

enum { RTLD_LOCAL = 0, RTLD_NOW = 2 };

// `path` is in UTF-8, or in the system's code page as the arguments of main() are. As on other
// systems, one with a folder in it is that file: Windows would look in the program's own folder
// first.
inline void* dlopen(const char* path, int /*mode*/) {
  constexpr int kLongest = 32767;  // of a path, as Windows has it
  static wchar_t wide[kLongest + 1], whole[kLongest + 1];
  if (MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, path, -1, wide, kLongest) == 0 &&
      MultiByteToWideChar(CP_ACP, 0, path, -1, wide, kLongest) == 0) {
    return nullptr;
  }
  const bool has_folder = std::wcspbrk(wide, L"/\\") != nullptr;
  const bool is_whole = has_folder && GetFullPathNameW(wide, kLongest, whole, nullptr) > 0;
  return LoadLibraryW(is_whole ? whole : wide);
}
inline void* dlsym(void* library, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}
inline int dlclose(void* library) { return FreeLibrary(static_cast<HMODULE>(library)) ? 0 : -1; }
inline const char* dlerror() { return "Windows finds no library there that it can load"; }
#else
#include <dlfcn.h>
#endif

#endif  // ORVANE_TOOLS_DYNAMIC_LIBRARY_H_
