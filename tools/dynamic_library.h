// SPDX-License-Identifier: Apache-2.0
// dlopen() and its like for programs that also run on Windows, which has other names for them.
#ifndef ORVANE_TOOLS_DYNAMIC_LIBRARY_H_
#define ORVANE_TOOLS_DYNAMIC_LIBRARY_H_

#ifdef _WIN32
#include <windows.h>

enum { RTLD_LOCAL = 0, RTLD_NOW = 2 };

// `path` is in UTF-8, or in the system's code page as the arguments of main() are.
inline void* dlopen(const char* path, int /*mode*/) {
  wchar_t wide[MAX_PATH];
  const bool is_utf8 =
      MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, path, -1, wide, MAX_PATH) > 0;
  return is_utf8 ? LoadLibraryW(wide) : LoadLibraryA(path);
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
