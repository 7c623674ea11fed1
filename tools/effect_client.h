// SPDX-License-Identifier: Apache-2.0
// An instance of the effect in a library that was loaded at run time, driven through its AELI
// record alone, as the platform does it. Needs the C library and nothing else: orvane-selftest runs
// on devices with it.
#ifndef ORVANE_TOOLS_EFFECT_CLIENT_H_
#define ORVANE_TOOLS_EFFECT_CLIENT_H_

#include <stdint.h>

#include "platform/effect_abi.h"

namespace effect_client {

// The record of a library that dlopen() has loaded, or null: then `why` says what the library is
// not.
const audio_effect_library_t* find_record(void* library, const char** why);

// Every call returns whether it was answered with success, and allocates nothing.
class Effect {
 public:
  // Creates an instance; `library` outlives it.
  explicit Effect(const audio_effect_library_t& library);
  ~Effect();
  Effect(const Effect&) = delete;
  Effect& operator=(const Effect&) = delete;

  bool exists() const { return handle_ != nullptr; }

  // For a bed of `mask` at the rate that the effect's filters are made for; two ears come out.
  bool configure(uint32_t mask);
  bool enable();
  bool disable();

  // Translation, then rotation vector in radians, as SPATIALIZER_PARAM_HEAD_TO_STAGE has them.
  bool set_head_to_stage(const float pose[6]);
  bool set_parameter(int32_t id, float value);

  // `frames` samples of every channel, interleaved, to two ears.
  bool process(float* bed, float* ears, size_t frames);

 private:
  bool send(uint32_t code, uint32_t size, void* data);
  bool set(int32_t id, const void* value, uint32_t size);

  const audio_effect_library_t& library_;
  effect_handle_t handle_ = nullptr;
};

}  // namespace effect_client

#endif  // ORVANE_TOOLS_EFFECT_CLIENT_H_
