// SPDX-License-Identifier: Apache-2.0
// The library's renderer with ears of its own. The effect has no way to set them, so that here the
// renderer itself is driven; with the built-in ears it gives the same samples as the effect.
#ifndef ORVANE_TOOLS_EARS_RENDERER_HOST_H_
#define ORVANE_TOOLS_EARS_RENDERER_HOST_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "renderer/ubr.h"
#include "tools/ears/ear_fit.h"

namespace ears {

// An ambisonic input of (order + 1)^2 channels, ACN and SN3D. Reflections need a field of the order
// that is their mode, which `least_order` sees to: the channels beyond the input's are silent.
struct Field {
  uint32_t order, least_order;
};

class RendererHost {
 public:
  // `library` is a handle of dlopen() for liborvane.so, which `path` names, and outlives this
  // object. Throws Failure where a function is missing or refuses.
  RendererHost(void* library, const std::string& path, EarTables tables);
  ~RendererHost();
  RendererHost(const RendererHost&) = delete;
  RendererHost& operator=(const RendererHost&) = delete;

  // The rest is as in render::EffectHost.
  void configure(uint32_t channel_mask);
  void configure_field(const Field& field);
  void set_head_to_stage(const std::array<float, 6>& pose);
  void set_parameter(int32_t id, float value, const std::string& name);
  void process(const float* bed, float* ears, size_t frames);

 private:
  struct Functions {
    decltype(&ubr_init) init;
    decltype(&ubr_cleanup) cleanup;
    decltype(&ubr_reset) reset;
    decltype(&ubr_process) process;
    decltype(&ubr_compute_reflections) compute_reflections;
    decltype(&ubr_set_reflections_param) set_reflections_param;
    decltype(&ubr_set_responses) set_responses;
    decltype(&ubr_set_reverb_param) set_reverb_param;
    decltype(&ubr_set_source_position) set_source_position;
    decltype(&ubr_set_source_type) set_source_type;
    decltype(&ubr_set_user_orientation) set_user_orientation;
  };

  void require(uint32_t code, const char* what) const;
  void begin(size_t inputs);

  std::string path_;
  EarTables tables_;
  Functions f_;
  ubr_t renderer_ = {};
  size_t channels_ = 0;        // of what process() is given
  std::vector<float> planar_;  // a block of the inputs, then of the ears
  std::vector<const float*> inputs_;
  std::array<float*, kNumEars> ears_ = {};
};

}  // namespace ears

#endif  // ORVANE_TOOLS_EARS_RENDERER_HOST_H_
