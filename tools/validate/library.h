// The shared library under test: where it is, and the functions that its installed headers declare.
#ifndef ORVANE_TOOLS_VALIDATE_LIBRARY_H_
#define ORVANE_TOOLS_VALIDATE_LIBRARY_H_

#include <memory>
#include <string>

namespace validate {

class Library {
 public:
  // Loads it; throws render::Failure.
  explicit Library(const std::string& path);

  const std::string& path() const { return path_; }

  // An exported function by its name, as in function<decltype(ubr_init)>("ubr_init"). Throws
  // render::Failure.
  template <typename Function>
  Function* function(const char* name) const {
    return reinterpret_cast<Function*>(symbol(name));
  }

 private:
  void* symbol(const char* name) const;

  std::string path_;
  std::unique_ptr<void, int (*)(void*)> handle_;
};

}  // namespace validate

#endif  // ORVANE_TOOLS_VALIDATE_LIBRARY_H_
