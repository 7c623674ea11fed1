// SPDX-License-Identifier: Apache-2.0
// What runs in the audio callback: bed and head in, two ears out.
#ifndef ORVANE_TOOLS_LIVE_ENGINE_H_
#define ORVANE_TOOLS_LIVE_ENGINE_H_

#include <atomic>
#include <cstddef>
#include <exception>
#include <vector>

#include "tools/live/bed_player.h"
#include "tools/live/head_glide.h"
#include "tools/live/pose_slot.h"
#include "tools/render/channel_map.h"
#include "tools/render/effect_host.h"

namespace live {

class Engine {
 public:
  // The bed comes from `player`, or from the callback's inputs where that is null. All must outlive
  // this object; the effect is this object's alone from now on, so that its lock is always free.
  Engine(render::EffectHost* effect, const render::ChannelPlan& plan, BedPlayer* player,
         PoseSlot* poses, float gain);

  // Gets ready for callbacks of `frames` frames: has the effect render a silent block, in which it
  // makes its buffers and turns to the newest pose. Not while process() may run.
  void set_period(size_t frames) noexcept;

  // Ends the silence that is put out before.
  void start() { started_.store(true, std::memory_order_release); }

  // The audio callback. Renders one period from planar inputs, one per channel of the plan's file
  // (unused with a player), to left and right. Each block turns the head on
  // towards the pose that is newest when it begins. Neither waits, allocates nor calls the system,
  // until the effect fails; then silence.
  void process(const float* const* inputs, float* const* ears, size_t frames) noexcept;

  // Throws the Failure that one of the above has met.
  void check() const;

 private:
  void render_block(const float* const* inputs, float* const* ears, size_t begin, size_t frames);
  void read_inputs(const float* const* inputs, size_t begin, size_t frames);
  void turn_head(size_t frames);
  void fail();

  render::EffectHost* effect_;
  const render::ChannelPlan& plan_;
  BedPlayer* player_;
  PoseSlot* poses_;
  HeadGlide head_;
  float gain_;
  size_t block_frames_ = render::kEffectMaxFrames;
  std::vector<float> bed_, stereo_;  // one block, interleaved
  std::atomic<bool> started_ = false;
  std::atomic<bool> failed_ = false;  // `failure_` is set
  std::exception_ptr failure_;
};

// Length of the equal blocks, none longer than the effect takes, that make up a period.
size_t block_frames_of(size_t period_frames);

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_ENGINE_H_
