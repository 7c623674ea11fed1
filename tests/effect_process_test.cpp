// Rendering through the effect: where channels are heard, how blocks and access modes behave, and
// commands while a block is under way.
#include <errno.h>
#include <gtest/gtest.h>
#include <math.h>

#include <atomic>
#include <string>
#include <thread>

#include "tests/support/effect_host.h"
#include "tests/support/log_capture.h"
#include "tests/support/signals.h"

namespace {

// Energy at one ear (0 left, 1 right) of interleaved stereo.
double ear_energy(const std::vector<float>& stereo, size_t ear) {
  double sum = 0.0;
  for (size_t i = ear; i < stereo.size(); i += 2) sum += pow(static_cast<double>(stereo[i]), 2.0);
  return sum;
}

// The side that interleaved stereo comes from: Left, Right or Centre, where the ears differ by less
// than a decibel.
char side(const std::vector<float>& stereo) {
  const double left_db = 10.0 * log10(ear_energy(stereo, 0) / ear_energy(stereo, 1));
  return left_db > 1.0 ? 'L' : left_db < -1.0 ? 'R' : 'C';
}

// Interleaved noise in one channel only.
std::vector<float> noise_in_channel(size_t channel, size_t channels, size_t frames) {
  const std::vector<float> signal = noise(frames, 1);
  std::vector<float> in(channels * frames);
  for (size_t f = 0; f < frames; ++f) in[f * channels + channel] = signal[f];
  return in;
}

TEST(EffectLayoutTest, PlacesEveryChannelAtItsSide) {
  const struct {
    uint32_t mask;
    std::string sides;  // of each channel: Left, Right or Centre
  } layouts[] = {{AUDIO_CHANNEL_OUT_5POINT1, "LRCCLR"},
                 {AUDIO_CHANNEL_OUT_7POINT1, "LRCCLRLR"},
                 {AUDIO_CHANNEL_OUT_5POINT1POINT2, "LRCCLRLR"},
                 {AUDIO_CHANNEL_OUT_5POINT1POINT4, "LRCCLRLRLR"},
                 {AUDIO_CHANNEL_OUT_7POINT1POINT4, "LRCCLRLRLRLR"},
                 {AUDIO_CHANNEL_OUT_22POINT2, "LRCCLRLRLRLRLRCCCCLRLRCC"}};
  for (const auto& layout : layouts) {
    EffectHost host;
    ASSERT_EQ(0, host.configure_and_enable(layout.mask));
    const size_t channels = layout.sides.size();
    for (size_t k = 0; k < channels; ++k) {
      SCOPED_TRACE(layout.sides + ", channel " + std::to_string(k));
      host.command(EFFECT_CMD_RESET, 0, nullptr, nullptr, nullptr);
      const auto out = host.render(noise_in_channel(k, channels, 2048), channels, {512});
      ASSERT_EQ(4096u, out.size());
      ASSERT_GT(peak(out), 0.01f);
      EXPECT_EQ(layout.sides[k], side(out));
    }
  }
}

TEST(EffectLayoutTest, EveryLayoutIsFiniteInEveryRoom) {
  const std::pair<uint32_t, size_t> layouts[] = {
      {AUDIO_CHANNEL_OUT_5POINT1, 6},        {AUDIO_CHANNEL_OUT_7POINT1, 8},
      {AUDIO_CHANNEL_OUT_5POINT1POINT2, 8},  {AUDIO_CHANNEL_OUT_5POINT1POINT4, 10},
      {AUDIO_CHANNEL_OUT_7POINT1POINT4, 12}, {AUDIO_CHANNEL_OUT_22POINT2, 24}};
  for (const auto& [mask, channels] : layouts) {
    EffectHost host;
    ASSERT_EQ(0, host.configure_and_enable(mask));
    for (int mode = 0; mode <= 4; ++mode) {
      ASSERT_EQ(0, host.set_float(200, static_cast<float>(mode)));
      const auto out = host.render(noise(channels * 3000, 2), channels, {1000});
      ASSERT_EQ(6000u, out.size());
      const float loudest = peak(out);
      EXPECT_TRUE(loudest > 0.1f && loudest < 100.0f)
          << channels << ", " << mode << ": " << loudest;
      // What is in flight goes on when the input stops.
      const auto tail = host.render(std::vector<float>(channels * 3000), channels, {1000});
      EXPECT_GT(peak({tail.begin() + 4000, tail.end()}), 1e-4f);
    }
  }
}

TEST(EffectPoseTest, TurnsTheStageAgainstTheHead) {
  constexpr size_t kFrontCentre = 2, kSideLeft = 6, kTop = 15;  // channels of 22.2
  const struct {
    const char* head;
    float x, y, z;  // rotation of the stage as the head sees it
    size_t channel;
    char side;
  } poses[] = {{"turned left", 0.0f, 0.0f, -1.0f, kFrontCentre, 'R'},
               {"turned right", 0.0f, 0.0f, 1.0f, kFrontCentre, 'L'},
               {"facing its left side", 0.0f, 0.0f, -1.5708f, kSideLeft, 'C'},
               {"nodding", 1.0f, 0.0f, 0.0f, kSideLeft, 'L'},
               {"on the left shoulder", 0.0f, 1.5708f, 0.0f, kTop, 'R'}};
  EffectHost host;
  ASSERT_EQ(0, host.configure_and_enable(AUDIO_CHANNEL_OUT_22POINT2));
  for (const auto& pose : poses) {
    SCOPED_TRACE(pose.head);
    ASSERT_EQ(0, host.set_pose(pose.x, pose.y, pose.z));
    const auto in = noise_in_channel(pose.channel, 24, 2048);
    host.render(in, 24, {256});  // while the pose fades in
    EXPECT_EQ(pose.side, side(host.render(in, 24, {256})));
  }
}

TEST(EffectBlockTest, DoesNotShowInTheSound) {
  const auto in = noise(8 * 4096, 3);
  EffectHost host;
  ASSERT_EQ(0, host.configure_and_enable(AUDIO_CHANNEL_OUT_7POINT1));
  const auto whole = host.render(in, 8, {1024});
  for (const std::vector<size_t>& blocks : {std::vector<size_t>{256}, {1000, 24}, {17, 480, 3}}) {
    host.command(EFFECT_CMD_RESET, 0, nullptr, nullptr, nullptr);
    // Transforms of other partitions round otherwise: 3e-7 measured.
    EXPECT_LT(max_difference(whole, host.render(in, 8, blocks)), 2e-6f * peak(whole));
  }
}

TEST(EffectBlockTest, IsWrittenOrAddedAsConfiguredAlsoInPlace) {
  const auto in = noise(6 * 256, 4);
  const auto before = noise(2 * 256, 5);
  EffectHost writer, adder, in_place;
  ASSERT_EQ(0, writer.configure_and_enable(AUDIO_CHANNEL_OUT_5POINT1));
  ASSERT_EQ(0,
            adder.configure_and_enable(AUDIO_CHANNEL_OUT_5POINT1, EFFECT_BUFFER_ACCESS_ACCUMULATE));
  ASSERT_EQ(0, in_place.configure_and_enable(AUDIO_CHANNEL_OUT_5POINT1));
  auto samples = in;
  auto written = std::vector<float>(before.size(), NAN), added = before;
  ASSERT_EQ(0, writer.process(samples, written));
  ASSERT_EQ(0, adder.process(samples, added));
  for (size_t i = 0; i < before.size(); ++i) ASSERT_EQ(written[i] + before[i], added[i]);

  audio_buffer_t buffer = {256, {samples.data()}};
  ASSERT_EQ(0, (*in_place.handle())->process(in_place.handle(), &buffer, &buffer));
  samples.resize(written.size());
  EXPECT_EQ(written, samples);
}

TEST(EffectBlockTest, IsRefusedWithoutTouchingTheOutput) {
  EffectHost host;
  ASSERT_EQ(0, host.configure_and_enable(AUDIO_CHANNEL_OUT_5POINT1));
  std::vector<float> in(6 * 1025), out(2 * 1025, 0.5f);
  const std::vector<float> untouched = out;
  const auto process = [&](size_t in_frames, float* in_data, size_t out_frames, float* out_data) {
    audio_buffer_t in_buffer = {in_frames, {in_data}}, out_buffer = {out_frames, {out_data}};
    return (*host.handle())->process(host.handle(), &in_buffer, &out_buffer);
  };
  EXPECT_EQ(-EINVAL, process(64, in.data(), 63, out.data()));
  EXPECT_EQ(-EINVAL, process(64, nullptr, 64, out.data()));
  EXPECT_EQ(-EINVAL, process(64, in.data(), 64, nullptr));
  EXPECT_EQ(0, process(0, in.data(), 0, out.data()));
  const LogCapture log;
  EXPECT_EQ(-EINVAL, process(size_t{1} << 32, in.data(), size_t{1} << 32, out.data()));
  EXPECT_EQ(-1, process(1025, in.data(), 1025, out.data()));
  EXPECT_EQ((std::vector<std::string>{"E orvane_Process error: orvane buffer allocation error",
                                      "E orvane_Process: Error in orvane process 2"}),
            log.problems());
  EXPECT_EQ(untouched, out);
}

TEST(EffectThreadsTest, CommandsMayArriveDuringABlock) {
  EffectHost host;
  ASSERT_EQ(0, host.configure_and_enable(AUDIO_CHANNEL_OUT_5POINT1));
  std::atomic<bool> done = false;
  std::atomic<int> rendered = 0;
  std::thread audio([&] {
    // Room for the larger of the two layouts.
    auto in = noise(8 * 64, 6);
    while (!done) {
      std::vector<float> out(2 * 64);
      const int32_t result = host.process(in, out);
      EXPECT_TRUE(result == 0 || result == -EINVAL || result == -ENODATA || result == -1) << result;
      if (result == 0) ++rendered;
      EXPECT_TRUE(isfinite(peak(out)));
    }
  });
  for (int i = 0; i < 20; ++i) {
    for (int j = 0; j < 20; ++j) host.set_pose(0.0f, 0.0f, 0.05f * static_cast<float>(j));
    host.set_float(103, 0.01f * static_cast<float>(i));
    host.set_float(200, static_cast<float>(i % 5));
    host.set_float(201, 2.0f + 0.5f * static_cast<float>(i));
    host.command(EFFECT_CMD_RESET, 0, nullptr, nullptr, nullptr);
    if (i % 5 == 0) host.configure(i % 2 ? AUDIO_CHANNEL_OUT_5POINT1 : AUDIO_CHANNEL_OUT_7POINT1);
    host.send(EFFECT_CMD_DISABLE);
    host.send(EFFECT_CMD_ENABLE);
  }
  for (const int so_far = rendered; rendered == so_far;) std::this_thread::yield();
  done = true;
  audio.join();
}

}  // namespace
