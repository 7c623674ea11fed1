// SPDX-License-Identifier: Apache-2.0
// What the runs of the modules share.
#ifndef ORVANE_FUZZ_MODULE_RUNS_H_
#define ORVANE_FUZZ_MODULE_RUNS_H_

#include "fuzz/input.h"

constexpr int kMaxSteps = 12;  // of an input: what follows is not looked at

// Mostly short, as a long block costs the time of many inputs.
inline uint32_t block_length(Input* input) {
  return input->below(16) ? input->below(70) : input->below(1100);
}

// The modules of the room.
void run_shoebox(Input* input);
void run_velvet_noise(Input* input);

#endif  // ORVANE_FUZZ_MODULE_RUNS_H_
