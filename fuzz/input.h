// SPDX-License-Identifier: Apache-2.0
// What every fuzzer is made of: arguments out of the fuzzer's bytes, and claims about what comes
// back.
#ifndef ORVANE_FUZZ_INPUT_H_
#define ORVANE_FUZZ_INPUT_H_

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <span>
#include <string>
#include <vector>

// The entry of every fuzzer, called by libFuzzer or by replay.cpp.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

// Ends the process with `claim` if it does not hold; a fuzzer counts that as a crash.
inline void require(bool holds, const char* claim) {
  if (holds) return;
  fprintf(stderr, "does not hold: %s\n", claim);
  abort();
}

// Takes values off the bytes from front to back; behind the last byte everything is zero.
class Input {
 public:
  Input(const uint8_t* data, size_t size) : rest_(data, size) {}

  bool ended() const { return rest_.empty(); }
  size_t left() const { return rest_.size(); }

  // The bits of a value of type T.
  template <typename T>
  T take() {
    T value = {};
    const size_t count = std::min(sizeof(T), rest_.size());
    if (count > 0) memcpy(&value, rest_.data(), count);
    rest_ = rest_.subspan(count);
    return value;
  }

  // 0 to n - 1, from one byte where that is enough, else from two.
  uint32_t below(uint32_t n) { return (n <= 256 ? take<uint8_t>() : take<uint16_t>()) % n; }

  template <typename T, size_t N>
  T pick(const T (&choices)[N]) {
    return choices[below(N)];
  }

  // Mostly a number up to 2, 300 or 30000 in fine, coarse or whole steps, now and then any bits.
  float number() {
    constexpr float kSteps[] = {0x1p-14f, 0.01f, 1.0f};
    const uint8_t kind = take<uint8_t>();
    if (kind >= 0xE0) return std::bit_cast<float>(take<uint32_t>());
    return static_cast<float>(take<int16_t>()) * kSteps[kind % 3];
  }

  // Everything that is left.
  std::string text() {
    std::string text(rest_.begin(), rest_.end());
    rest_ = {};
    return text;
  }

 private:
  std::span<const uint8_t> rest_;
};

// Samples beyond this may overflow on their way, through no fault of anybody.
constexpr float kTame = 1e25f;

inline bool is_tame(float value) { return std::fabs(value) <= kTame; }

inline bool all_finite(std::span<const float> samples) {
  return std::all_of(samples.begin(), samples.end(), [](float s) { return std::isfinite(s); });
}

// Silence, noise at any level, or a few values with any bits over and over. Returns whether all are
// tame.
inline bool fill_samples(Input* input, std::span<float> samples) {
  const uint8_t kind = input->take<uint8_t>();
  if (kind < 0x40) return true;
  if (kind < 0xD0) {
    const float level = std::ldexp(1.0f, kind < 0xA0 ? 0 : (kind - 0xB8) * 3);
    uint32_t state = kind;
    for (float& sample : samples) {
      state = state * 1664525u + 1013904223u;
      sample = static_cast<float>(static_cast<int32_t>(state)) * 0x1p-31f * level;
    }
    return is_tame(level);
  }
  float pattern[3];
  for (float& value : pattern) value = input->number();
  for (size_t i = 0; i < samples.size(); ++i) samples[i] = pattern[i % std::size(pattern)];
  return std::all_of(std::begin(pattern), std::end(pattern), is_tame);
}

// A value that no tame rendering writes.
const float kUnwritten = std::bit_cast<float>(uint32_t{0x7FC5A5A5});

inline bool same_bits(const std::vector<float>& a, const std::vector<float>& b) {
  return a.size() == b.size() &&
         (a.empty() || memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0);
}

#endif  // ORVANE_FUZZ_INPUT_H_
