// SPDX-License-Identifier: Apache-2.0
#include "room/random.h"

#include <algorithm>
#include <array>

namespace {

constexpr uint32_t kTwisterWords = RANDOM_STATE_WORDS - 1;
constexpr uint32_t kMiddle = 397;
constexpr uint32_t kIndex = kTwisterWords;  // where the state keeps its position

constexpr std::array<uint32_t, RANDOM_STATE_WORDS> initial_state() {
  std::array<uint32_t, RANDOM_STATE_WORDS> state{};
  state[0] = 5489;
  for (uint32_t i = 1; i < kTwisterWords; ++i) {
    state[i] = 1812433253u * (state[i - 1] ^ (state[i - 1] >> 30)) + i;
  }
  state[kIndex] = kTwisterWords;
  return state;
}

constexpr auto kInitialState = initial_state();

uint32_t twist(uint32_t word, uint32_t next, uint32_t middle) {
  const uint32_t y = (word & 0x80000000u) | (next & 0x7FFFFFFFu);
  return middle ^ (y >> 1) ^ ((y & 1u) ? 0x9908B0DFu : 0u);
}

void regenerate(uint32_t* state) {
  for (uint32_t i = 0; i < kTwisterWords; ++i) {
    const uint32_t next = state[(i + 1) % kTwisterWords];
    state[i] = twist(state[i], next, state[(i + kMiddle) % kTwisterWords]);
  }
  state[kIndex] = 0;
}

uint32_t draw_word(uint32_t* state) {
  if (state[kIndex] >= kTwisterWords) regenerate(state);
  uint32_t y = state[state[kIndex]++];
  y ^= y >> 11;
  y ^= (y << 7) & 0x9D2C5680u;
  y ^= (y << 15) & 0xEFC60000u;
  return y ^ (y >> 18);
}

}  // namespace

void random_init(uint32_t* state) { std::copy(kInitialState.begin(), kInitialState.end(), state); }

double b_rand(uint32_t* state) {
  for (;;) {
    const uint32_t high = draw_word(state) >> 5;
    const uint32_t low = draw_word(state) >> 6;
    const double number = (high * 0x1p26 + low) * 0x1p-53;
    if (number > 0.0) return number;
  }
}
