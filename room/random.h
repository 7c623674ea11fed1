// SPDX-License-Identifier: Apache-2.0
// The MT19937 Mersenne Twister (Matsumoto and Nishimura, "Mersenne Twister", ACM TOMACS 8, 1998).
#ifndef ORVANE_ROOM_RANDOM_H_
#define ORVANE_ROOM_RANDOM_H_

#include <stdint.h>

#include "base/export.h"
#include "room/random_state.h"

// Starts a generator of RANDOM_STATE_WORDS words afresh: the standard initialisation with seed
// 5489.
ORVANE_EXTERN_C void random_init(uint32_t* state);

// The next number, uniform over the multiples of 2^-53 in (0, 1).
ORVANE_EXTERN_C double b_rand(uint32_t* state);

#endif  // ORVANE_ROOM_RANDOM_H_
