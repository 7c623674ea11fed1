// SPDX-License-Identifier: Apache-2.0
// One instance of the effect in a library that is loaded by its path, as the platform does it.
#ifndef ORVANE_TOOLS_SELFTEST_EFFECT_H_
#define ORVANE_TOOLS_SELFTEST_EFFECT_H_

#include <stdint.h>

#include "platform/effect_abi.h"

namespace selftest {

// The record of the library, or null: then `why` says why in one line.
const audio_effect_library_t* load_library(const char* path, const char** why);

// Every call returns whether it was answered with success.
class Effect {
 public:
  explicit Effect(const audio_effect_library_t& library);
  ~Effect();
  Effect(const Effect&) = delete;
  Effect& operator=(const Effect&) = delete;

  bool exists() const { return handle_ != nullptr; }
  bool start(uint32_t mask);
  bool set_head(float x, float y, float z);
  bool set_parameter(int32_t id, float value);

  // `frames` samples of every channel, interleaved, to two ears.
  bool process(float* bed, float* ears, uint32_t frames);

 private:
  bool send(uint32_t code, uint32_t size, void* data);
  bool set(int32_t id, const void* value, uint32_t size);

  const audio_effect_library_t& library_;
  effect_handle_t handle_ = nullptr;
};

}  // namespace selftest

#endif  // ORVANE_TOOLS_SELFTEST_EFFECT_H_
