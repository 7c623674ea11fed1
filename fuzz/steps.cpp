// SPDX-License-Identifier: Apache-2.0
// A mutator for inputs that are sequences of commands. Half of the time it takes whole commands
// away, repeats or moves them, or takes some from another input; else libFuzzer changes bytes. The
// fuzzer has told where the commands of an input begin when it ran: every input that is mutated
// did.
#include "fuzz/steps.h"

#include <random>
#include <unordered_map>

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t max_size)
    __attribute__((weak));  // missing where seeds are replayed

namespace {

using Places = std::vector<uint32_t>;  // of beginnings, ascending, and of the last one's end

constexpr size_t kMostInputs = 50000;  // whose places are kept

struct Known {
  std::unordered_map<uint64_t, Places> places;
  std::vector<uint8_t> other;  // the commands of an earlier input
  Places other_places;
};

Known& known() {
  static Known inputs;
  return inputs;
}

Places* current = nullptr;
std::span<const uint8_t> current_input;

uint64_t hash(std::span<const uint8_t> bytes) {
  uint64_t value = 0xcbf29ce484222325;
  for (const uint8_t byte : bytes) value = (value ^ byte) * 0x100000001b3;
  return value;
}

// One to four commands from anywhere: their bytes.
std::span<const uint8_t> pick(std::span<const uint8_t> bytes, const Places& places,
                              std::minstd_rand* random) {
  const size_t first = (*random)() % (places.size() - 1);
  const size_t last = std::min(places.size() - 1, first + 1 + (*random)() % 4);
  return bytes.subspan(places[first], places[last] - places[first]);
}

std::vector<uint8_t> changed(std::span<const uint8_t> bytes, const Places& places,
                             std::minstd_rand* random) {
  const size_t at = places[(*random)() % places.size()];
  std::vector<uint8_t> out(bytes.begin(), bytes.end());
  const std::span<const uint8_t> some = pick(bytes, places, random);
  const auto gap = some.data() - bytes.data();
  switch ((*random)() % 3) {
    case 0:  // without these
      out.erase(out.begin() + gap, out.begin() + gap + static_cast<ptrdiff_t>(some.size()));
      break;
    case 1:  // these once more
      out.insert(out.begin() + static_cast<ptrdiff_t>(at), some.begin(), some.end());
      break;
    default:  // those of another input as well
      if (known().other_places.size() > 1) {
        const auto theirs = pick(known().other, known().other_places, random);
        out.insert(out.begin() + static_cast<ptrdiff_t>(at), theirs.begin(), theirs.end());
      }
  }
  return out;
}

}  // namespace

void begin_steps(std::span<const uint8_t> input) {
  current = nullptr;
  if (!LLVMFuzzerMutate) return;
  Known& inputs = known();
  if (inputs.places.size() >= kMostInputs) inputs.places.clear();
  current = &inputs.places[hash(input)];
  current->clear();
  current_input = input;
}

void note_step(const Input& input) {
  if (current) current->push_back(static_cast<uint32_t>(current_input.size() - input.left()));
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t max_size,
                                          unsigned seed) {
  std::minstd_rand random(seed);
  const auto found = known().places.find(hash({data, size}));
  if (random() % 2 || found == known().places.end() || found->second.size() < 2) {
    return LLVMFuzzerMutate(data, size, max_size);
  }
  std::vector<uint8_t> out = changed({data, size}, found->second, &random);
  if (random() % 16 == 0) {
    known().other.assign(data, data + size);
    known().other_places = found->second;
  }
  const size_t taken = std::min(out.size(), max_size);
  std::copy_n(out.begin(), taken, data);
  return taken;
}
