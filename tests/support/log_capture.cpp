// SPDX-License-Identifier: Apache-2.0
#include "tests/support/log_capture.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <mutex>

#ifndef ORVANE_LOG_TO_STDERR
#include <android/log.h>
#include <log/log.h>
#endif

namespace {

std::mutex mutex;
bool capturing = false;
std::vector<std::string> captured;

void capture(std::string line) {
  const std::lock_guard<std::mutex> lock(mutex);
  if (capturing) captured.push_back(std::move(line));
}

std::string formatted(const char* format, va_list arguments) {
  char text[1024];
  vsnprintf(text, sizeof(text), format, arguments);
  return text;
}

#ifndef ORVANE_LOG_TO_STDERR
char letter(int priority) {
  switch (priority) {
    case ANDROID_LOG_INFO:
      return 'I';
    case ANDROID_LOG_WARN:
      return 'W';
    case ANDROID_LOG_ERROR:
      return 'E';
    default:
      return '?';
  }
}
#endif

}  // namespace

#ifdef ORVANE_LOG_TO_STDERR
// The linker puts it in the place of the library's orvane_log_line.
extern "C" void __wrap_orvane_log_line(char letter, const char* format, ...);
extern "C" void __wrap_orvane_log_line(char letter, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  capture(std::string{letter, ' '} + formatted(format, arguments));
  va_end(arguments);
}
#else
extern "C" int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
  va_list arguments;
  va_start(arguments, fmt);
  const std::string text = formatted(fmt, arguments);
  va_end(arguments);
  const std::string foreign_tag = strcmp(tag, "orvane") == 0 ? "" : std::string(tag) + ": ";
  capture(std::string{letter(prio), ' '} + foreign_tag + text);
  return static_cast<int>(text.size());
}

extern "C" int __android_log_error_write(int tag, const char* subTag, int32_t /*uid*/,
                                         const char* /*data*/, uint32_t /*dataLen*/) {
  char text[64];
  capture({text, static_cast<size_t>(snprintf(text, sizeof(text), "S 0x%x %s", tag, subTag))});
  return 0;
}
#endif

LogCapture::LogCapture() {
  const std::lock_guard<std::mutex> lock(mutex);
  captured.clear();
  capturing = true;
}

LogCapture::~LogCapture() {
  const std::lock_guard<std::mutex> lock(mutex);
  capturing = false;
}

std::vector<std::string> LogCapture::lines() const {
  const std::lock_guard<std::mutex> lock(mutex);
  return captured;
}

std::vector<std::string> LogCapture::problems() const {
  std::vector<std::string> result = lines();
  std::erase_if(result, [](const std::string& line) { return line.front() == 'I'; });
  return result;
}

bool LogCapture::has(const std::string& line) const { return std::ranges::count(lines(), line); }
