// SPDX-License-Identifier: Apache-2.0
#include <cstdarg>
#include <cstdio>
#include <utility>

#include "tools/render/host_log.h"

namespace render {
namespace {

constexpr int kPriorityError = 6;  // of the platform's log
constexpr char kPriorityLetters[] = "??VDIWEF";

bool g_verbose = false;
std::string g_last_error;

}  // namespace

void host_log_set_verbose(bool verbose) { g_verbose = verbose; }

std::string host_log_take_error() { return std::exchange(g_last_error, {}); }

}  // namespace render

extern "C" __attribute__((visibility("default"), format(printf, 3, 4))) int __android_log_print(
    int priority, const char* tag, const char* format, ...) {
  char line[1024];
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(line, sizeof(line), format, arguments);
  va_end(arguments);
  if (priority >= render::kPriorityError) render::g_last_error = line;
  if (render::g_verbose) {
    const char letter = priority >= 0 && priority <= 7 ? render::kPriorityLetters[priority] : '?';
    std::fprintf(stderr, "%c %s: %s\n", letter, tag, line);
  }
  return length;
}
