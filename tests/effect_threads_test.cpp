// SPDX-License-Identifier: Apache-2.0
// Commands that arrive while blocks are rendered or other commands are carried out. Races show
// under the thread sanitizer. A test lasts a second, or as many as ORVANE_TEST_SECONDS says.
#include <errno.h>
#include <gtest/gtest.h>
#include <math.h>
#include <stdlib.h>

#include <atomic>
#include <chrono>
#include <random>
#include <thread>

#include "effect/orvane.h"
#include "tests/support/effect_host.h"
#include "tests/support/signals.h"

#ifndef _WIN32
#include <unistd.h>
#endif

namespace {

#ifdef _WIN32
void alarm(unsigned) {}  // there is none: whoever starts the tests limits their time
#endif

uint32_t test_seconds() {
  const char* text = getenv("ORVANE_TEST_SECONDS");
  return text ? static_cast<uint32_t>(strtoul(text, nullptr, 10)) : 1;
}

// Ends the program by a signal when it lives for longer: a thread that hangs on a lock cannot be
// joined.
class TimeLimit {
 public:
  explicit TimeLimit(uint32_t seconds) { alarm(seconds); }
  ~TimeLimit() { alarm(0); }
  TimeLimit(const TimeLimit&) = delete;
  TimeLimit& operator=(const TimeLimit&) = delete;
};

// Parameters with values that are accepted whatever the others are. The tail is kept short, for the
// sake of the number of commands.
constexpr struct {
  int32_t first_id, last_id;
  float minimum, maximum;
} kParameters[] = {{100, 101, 0, 1},  {102, 102, 3, 6000},     {103, 103, 0, 0.1f},
                   {104, 104, 0, 1},  {105, 105, 0, 100},      {106, 106, 0, 1},
                   {107, 107, -1, 1}, {108, 108, 100, 12000},  {109, 109, 0.1f, 1},
                   {200, 200, 0, 4},  {201, 203, 1, 14},       {204, 209, 0, 1},
                   {210, 215, 1, 27}, {216, 217, -0.5f, 0.5f}, {218, 218, 0.1f, 1}};

// An instance with a thread that renders and one that sends commands, until it is stopped.
class BusyInstance {
 public:
  // `masks` are taken in turn by its configurations.
  BusyInstance(uint32_t first_mask, uint32_t second_mask, uint32_t seed)
      : masks_{first_mask, second_mask}, random_(seed) {
    EXPECT_EQ(0, host_.configure_and_enable(first_mask));
    audio_ = std::thread([this] { render(); });
    control_ = std::thread([this] { command(); });
  }

  void stop() {
    done_ = true;
    control_.join();
    audio_.join();
  }

  int refused() const { return refused_; }

 private:
  void render() {
    constexpr size_t kLengths[] = {64, 64, 64, 480, 480, 17, 1024};
    std::vector<float> in = noise(8 * 1024, 6);  // room for either layout
    for (size_t block = 0; !done_ || rendered_ == 0; ++block) {
      std::vector<float> out(2 * kLengths[block % std::size(kLengths)]);
      const int32_t result = host_.process(in, out);
      EXPECT_TRUE(result == 0 || result == -EINVAL || result == -ENODATA || result == -1) << result;
      if (result == 0) ++rendered_;
      if (result == -1) ++refused_;
      EXPECT_TRUE(isfinite(peak(out)));
    }
  }

  void command() {
    while (!done_) {
      for (int i = 0; i < 20; ++i) send_one();
      for (const int so_far = rendered_; rendered_ == so_far && !done_;) std::this_thread::yield();
    }
  }

  void send_one() {
    const uint32_t choice = pick(40);
    if (choice == 0) {
      EXPECT_EQ(0, host_.configure(masks_[++num_configured_ % 2]));
    } else if (choice == 1) {
      EXPECT_EQ(0, host_.send(EFFECT_CMD_INIT));
      EXPECT_EQ(0, host_.configure_and_enable(masks_[++num_configured_ % 2]));
    } else if (choice < 4) {
      EXPECT_EQ(0, host_.command(EFFECT_CMD_RESET, 0, nullptr, nullptr, nullptr));
    } else if (choice < 7) {
      EXPECT_EQ(0, host_.send(EFFECT_CMD_DISABLE));
      EXPECT_EQ(0, host_.send(EFFECT_CMD_ENABLE));
    } else if (choice < 20) {
      const auto& range = kParameters[pick(std::size(kParameters))];
      const int32_t last = range.last_id - range.first_id;
      const int32_t id =
          range.first_id + static_cast<int32_t>(pick(static_cast<uint32_t>(last) + 1));
      const float part = static_cast<float>(pick(1001)) * 1e-3f;
      const float value = range.minimum + part * (range.maximum - range.minimum);
      EXPECT_EQ(0, host_.set_float(id, value)) << id << " = " << value;
    } else {
      EXPECT_EQ(0, host_.set_pose(0.0f, 0.01f * static_cast<float>(pick(100)), 0.5f));
    }
  }

  uint32_t pick(size_t count) { return static_cast<uint32_t>(random_() % count); }

