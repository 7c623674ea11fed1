// SPDX-License-Identifier: Apache-2.0
// Size of the random numbers' state, which whoever draws from it owns.
#ifndef ORVANE_ROOM_RANDOM_STATE_H_
#define ORVANE_ROOM_RANDOM_STATE_H_

// Words of a generator's state: 624 of the twister, then the index of the next one to use.
enum { RANDOM_STATE_WORDS = 625 };

#endif  // ORVANE_ROOM_RANDOM_STATE_H_
