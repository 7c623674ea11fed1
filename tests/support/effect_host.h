// SPDX-License-Identifier: Apache-2.0
// An instance of the effect, driven as the platform drives it: through the record AELI and the
// handle's function table, nothing else.
#ifndef ORVANE_TESTS_SUPPORT_EFFECT_HOST_H_
#define ORVANE_TESTS_SUPPORT_EFFECT_HOST_H_

#include <stdint.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "platform/effect_abi.h"
#include "renderer/loudspeaker_layouts.h"

extern "C" const audio_effect_library_t AELI;

// The implementation's identity, spelled out.
constexpr effect_uuid_t kOrvaneUuid = {
    0x5b7e1c42, 0x93d0, 0x4e6a, 0xb1f8, {0x2c, 0x4d, 0x9a, 0x07, 0xe3, 0xb6}};

// A configuration that is accepted: `mask` to stereo, float, 48 kHz.
effect_config_t stream_config(uint32_t mask, uint8_t access_mode = EFFECT_BUFFER_ACCESS_WRITE);

// The layout of that name in the library's table.
constexpr const orvane_layout_t& layout_named(std::string_view name) {
  const orvane_layout_t* layout = orvane_layouts;
  while (layout->name != name) ++layout;
  return *layout;
}

// A layout's name as a part of a test's: "7_1_4".
inline std::string test_name(const orvane_layout_t& layout) {
  std::string name = layout.name;
  std::ranges::replace(name, '.', '_');
  return name;
}

class EffectHost {
 public:
  EffectHost();  // creates the instance; handle() is null where that failed
  ~EffectHost();
  EffectHost(const EffectHost&) = delete;
  EffectHost& operator=(const EffectHost&) = delete;

  effect_handle_t handle() const { return handle_; }
  int32_t create_result() const { return create_result_; }

  int32_t command(uint32_t code, uint32_t size, void* data, uint32_t* reply_size, void* reply);

  // A command with a status reply: the command's result where it failed, else the replied status.
  int32_t send(uint32_t code, uint32_t size = 0, void* data = nullptr);
  int32_t configure(uint32_t mask, uint8_t access_mode = EFFECT_BUFFER_ACCESS_WRITE);
  int32_t configure_and_enable(uint32_t mask, uint8_t access_mode = EFFECT_BUFFER_ACCESS_WRITE);

  // Sets a parameter from the bytes of `value`; `vsize` is what the command claims they are.
  int32_t set_parameter(int32_t id, const std::vector<uint8_t>& value, uint32_t vsize);

  // Sets a parameter that is one float.
  int32_t set_float(int32_t id, float value);

  // Sets the pose of the stage in the head's frame: rotation vector in radians (+x right, +y ahead,
  // +z up).
  int32_t set_pose(float x, float y, float z);

  // Renders one block of interleaved samples into `out`, which holds stereo frames.
  int32_t process(std::vector<float>& in, std::vector<float>& out);

  // Renders interleaved `in` of `channels` channels in blocks of the given lengths, taken in turn
  // (the last is cut to what is left), over silence. Empty when a block fails.
  std::vector<float> render(const std::vector<float>& in, size_t channels,
                            const std::vector<size_t>& blocks);

 private:
  effect_handle_t handle_ = nullptr;
  int32_t create_result_;
};

#endif  // ORVANE_TESTS_SUPPORT_EFFECT_HOST_H_