  EffectHost host_;
  uint32_t masks_[2];
  std::mt19937 random_;  // of the control thread
  std::atomic<bool> done_ = false;
  uint32_t num_configured_ = 0;
  std::atomic<int> rendered_ = 0, refused_ = 0;
  std::thread audio_, control_;
};

TEST(EffectThreadsTest, CommandsMayArriveDuringABlock) {
  const uint32_t seconds = test_seconds();
  const TimeLimit limit(seconds + 120);
  BusyInstance same_count(layout_named("5.1.2").mask, AUDIO_CHANNEL_OUT_7POINT1, 1);
  BusyInstance other_count(AUDIO_CHANNEL_OUT_5POINT1, AUDIO_CHANNEL_OUT_7POINT1, 2);
  std::this_thread::sleep_for(std::chrono::seconds(seconds));
  same_count.stop();
  other_count.stop();
  EXPECT_EQ(0, same_count.refused());
  EXPECT_EQ(0, other_count.refused());
}

float stored_setting(const EffectHost& host, float vn_config_t::*setting) {
  orvane_object_t& object = orvane_module(host.handle())->object;
  const ScopedLock lock(&object.mutex);
  return object.renderer->reverb->velvet_noise.settings.*setting;
}

// Sets one parameter of the reverb over and over. Returns how often its last value had gone
// before the next.
int count_lost_settings(EffectHost& host, int32_t id, float vn_config_t::*setting,
                        const std::atomic<bool>& done) {
  int lost = 0;
  float value = stored_setting(host, setting);
  for (int i = 0; !done; ++i) {
    lost += stored_setting(host, setting) != value;
    value = static_cast<float>(i % 100) * 1e-3f;
    EXPECT_EQ(0, host.set_float(id, value));
  }
  return lost;
}

TEST(EffectThreadsTest, TwoThreadsMaySetParametersDuringABlock) {
  const uint32_t seconds = test_seconds();
  const TimeLimit limit(seconds + 120);
  EffectHost host;
  ASSERT_EQ(0, host.configure_and_enable(AUDIO_CHANNEL_OUT_5POINT1));
  std::atomic<bool> done = false;
  int lost_decays = 0, lost_levels = 0;
  std::thread audio([&] {
    std::vector<float> in = noise(6 * 256, 6), out(2 * 256);
    while (!done) EXPECT_EQ(0, host.process(in, out));
  });
  std::thread one(
      [&] { lost_decays = count_lost_settings(host, 103, &vn_config_t::decay_s, done); });
  std::thread other(
      [&] { lost_levels = count_lost_settings(host, 104, &vn_config_t::level, done); });
  std::this_thread::sleep_for(std::chrono::seconds(seconds));
  done = true;
  for (std::thread* thread : {&audio, &one, &other}) thread->join();
  EXPECT_EQ(0, lost_decays);
  EXPECT_EQ(0, lost_levels);
}

// A block has looked at the state and waits for the mutex, and an instance is disabled meanwhile.
// Returns what the block returned: -ENODATA where it was too late to wait.
int32_t process_while_disabling(EffectHost& host, std::chrono::milliseconds head_start) {
  pthread_mutex_t* mutex = &orvane_module(host.handle())->object.mutex;
  std::vector<float> in = noise(size_t{6} * 64, 7), out(size_t{2} * 64, 0.25f);
  const std::vector<float> untouched = out;
  int32_t result = 0;
  pthread_mutex_lock(mutex);
  std::thread audio([&] { result = host.process(in, out); });
  std::this_thread::sleep_for(head_start);
  std::thread([&] { EXPECT_EQ(0, host.send(EFFECT_CMD_DISABLE)); }).join();
  pthread_mutex_unlock(mutex);
  audio.join();
  EXPECT_EQ(untouched, out);
  EXPECT_EQ(0, host.send(EFFECT_CMD_ENABLE));
  return result;
}

TEST(EffectThreadsTest, ABlockThatWaitsWhileItsInstanceIsDisabledIsRefused) {
  EffectHost host;
  ASSERT_EQ(0, host.configure_and_enable(AUDIO_CHANNEL_OUT_5POINT1));
  int32_t result = -ENODATA;
  for (std::chrono::milliseconds wait(5); result == -ENODATA && wait.count() < 5000; wait *= 2) {
    result = process_while_disabling(host, wait);
  }
  EXPECT_EQ(-EINVAL, result);
}

TEST(EffectThreadsTest, ReleaseWaitsForTheBlockUnderWay) {
  effect_handle_t handle = nullptr;
  ASSERT_EQ(0, AELI.create_effect(&kOrvaneUuid, 0, 0, &handle));
  std::atomic<bool> released = false;
  pthread_mutex_t* mutex = &orvane_module(handle)->object.mutex;
  pthread_mutex_lock(mutex);  // as a block does
  std::thread control([&] {
    EXPECT_EQ(0, AELI.release_effect(handle));
    released = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(released);
  pthread_mutex_unlock(mutex);
  control.join();
}

}  // namespace
