// SPDX-License-Identifier: Apache-2.0
// The UUID of this implementation: a device's list of effects names it, and hosts create instances
// by it.
#ifndef ORVANE_EFFECT_UUID_H_
#define ORVANE_EFFECT_UUID_H_

#include "base/constant.h"
#include "platform/effect_abi.h"

ORVANE_CONSTANT effect_uuid_t orvane_uuid = {
    0x5b7e1c42, 0x93d0, 0x4e6a, 0xb1f8, {0x2c, 0x4d, 0x9a, 0x07, 0xe3, 0xb6}};

#endif  // ORVANE_EFFECT_UUID_H_
