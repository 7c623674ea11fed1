// SPDX-License-Identifier: Apache-2.0
// A bed file on its way to the audio callback: read ahead in a thread of its own.
#ifndef ORVANE_TOOLS_LIVE_BED_PLAYER_H_
#define ORVANE_TOOLS_LIVE_BED_PLAYER_H_

#include <jack/ringbuffer.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tools/render/audio_input.h"
#include "tools/render/channel_map.h"

namespace live {

class BedPlayer {
 public:
  // Opens `bed`, no pipe, and reads the first second. `plan` must outlive this object. After the
  // last frame `tail_frames` of silence follow, or with `loop` the first frame again. Throws
  // Failure.
  BedPlayer(render::InputRequest bed, const render::ChannelPlan& plan, size_t tail_frames,
            bool loop);
  ~BedPlayer();
  BedPlayer(const BedPlayer&) = delete;
  BedPlayer& operator=(const BedPlayer&) = delete;

  // For the audio callback: fills `bed` with interleaved frames in the effect's order, with silence
  // where there are none. Neither waits nor allocates.
  void read(float* bed, size_t frames);

  // Whether the bed and its tail have been handed out.
  bool finished() const { return silent_frames_.load(std::memory_order_relaxed) >= tail_frames_; }

  // Frames that were not read in time; silence stood in for them.
  uint64_t missing_frames() const { return missing_frames_.load(std::memory_order_relaxed); }

  // Throws the Failure that the reading thread has met.
  void check() const;

 private:
  void read_ahead();
  void read_once();
  void print_warnings(const std::vector<std::string>& warnings);
  bool wait_for_room(size_t frames);

  render::InputRequest bed_;
  const render::ChannelPlan& plan_;
  size_t channels_, tail_frames_;
  bool loop_;
  bool warned_ = false;                                                    // of the reading thread
  std::unique_ptr<jack_ringbuffer_t, void (*)(jack_ringbuffer_t*)> ring_;  // of whole frames
  std::atomic<bool> filled_ = false;  // for the first time, or the file is shorter
  std::atomic<bool> ended_ = false;   // all frames are in the ring
  std::atomic<bool> failed_ = false;  // `failure_` is set
  std::atomic<bool> stop_ = false;
  std::atomic<uint64_t> silent_frames_ = 0;  // handed out after the end
  std::atomic<uint64_t> missing_frames_ = 0;
  std::exception_ptr failure_;
  std::thread thread_;
};

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_BED_PLAYER_H_
