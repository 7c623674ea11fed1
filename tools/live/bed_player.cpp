// SPDX-License-Identifier: Apache-2.0
#include "tools/live/bed_player.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <utility>
#include <vector>

#include "tools/render/bed_source.h"
#include "tools/render/effect_host.h"
#include "tools/render/interrupt.h"

namespace live {
namespace {

constexpr size_t kRingFrames = render::kEffectRateHz;  // a second
constexpr size_t kReadFrames = 4096;
constexpr std::chrono::milliseconds kPause(20);  // between looks whether there is room

}  // namespace

BedPlayer::BedPlayer(render::InputRequest bed, const render::ChannelPlan& plan, size_t tail_frames,
                     bool loop)
    : bed_(std::move(bed)),
      plan_(plan),
      channels_(plan.file_channels.size()),
      tail_frames_(tail_frames),
      loop_(loop),
      ring_(jack_ringbuffer_create(kRingFrames * channels_ * sizeof(float)), jack_ringbuffer_free) {
  if (!ring_) throw std::bad_alloc();
  thread_ = std::thread([this] { read_ahead(); });
  while (!filled_.load(std::memory_order_acquire)) std::this_thread::sleep_for(kPause);
}

BedPlayer::~BedPlayer() {
  stop_ = true;
  thread_.join();
}

void BedPlayer::read_ahead() {
  try {
    do {
      read_once();
    } while (loop_ && !stop_);
    ended_.store(true, std::memory_order_release);
  } catch (...) {
    failure_ = std::current_exception();
    failed_.store(true, std::memory_order_release);
  }
  filled_.store(true, std::memory_order_release);
}

void BedPlayer::read_once() {
  const auto input = render::audio_input_open(bed_);
  render::BedSource source(*input, plan_);
  std::vector<float> bed(kReadFrames * channels_);
  while (wait_for_room(kReadFrames)) {
    const size_t frames = source.read(bed.data(), kReadFrames);
    if (frames == 0) return print_warnings(source.warnings());
    jack_ringbuffer_write(ring_.get(), reinterpret_cast<const char*>(bed.data()),
                          frames * channels_ * sizeof(float));
  }
}

// Of the first time through: a loop would repeat them.
void BedPlayer::print_warnings(const std::vector<std::string>& warnings) {
  if (warned_) return;
  warned_ = true;
  for (const std::string& warning : warnings) {
    std::fprintf(stderr, "orvane-live: %s: warning: %s\n", bed_.path.c_str(), warning.c_str());
  }
}

// False when there is no more need.
bool BedPlayer::wait_for_room(size_t frames) {
  while (!stop_) {
    if (jack_ringbuffer_write_space(ring_.get()) >= frames * channels_ * sizeof(float)) return true;
    filled_.store(true, std::memory_order_release);
    std::this_thread::sleep_for(kPause);
  }
  return false;
}

void BedPlayer::read(float* bed, size_t frames) {
  const bool ended = ended_.load(std::memory_order_acquire);  // before the look into the ring
  const size_t frame_bytes = channels_ * sizeof(float);
  const size_t ready = jack_ringbuffer_read_space(ring_.get()) / frame_bytes;
  const size_t taken = std::min(frames, ready);
  jack_ringbuffer_read(ring_.get(), reinterpret_cast<char*>(bed), taken * frame_bytes);
  std::fill(bed + taken * channels_, bed + frames * channels_, 0.0f);
  (ended ? silent_frames_ : missing_frames_).fetch_add(frames - taken, std::memory_order_relaxed);
}

void BedPlayer::check() const {
  if (failed_.load(std::memory_order_acquire)) std::rethrow_exception(failure_);
}

}  // namespace live
