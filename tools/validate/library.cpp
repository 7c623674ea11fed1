#include "tools/validate/library.h"

#include <dlfcn.h>

#include "tools/render/effect_host.h"
#include "tools/render/failure.h"

namespace validate {

Library::Library(const std::string& path)
    : path_(path), handle_(render::effect_library_load(path), dlclose) {}

void* Library::symbol(const char* name) const {
  void* found = dlsym(handle_.get(), name);
  if (!found) throw render::Failure(path_, std::string("does not export ") + name);
  return found;
}

}  // namespace validate
