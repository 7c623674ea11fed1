// SPDX-License-Identifier: Apache-2.0
#include "tools/ears/renderer_host.h"

#include <algorithm>
#include <utility>

#include "renderer/loudspeaker_layouts.h"
#include "renderer/parameters.h"
#include "tools/dynamic_library.h"
#include "tools/render/failure.h"

namespace ears {
namespace {

template <typename Function>
void find(void* library, const std::string& path, const char* name, Function* function) {
  *function = reinterpret_cast<Function>(dlsym(library, name));
  if (!*function) throw render::Failure(path, std::string("has no ") + name);
}

}  // namespace

RendererHost::RendererHost(void* library, const std::string& path, EarTables tables)
    : path_(path), tables_(std::move(tables)) {
  find(library, path, "ubr_init", &f_.init);
  find(library, path, "ubr_cleanup", &f_.cleanup);
  find(library, path, "ubr_reset", &f_.reset);
  find(library, path, "ubr_process", &f_.process);
  find(library, path, "ubr_compute_reflections", &f_.compute_reflections);
  find(library, path, "ubr_set_reflections_param", &f_.set_reflections_param);
  find(library, path, "ubr_set_responses", &f_.set_responses);
  find(library, path, "ubr_set_reverb_param", &f_.set_reverb_param);
  find(library, path, "ubr_set_source_position", &f_.set_source_position);
  find(library, path, "ubr_set_source_type", &f_.set_source_type);
  find(library, path, "ubr_set_user_orientation", &f_.set_user_orientation);
}

RendererHost::~RendererHost() { f_.cleanup(&renderer_); }

void RendererHost::require(uint32_t code, const char* what) const {
  if (code != UBR_OK) throw render::Failure(path_, what);
}

void RendererHost::configure(uint32_t channel_mask) {
  const orvane_layout_t* const layout = orvane_find_layout(channel_mask);
  if (!layout) throw render::Failure(path_, "refuses the configuration");
  f_.cleanup(&renderer_);
  channels_ = layout->num_channels;
  require(f_.init(&renderer_, UBR_INPUT_SOURCES, layout->num_channels, UBR_MODE_BINAURAL_TRACKED,
                  UBR_MAX_FRAME_SIZE, ORVANE_MAX_ORDER),
          "refuses the configuration");
  for (uint32_t i = 0; i < layout->num_channels; ++i) {
    const orvane_loudspeaker_t& speaker = layout->loudspeakers[i];
    const uint32_t type = speaker.is_lfe ? ENCODER_SOURCE_LFE : ENCODER_SOURCE_LOUDSPEAKER;
    require(f_.set_source_type(&renderer_, i, type), "refuses a loudspeaker");
    require(f_.set_source_position(&renderer_, i, speaker.x, speaker.y, speaker.z),
            "refuses a loudspeaker");
  }
  begin(channels_);
}

void RendererHost::configure_field(const Field& field) {
  const uint32_t order = std::max(field.order, field.least_order);
  const uint32_t inputs = (order + 1) * (order + 1);
  f_.cleanup(&renderer_);
  channels_ = size_t{field.order + 1} * (field.order + 1);
  require(f_.init(&renderer_, UBR_INPUT_AMBISONICS, inputs, UBR_MODE_BINAURAL_TRACKED,
                  UBR_MAX_FRAME_SIZE, order),
          "refuses the ambisonic input");
  begin(inputs);
}

// What follows ubr_init and the sources' places.
void RendererHost::begin(size_t inputs) {
  require(f_.reset(&renderer_), "cannot be reset");
  const auto table = [&](size_t ear) {
    return tables_.ears[ear].empty() ? nullptr : tables_.ears[ear].data();
  };
  require(f_.set_responses(&renderer_, table(0), table(1)), "refuses the ears");
  planar_.assign((inputs + kNumEars) * UBR_MAX_FRAME_SIZE, 0.0f);
  inputs_.clear();
  for (size_t c = 0; c < inputs; ++c) inputs_.push_back(&planar_[c * UBR_MAX_FRAME_SIZE]);
  for (size_t ear = 0; ear < kNumEars; ++ear) {
    ears_[ear] = &planar_[(inputs + ear) * UBR_MAX_FRAME_SIZE];
  }
}

// The renderer takes the inverse, the pose of the head, in its own axes.
void RendererHost::set_head_to_stage(const std::array<float, 6>& pose) {
  const float orientation[] = {-pose[4], pose[3], -pose[5]};
  require(f_.set_user_orientation(&renderer_, orientation, ROTATOR_ROTATION_VECTOR),
          "refuses the head pose");
}

void RendererHost::set_parameter(int32_t id, float value, const std::string& name) {
  const bool is_room = id >= ORVANE_PARAM_REFLECTIONS;
  const auto set = is_room ? f_.set_reflections_param : f_.set_reverb_param;
  const int32_t first = is_room ? ORVANE_PARAM_REFLECTIONS : ORVANE_PARAM_REVERB;
  const std::string what = "refuses " + name;
  require(set(&renderer_, static_cast<uint32_t>(id - first), value), what.c_str());
  if (is_room) require(f_.compute_reflections(&renderer_), what.c_str());
}

void RendererHost::process(const float* bed, float* ears, size_t frames) {
  for (size_t c = 0; c < channels_; ++c) {
    float* const row = &planar_[c * UBR_MAX_FRAME_SIZE];
    for (size_t t = 0; t < frames; ++t) row[t] = bed[t * channels_ + c];
  }
  require(f_.process(&renderer_, inputs_.data(), static_cast<uint32_t>(inputs_.size()),
                     ears_.data(), kNumEars, static_cast<uint32_t>(frames)),
          "fails to render a block");
  for (size_t t = 0; t < frames; ++t) {
    for (size_t ear = 0; ear < kNumEars; ++ear) ears[t * kNumEars + ear] = ears_[ear][t];
  }
}

}  // namespace ears
