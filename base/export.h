// SPDX-License-Identifier: Apache-2.0
// ORVANE_API marks a function that liborvane.so exports with C linkage. Everything else is hidden.
#ifndef ORVANE_BASE_EXPORT_H_
#define ORVANE_BASE_EXPORT_H_

#include "base/processor.h"

#ifdef __cplusplus
#define ORVANE_EXTERN_C extern "C"
#else
#define ORVANE_EXTERN_C extern
#endif

#ifdef _WIN32  // the build lists them to the linker
#define ORVANE_API ORVANE_EXTERN_C
#else
#define ORVANE_API ORVANE_EXTERN_C __attribute__((visibility("default")))
#endif

#endif  // ORVANE_BASE_EXPORT_H_
