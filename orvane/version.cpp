// SPDX-License-Identifier: Apache-2.0
#include "orvane/version.h"

// Hosts hand over the bytes of parameters and samples as they lie in memory.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "liborvane is for little-endian processors");

int orvane_version() { return ORVANE_VERSION; }
