// SPDX-License-Identifier: Apache-2.0
// The platform's log under our tag. The arguments are printf's, and checked as such. Hosts without
// Android's log library have ORVANE_LOG_TO_STDERR, by which warnings and errors go there, or
// ORVANE_LOG_TO_NOTHING.
#ifndef ORVANE_PLATFORM_LOG_H_
#define ORVANE_PLATFORM_LOG_H_

#if defined(ORVANE_LOG_TO_STDERR) || defined(ORVANE_LOG_TO_NOTHING)
#include "base/export.h"
// Writes a line to standard error, unless it is information, letter I: log_stderr.cpp.
ORVANE_EXTERN_C __attribute__((format(printf, 2, 3))) void orvane_log_line(char letter,
                                                                           const char* format, ...);
#ifdef ORVANE_LOG_TO_STDERR
#define ORVANE_LOG_LINE(...) orvane_log_line(__VA_ARGS__)
#else
#define ORVANE_LOG_LINE(...) ((void)(false && (orvane_log_line(__VA_ARGS__), true)))
#endif
#define ORVANE_LOGI(...) ORVANE_LOG_LINE('I', __VA_ARGS__)
#define ORVANE_LOGW(...) ORVANE_LOG_LINE('W', __VA_ARGS__)
#define ORVANE_LOGE(...) ORVANE_LOG_LINE('E', __VA_ARGS__)
#define ORVANE_LOG_SECURITY_EVENT(sub_tag) ORVANE_LOG_LINE('S', "0x534e4554 %s", sub_tag)
#else

#include <android/log.h>

#if __has_include(<log/log.h>)
#include <log/log.h>
#else
// The NDK has no header for the security event log and no function to link with. A library built
// with the NDK uses the function of the device, where there is one.
#include <stdint.h>
extern "C" __attribute__((weak)) int __android_log_error_write(int tag, const char* sub_tag,
                                                               int32_t uid, const char* data,
                                                               uint32_t data_size);
inline int android_errorWriteLog(int tag, const char* sub_tag) {
  if (!__android_log_error_write) return -1;
  return __android_log_error_write(tag, sub_tag, -1, nullptr, 0);
}
#endif

#define ORVANE_LOG(priority, ...) ((void)__android_log_print(priority, "orvane", __VA_ARGS__))
#define ORVANE_LOGI(...) ORVANE_LOG(ANDROID_LOG_INFO, __VA_ARGS__)
#define ORVANE_LOGW(...) ORVANE_LOG(ANDROID_LOG_WARN, __VA_ARGS__)
#define ORVANE_LOGE(...) ORVANE_LOG(ANDROID_LOG_ERROR, __VA_ARGS__)

// Reports a malformed input to the platform's security event log. The tag reads "SNET"; `sub_tag`
// names the finding.
#define ORVANE_LOG_SECURITY_EVENT(sub_tag) ((void)android_errorWriteLog(0x534e4554, sub_tag))
#endif

#endif  // ORVANE_PLATFORM_LOG_H_
