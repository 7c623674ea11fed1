// SPDX-License-Identifier: Apache-2.0
// A stream of equal blocks through an enabled instance, driven as the platform drives it, without
// memory or system calls of its own once it runs.
#ifndef ORVANE_TESTS_SUPPORT_STEADY_STREAM_H_
#define ORVANE_TESTS_SUPPORT_STEADY_STREAM_H_

#include <stdint.h>

#include <vector>

#include "tests/support/effect_host.h"

struct stream_scene_t {
  orvane_layout_t layout;
  int reflections_mode;
  bool dense_tail;  // so many pulses that the tail takes transforms
  uint32_t frames;  // of a block
};

class SteadyStream {
 public:
  // Sets everything up and renders the first blocks, in which buffers are made.
  explicit SteadyStream(const stream_scene_t& scene);

  EffectHost& host() { return host_; }

  // The blocks from now on are noise of that peak; 1 at first.
  void set_level(float peak);

  // A new pose; render_block without it is one of a static head.
  bool turn_head();
  bool render_block();

 private:
  EffectHost host_;
  std::vector<float> noise_, in_, out_;
  float angle_ = 0.0f;
};

#endif  // ORVANE_TESTS_SUPPORT_STEADY_STREAM_H_
