// SPDX-License-Identifier: Apache-2.0
#include "orvane/version.h"

int orvane_version() { return ORVANE_VERSION; }
