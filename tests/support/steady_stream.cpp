// SPDX-License-Identifier: Apache-2.0
#include "tests/support/steady_stream.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "renderer/parameters.h"
#include "tests/support/signals.h"

SteadyStream::SteadyStream(const stream_scene_t& scene)
    : noise_(noise(size_t{scene.layout.num_channels} * scene.frames, 1)),
      in_(noise_),
      out_(2 * size_t{scene.frames}) {
  EXPECT_EQ(0, host_.configure_and_enable(scene.layout.mask));
  EXPECT_EQ(0, host_.set_float(orvane_reverb_parameter(UBR_REVERB_PULSE_SPACING)->number,
                               scene.dense_tail ? 3.0f : 80.0f));  // samples per pulse
  EXPECT_EQ(0,
            host_.set_float(ORVANE_PARAM_REFLECTIONS, static_cast<float>(scene.reflections_mode)));
  for (int block = 0; block < 4; ++block)
    EXPECT_TRUE((block >= 2 || turn_head()) && render_block());
}

void SteadyStream::set_level(float peak) {
  std::ranges::transform(noise_, in_.begin(), [=](float sample) { return peak * sample; });
}

bool SteadyStream::turn_head() {
  struct {
    uint32_t status, psize, vsize, id;
    float pose[6];
  } command = {0, 4, 24, SPATIALIZER_PARAM_HEAD_TO_STAGE, {0.0f, 0.0f, 0.0f, 0.1f, -0.2f, angle_}};
  angle_ = angle_ < 3.0f ? angle_ + 0.05f : -3.0f;
  return host_.send(EFFECT_CMD_SET_PARAM, sizeof(command), &command) == 0;
}

bool SteadyStream::render_block() { return host_.process(in_, out_) == 0; }
