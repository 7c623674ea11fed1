// SPDX-License-Identifier: Apache-2.0
// An instance of the effect, driven through AELI, and the bytes of its commands.
#ifndef ORVANE_FUZZ_EFFECT_INSTANCE_H_
#define ORVANE_FUZZ_EFFECT_INSTANCE_H_

#include <optional>

#include "fuzz/input.h"
#include "tests/support/effect_host.h"

// Bytes at an odd address, the last of them at the end of its heap block.
class Bytes {
 public:
  explicit Bytes(size_t size) : block_(size + 1) {}
  uint8_t* data() { return block_.data() + 1; }
  size_t size() const { return block_.size() - 1; }

  template <typename T>
  void put(size_t at, const T& value) {
    if (at + sizeof(T) <= size()) memcpy(data() + at, &value, sizeof(T));
  }

 private:
  std::vector<uint8_t> block_;
};

// An instance, and what its user knows of it.
struct Instance {
  effect_handle_t handle = nullptr;
  bool enabled = false;
  bool accumulates = true;
  std::optional<uint32_t> channels;  // of a block; unknown after a refused configuration
  uint32_t rendered_channels = 0;    // of the last accepted configuration
  bool spoiled = false;              // wild samples may still sound on

  Instance() = default;
  ~Instance() { release(); }
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;

  void release() {
    if (handle) require(AELI.release_effect(handle) == 0, "release succeeds");
    handle = nullptr;
  }

  void create() {
    release();
    require(AELI.create_effect(&kOrvaneUuid, 0, 0, &handle) == 0, "create succeeds");
    enabled = false;
    note_defaults();
    rendered_channels = 0;
    spoiled = false;
  }

  void note_defaults() {
    accumulates = true;
    channels = 8;
  }
};

#endif  // ORVANE_FUZZ_EFFECT_INSTANCE_H_
