// SPDX-License-Identifier: Apache-2.0
// Where an input's commands begin, for mutations that keep them whole.
#ifndef ORVANE_FUZZ_STEPS_H_
#define ORVANE_FUZZ_STEPS_H_

#include <stddef.h>
#include <stdint.h>

#include <span>

#include "fuzz/input.h"

// Called by a fuzzer before each command of an input, and after the last one: notes the place.
void note_step(const Input& input);

// Called first, with the whole input.
void begin_steps(std::span<const uint8_t> input);

#endif  // ORVANE_FUZZ_STEPS_H_
