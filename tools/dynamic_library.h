// SPDX-License-Identifier: Apache-2.0
// dlopen() and its like for programs that also run on Windows, which has other names for them.
#ifndef ORVANE_TOOLS_DYNAMIC_LIBRARY_H_
#define ORVANE_TOOLS_DYNAMIC_LIBRARY_H_

#ifdef _WIN32
#include <windows.h>

enum { RTLD_LOCAL = 0, RTLD_NOW = 2 };

inline void* dlopen(const char* path, int /*mode*/) { return LoadLibraryA(path); }
inline void* dlsym(void* library, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}
inline const char* dlerror() { return "Windows finds no library there that it can load"; }
#else
#include <dlfcn.h>
#endif

#endif  // ORVANE_TOOLS_DYNAMIC_LIBRARY_H_
