// Random numbers that are the same everywhere, as the standard library's distributions are not.
#ifndef ORVANE_TOOLS_VALIDATE_RANDOM_H_
#define ORVANE_TOOLS_VALIDATE_RANDOM_H_

#include <random>

namespace validate {

// Between 0 and 1, neither included.
inline double random_unit(std::mt19937* generator) {
  return (static_cast<double>((*generator)()) + 0.5) / 4294967296.0;
}

// Of a white noise between -0.5 and 0.5.
inline float random_sample(std::mt19937* generator) {
  return static_cast<float>(random_unit(generator) - 0.5);
}

}  // namespace validate

#endif  // ORVANE_TOOLS_VALIDATE_RANDOM_H_
