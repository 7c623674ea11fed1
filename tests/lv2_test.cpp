// SPDX-License-Identifier: Apache-2.0
// The LV2 plug-ins as a host runs them, beside the effect as a device runs it.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/lv2_host.h"
#include "tools/render/effect_host.h"
#include "tools/render/pose.h"
#include "tools/render/presets.h"
#include "tools/render/settings.h"
#ifdef ORVANE_COUNTS_HEAP
#include "tests/support/interposed.h"
#endif

namespace {

constexpr uint32_t kFrames = 48000;

// The effect in the same room, with the same head and other ears, perhaps; a silent block lets the
// head turn first.
Planar effect_ears(const char* layout, const render::Settings& settings, const render::Pose& head,
                   const Planar& bed, size_t block, const char* sofa = "") {
  render::EffectHost effect(ORVANE_LIBRARY, lv2_plugin::find_layout(layout)->mask, sofa);
  settings_send(settings, &effect);
  effect.set_head_to_stage(pose_head_to_stage(pose_rotation(head)));
  std::vector<float> interleaved(block * bed.size()), stereo(block * 2);
  effect.process(interleaved.data(), stereo.data(), block);
  const size_t length = bed[0].size();
  Planar ears(2, length);
  for (size_t at = 0; at < length; at += block) {
    const size_t frames = std::min(block, length - at);
    for (size_t i = 0; i < frames; ++i) {
      for (size_t c = 0; c < bed.size(); ++c) interleaved[i * bed.size() + c] = bed[c][at + i];
    }
    effect.process(interleaved.data(), stereo.data(), frames);
    for (size_t i = 0; i < frames; ++i) {
      for (size_t side = 0; side < 2; ++side) ears[side][at + i] = stereo[2 * i + side];
    }
  }
  return ears;
}

render::Settings preset(const std::string& name) {
  render::Settings settings;
  render::preset_read(ORVANE_PRESETS "/" + name + ".preset", &settings);
  return settings;
}

void furnish(Lv2Host& host, const render::Settings& settings) {
  for (const render::Settings::Write& write : settings.writes()) {
    host.parameter(write.parameter->number) = static_cast<float>(write.value);
  }
}

void turn(Lv2Host& host, const render::Pose& head) {
  host.control(host.ports().head(lv2_plugin::kYaw)) = static_cast<float>(head.yaw_deg);
  host.control(host.ports().head(lv2_plugin::kPitch)) = static_cast<float>(head.pitch_deg);
  host.control(host.ports().head(lv2_plugin::kRoll)) = static_cast<float>(head.roll_deg);
}

// Largest difference of frames `begin` to `end`, in shares of the peak.
float difference(const Planar& a, const Planar& b, size_t begin, size_t end) {
  float most = 0.0f;
  for (size_t side = 0; side < 2; ++side) {
    const float scale = 1.0f / peak(b[side]);
    for (size_t i = begin; i < end; ++i) {
      most = std::max(most, scale * std::fabs(a[side][i] - b[side][i]));
    }
  }
  return most;
}

TEST(Lv2Test, EqualsTheEffectAtAnyBlockLength) {
  constexpr uint32_t kShort = 8 * 1024;
  const render::Pose head = {70.0, -20.0, 10.0};
  for (const char* layout : {"5.1", "7.1", "7.1.4"}) {
    for (const char* room : {"dry", "hall"}) {
      SCOPED_TRACE(std::string(layout) + " " + room);
      Planar bed = planar_noise(lv2_plugin::find_layout(layout)->num_channels, kShort, 1);
      for (const uint32_t block : {100u, 1024u, 4096u}) {  // the effect takes 1024 at most
        Lv2Host host(layout);
        furnish(host, preset(room));
        turn(host, head);
        host.activate();
        Planar ears(2, kShort);
        host.render(bed, ears, 0, kShort, block);
        const Planar expected =
            effect_ears(layout, preset(room), head, bed, std::min(block, 1024u));
        EXPECT_LT(difference(ears, expected, 0, kShort), 2e-6f) << block;
        EXPECT_EQ(145.0f, host.control(host.ports().latency()));
      }
    }
  }
}

TEST(Lv2Test, WorkerBuildsTheRoomAndTheAudioThreadTakesNoMemory) {
  Planar bed = planar_noise(8, kFrames, 1), ears(2, kFrames), stays(2, kFrames);
  Lv2Host host("7.1"), still("7.1");
  for (Lv2Host* each : {&host, &still}) {
    furnish(*each, preset("dry"));
    each->activate();
  }
  furnish(host, preset("hall"));
  host.parameter(100) = 1.0f;
#ifdef ORVANE_COUNTS_HEAP
  interposed_begin(nullptr);
#endif
  host.render(bed, ears, 0, 4096, 256);
#ifdef ORVANE_COUNTS_HEAP
  EXPECT_EQ(0u, interposed_end().heap_calls);
#endif
  EXPECT_EQ(1u, host.num_jobs());
  still.render(bed, stays, 0, 4096, 256);
  EXPECT_EQ(0.0f, difference(ears, stays, 0, 4096)) << "the room is not there yet";

  host.work();
#ifdef ORVANE_COUNTS_HEAP
  interposed_begin(nullptr);
#endif
  host.render(bed, ears, 4096, 8192, 256);
#ifdef ORVANE_COUNTS_HEAP
  const interposed_counts_t counts = interposed_end();
  EXPECT_EQ(0u, counts.heap_calls);
  EXPECT_EQ(0u, counts.other_locks);
#endif
  EXPECT_EQ(1u, host.num_jobs()) << "the old room is released there too";
  host.work();
  host.render(bed, ears, 8192, kFrames, 256);
  EXPECT_EQ(0u, host.num_jobs());
  // The tail has forgotten what was before the room after decay, pre-delay and reflections.
  const Planar hall = effect_ears("7.1", preset("hall"), {}, bed, 256);
  EXPECT_LT(difference(ears, hall, 46000, kFrames), 2e-6f);
}

TEST(Lv2Test, RoomsFadeOverWithoutAStep) {
  Planar bed(8, kFrames), ears(2, kFrames);
  for (size_t i = 0; i < kFrames; ++i) {
    bed[2][i] = std::sin(2.0f * 3.14159265f * 200.0f / 48000.0f * static_cast<float>(i));
  }
  Lv2Host host("7.1");
  host.activate();
  host.render(bed, ears, 0, 9600, 480);
  const float level = peak(std::vector<float>(ears[0].begin() + 4800, ears[0].begin() + 9600));
  furnish(host, preset("dry"));
  for (uint32_t at = 9600; at < kFrames; at += 480) {
    host.render(bed, ears, at, at + 480, 480);
    host.work();
  }
  float step = 0.0f;  // a tone of 200 Hz changes by 0.026 of its level from frame to frame
  for (size_t i = 4800; i < kFrames; ++i) {
    step = std::max(step, std::fabs(ears[0][i] - ears[0][i - 1]));
  }
  EXPECT_LT(step, 0.04f * level);
}

TEST(Lv2Test, WithoutAWorkerTheRoomOfActivationStays) {
  Planar bed = planar_noise(6, kFrames, 1), ears(2, kFrames);
  Lv2Host host("5.1", false);
  furnish(host, preset("studio"));
  host.activate();
  furnish(host, preset("hall"));
  host.render(bed, ears, 0, kFrames, 1000);
  EXPECT_LT(difference(ears, effect_ears("5.1", preset("studio"), {}, bed, 512), 0, kFrames),
            2e-6f);
}

TEST(Lv2Test, EarsComeByAMessageOrWithTheState) {
  const std::string cache = ::testing::TempDir() + "lv2_ears";
  setenv("XDG_CACHE_HOME", cache.c_str(), 1);
  Planar bed = planar_noise(8, 8192, 1), ears(2, 8192);
  const Planar built_in = effect_ears("7.1", preset("dry"), {}, bed, 1024);
  const Planar expected = effect_ears("7.1", preset("dry"), {}, bed, 1024, ORVANE_SOFA);
  EXPECT_GT(difference(expected, built_in, 0, 8192), 0.01f);
  Lv2Host host("7.1"), later("7.1");
  for (Lv2Host* each : {&host, &later}) furnish(*each, preset("dry"));
  host.activate();
  EXPECT_EQ("", host.save());
  host.ask_for_ears(ORVANE_SOFA);
  EXPECT_EQ(1u, host.num_jobs());
  host.work();
  host.render(bed, ears, 0, 8192, 1024);
  host.work();
  EXPECT_LT(difference(ears, expected, 4096, 8192), 2e-6f);
  EXPECT_EQ(ORVANE_SOFA, host.save());

  EXPECT_EQ(LV2_STATE_SUCCESS, later.restore(ORVANE_SOFA));
  later.activate();
  later.render(bed, ears, 0, 8192, 1024);
  EXPECT_LT(difference(ears, expected, 0, 8192), 2e-6f);
  EXPECT_EQ(LV2_STATE_SUCCESS, later.restore(""));  // while it runs
  later.render(bed, ears, 0, 1024, 1024);
  later.work();
  later.render(bed, ears, 1024, 8192, 1024);
  EXPECT_LT(difference(ears, built_in, 4096, 8192), 2e-6f);

  host.ask_for_ears("/none.sofa");
  host.work();
  EXPECT_EQ(0u, host.log().find("orvane: /none.sofa: ")) << host.log();
  EXPECT_EQ(ORVANE_SOFA, host.save()) << "the ears stay";
  EXPECT_NE(LV2_STATE_SUCCESS, later.restore("/none.sofa"));
  EXPECT_EQ("/none.sofa", later.save()) << "a disk that is not there loses nothing";
  std::filesystem::remove_all(cache);
}

TEST(Lv2Test, HeadGlidesToANewPose) {
  const render::Pose head = {90.0, 0.0, 0.0};
  Planar bed = planar_noise(8, kFrames, 1), ears(2, kFrames);
  Lv2Host host("7.1");
  furnish(host, preset("dry"));
  host.activate();
  host.render(bed, ears, 0, 4800, 64);
  turn(host, head);
  host.render(bed, ears, 4800, kFrames, 64);
  const Planar before = effect_ears("7.1", preset("dry"), {}, bed, 64);
  const Planar after = effect_ears("7.1", preset("dry"), head, bed, 64);
  EXPECT_LT(difference(ears, before, 0, 4800), 2e-6f);
  EXPECT_LT(difference(ears, before, 4800, 4864), 0.3f);  // not there after a block
  EXPECT_GT(difference(after, before, 4800, 4864), 0.3f);
  EXPECT_LT(difference(ears, after, 6000, kFrames), 2e-6f);
}

TEST(Lv2Test, BadControlsAndSamplesDoNoHarm) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  Planar bed = planar_noise(12, kFrames, 1);
  Lv2Host host("7.1.4");
  host.activate();
  for (uint32_t port = host.ports().head(0); port < host.ports().latency(); ++port) {
    host.control(port) = port % 3 == 0 ? nan : port % 3 == 1 ? 1e30f : -1e30f;
  }
  bed[3][100] = nan;
  bed[4][100] = std::numeric_limits<float>::infinity();
  for (uint32_t channel = 0; channel < 12; ++channel) {
    host.connect(channel, channel == 5 ? nullptr : bed.data()[channel]);
  }
  host.connect(host.ports().ear(0), bed.data()[0]);  // in place
  host.connect(host.ports().ear(1), bed.data()[1]);
  for (int i = 0; i < 10; ++i) {
    host.run(4800);
    host.work();
  }
  EXPECT_TRUE(std::isfinite(peak(bed[0])) && std::isfinite(peak(bed[1])));
  EXPECT_EQ(0u, host.num_jobs()) << "a value that is no number asks for no room again";
  host.run(0);
}

TEST(Lv2Test, OtherRatesAreRefusedWithALine) {
  const Lv2Host host("7.1", true, 44100.0);
  EXPECT_FALSE(host.has_plugin());
  EXPECT_EQ("orvane: the host runs at 44100 Hz, but the plug-in needs 48000 Hz\n", host.log());
}

}  // namespace
