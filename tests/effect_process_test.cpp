// SPDX-License-Identifier: Apache-2.0
// Rendering through the effect: where channels are heard, how blocks and access modes behave.
#include <errno.h>
#include <gtest/gtest.h>
#include <math.h>

#include <string>

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
// than half a decibel.
char side(const std::vector<float>& stereo) {
  const double left_db = 10.0 * log10(ear_energy(stereo, 0) / ear_energy(stereo, 1));
  return left_db > 0.5 ? 'L' : left_db < -0.5 ? 'R' : 'C';
}

// Interleaved noise in one channel only.
std::vector<float> noise_in_channel(size_t channel, size_t channels, size_t frames) {
  const std::vector<float> signal = noise(frames, 1);
  std::vector<float> in(channels * frames);
  for (size_t f = 0; f < frames; ++f) in[f * channels + channel] = signal[f];
  return in;
}

// The side that noise in one channel comes from, once what was heard before has gone and the pose
// is reached.
char side_of_channel(EffectHost& host, size_t channel, size_t channels) {
  const auto in = noise_in_channel(channel, channels, 512);
  host.render(in, channels, {512});
  const auto out = host.render(in, channels, {512});
  EXPECT_GT(peak(out), 0.01f);
  return side(out);
}

TEST(EffectLayoutTest, PlacesEveryChannelAtItsSide) {
  // Turned to the left, the head has what is ahead at its right ear; 37.5 degrees lie between front
  // pairs at 30 and at 45. On the left shoulder, it has what is above there.
  const struct {
    const char* head;
    float x, y, z;  // rotation of the stage as the head sees it
  } poses[] = {{"ahead", 0.0f, 0.0f, 0.0f},
               {"turned by 37.5 degrees", 0.0f, 0.0f, -0.6545f},
               {"turned by 90 degrees", 0.0f, 0.0f, -1.5708f},
               {"on the left shoulder", 0.0f, 1.5708f, 0.0f}};
  constexpr size_t kNumPoses = std::size(poses);
  const struct {
    uint32_t mask;
    std::string sides[kNumPoses];  // of each channel: Left, Right or Centre
  } layouts[] = {
      {AUDIO_CHANNEL_OUT_5POINT1, {"LRCCLR", "LRRCLR", "RRRCLL", "CCCCCC"}},
      {AUDIO_CHANNEL_OUT_7POINT1, {"LRCCLRLR", "LRRCLRLR", "RRRCLLCC", "CCCCCCCC"}},
      {layout_named("5.1.2").mask, {"LRCCLRLR", "RRRCLRRR", "RRRCLLRR", "CCCCCCRR"}},
      {layout_named("5.1.4").mask, {"LRCCLRLRLR", "RRRCLRRRLR", "RRRCLLRRLL", "CCCCCCRRRR"}},
      {layout_named("7.1.4").mask,
       {"LRCCLRLRLRLR", "LRRCLRLRLRLR", "RRRCLLCCRRLL", "CCCCCCCCRRRR"}},
      {layout_named("22.2").mask,
       {"LRCCLRLRLRLRLRCCCCLRLRCC", "LRRCLRLRLRLRRRLCRLLRLRRC", "RRRCLLCCRRLLRRLCRLCCRRRC",
        "CCCCCCCCRRRRCCCRRRRRLLLC"}}};
  for (const auto& layout : layouts) {
    EffectHost host;
    ASSERT_EQ(0, host.configure_and_enable(layout.mask));
    ASSERT_EQ(0, host.set_float(100, 0.0f));  // no tail, whose ears differ
    for (size_t p = 0; p < kNumPoses; ++p) {
      SCOPED_TRACE(layout.sides[0] + ", " + poses[p].head);
      ASSERT_EQ(0, host.set_pose(poses[p].x, poses[p].y, poses[p].z));
      const size_t channels = layout.sides[p].size();
      std::string heard;
      for (size_t k = 0; k < channels; ++k) heard += side_of_channel(host, k, channels);
      EXPECT_EQ(layout.sides[p], heard);
    }
  }
}

TEST(EffectPoseTest, NodsAndTurnsAboutAllAxesAtOnce) {
  constexpr size_t kSideLeft = 6, kTop = 15;  // channels of 22.2
  EffectHost host;
  ASSERT_EQ(0, host.configure_and_enable(layout_named("22.2").mask));
  ASSERT_EQ(0, host.set_float(100, 0.0f));
  ASSERT_EQ(0, host.set_pose(1.0f, 0.0f, 0.0f));
  EXPECT_EQ('L', side_of_channel(host, kSideLeft, 24));
  // A third of a turn: each axis takes another's place, and a different one's if a sign is wrong.
  ASSERT_EQ(0, host.set_pose(1.2092f, 1.2092f, 1.2092f));
  EXPECT_EQ('R', side_of_channel(host, kTop, 24));
}

TEST(EffectPoseTest, IsHeardInTheNextBlockAndAloneFromTheOneAfter) {
  constexpr size_t kBlock = 480, kFilterMemory = 255;
  const auto in = noise(8 * kBlock, 8);
  EffectHost still, turned, turning;
  for (EffectHost* host : {&still, &turned, &turning}) {
    ASSERT_EQ(0, host->configure_and_enable(AUDIO_CHANNEL_OUT_7POINT1));
    ASSERT_EQ(0, host->set_float(100, 0.0f));
  }
  const auto turn = [](EffectHost& host) { return host.set_pose(0.0f, 0.0f, 1.5f); };
  ASSERT_EQ(0, turn(turned));
  for (EffectHost* host : {&still, &turned, &turning}) host->render(in, 8, {kBlock});
  ASSERT_EQ(0, turn(turning));
  const auto without = still.render(in, 8, {kBlock}), next = turning.render(in, 8, {kBlock});
  EXPECT_GT(max_difference(without, next), 0.1f * peak(without));
  turned.render(in, 8, {kBlock});
  auto whole = turned.render(in, 8, {kBlock});
  auto after = turning.render(in, 8, {kBlock});
  for (auto* ears : {&whole, &after}) ears->erase(ears->begin(), ears->begin() + 2 * kFilterMemory);
  // A pose that has just been reached and one reached earlier are rendered with different rounding:
  // 4e-7 of the peak measured.
  EXPECT_LT(max_difference(whole, after), 2e-6f * peak(whole));
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

TEST(EffectBlockTest, IsAddedAfterInitAndStartsSilentAfterEnable) {
  EffectHost host;
  ASSERT_EQ(0, host.configure_and_enable(AUDIO_CHANNEL_OUT_7POINT1, EFFECT_BUFFER_ACCESS_WRITE));
  ASSERT_LT(0.01f, peak(host.render(noise(8 * 64, 7), 8, {64})));
  ASSERT_EQ(0, host.send(EFFECT_CMD_INIT));
  ASSERT_EQ(0, host.send(EFFECT_CMD_ENABLE));
  std::vector<float> silence(8 * 64), out(2 * 64, 0.5f);
  ASSERT_EQ(0, host.process(silence, out));
  EXPECT_EQ(std::vector<float>(2 * 64, 0.5f), out);
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
  audio_buffer_t buffer = {64, {in.data()}};
  EXPECT_EQ(-EINVAL, (*host.handle())->process(host.handle(), nullptr, &buffer));
  EXPECT_EQ(-EINVAL, (*host.handle())->process(host.handle(), &buffer, nullptr));
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

}  // namespace
