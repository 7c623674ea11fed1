// SPDX-License-Identifier: Apache-2.0
// The version of liborvane: its one home, which the build reads, too.
#ifndef ORVANE_VERSION_H_
#define ORVANE_VERSION_H_

#include "base/export.h"

// A new major version breaks callers, and its number is that of the shared library's soname.
#define ORVANE_VERSION_MAJOR 0
#define ORVANE_VERSION_MINOR 1
#define ORVANE_VERSION_PATCH 0

// What was compiled against, as one number that grows with every version.
#define ORVANE_VERSION \
  (ORVANE_VERSION_MAJOR * 10000 + ORVANE_VERSION_MINOR * 100 + ORVANE_VERSION_PATCH)

// The version of the library that runs, in the form of ORVANE_VERSION.
ORVANE_API int orvane_version(void);

#endif  // ORVANE_VERSION_H_
