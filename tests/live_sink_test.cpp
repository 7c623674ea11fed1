// SPDX-License-Identifier: Apache-2.0
// Parts of the desktop's sink without a server; tests/check_desktop.py runs it with one.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <vector>

#include "tests/support/signals.h"
#include "tools/live/dropouts.h"
#include "tools/live/fixed_blocks.h"
#include "tools/live/options.h"
#include "tools/live/pipewire_sink.h"
#include "tools/live/positions.h"
#include "tools/live/sink_buffers.h"
#include "tools/render/failure.h"

namespace live {
namespace {

// Both ears are the sum of two inputs.
FixedBlocks adder(size_t* blocks) {
  return FixedBlocks(2, [blocks](const float* const* inputs, float* const* ears) {
    ++*blocks;
    for (size_t i = 0; i < FixedBlocks::kFrames; ++i) {
      ears[0][i] = ears[1][i] = inputs[0][i] + inputs[1][i];
    }
  });
}

TEST(FixedBlocksTest, PeriodsOfAnyLengthsComeOutOnceAndInOrder) {
  const size_t whole = FixedBlocks::kFrames;
  const std::vector<std::vector<size_t>> series = {
      {whole, 8 * whole, 2 * whole}, {1, 2, 3, 1000, 127}, {whole, 441, whole, 1114, 1115, 8192}};
  for (const std::vector<size_t>& periods : series) {
    size_t blocks = 0, at = 0;
    FixedBlocks fixed = adder(&blocks);
    const Planar in = planar_noise(2, 60000, 1);
    Planar out(2, 60000);
    size_t late_from = 60000;  // of the first period that is not whole
    while (at + 8192 < 60000) {
      for (const size_t frames : periods) {
        if (frames % whole != 0) late_from = std::min(late_from, at);
        if (at + frames > 60000) break;
        const float* inputs[] = {in[0].data() + at, in[1].data() + at};
        float* ears[] = {out[0].data() + at, out[1].data() + at};
        fixed.process(inputs, ears, frames);
        at += frames;
      }
    }
    const size_t delay = fixed.delay_frames();
    EXPECT_EQ(late_from == 60000 ? 0 : whole - 1, delay);
    EXPECT_GE(blocks, (at - whole) / whole);
    for (size_t i = 0; i < at; ++i) {
      const bool waits = i >= late_from && i < late_from + delay;
      const size_t from = i < late_from ? i : i - delay;
      ASSERT_EQ(waits ? 0.0f : in[0][from] + in[1][from], out[0][i]) << i;
      ASSERT_EQ(out[0][i], out[1][i]);
    }
  }
}

TEST(FixedBlocksTest, ResetForgetsAndMissingInputsAreSilent) {
  size_t blocks = 0;
  FixedBlocks fixed = adder(&blocks);
  const std::vector<float> ones(100, 1.0f);
  std::vector<float> left(256), right(256);
  const float* inputs[] = {ones.data(), nullptr};
  float* ears[] = {left.data(), right.data()};
  fixed.process(inputs, ears, 100);
  fixed.reset();
  EXPECT_EQ(0u, fixed.delay_frames());
  const float* none[] = {nullptr, nullptr};
  fixed.process(none, ears, 256);
  EXPECT_EQ(0.0f, peak(left));
}

TEST(SinkBuffersTest, ClaimsBeyondTheMemoryAreCut) {
  float samples[8] = {0, 1, 2, 3, 4, 5, 6, 7};
  const struct {
    uint32_t offset, size;
    size_t frames;
  } cases[] = {{0, 32, 8}, {8, 16, 4}, {8, 32, 6}, {28, UINT32_MAX, 1}, {4000, 32, 0}, {0, 0, 0}};
  for (const auto& c : cases) {
    spa_chunk whole = {0, sizeof(samples), sizeof(float), 0};
    spa_chunk claimed = {c.offset, c.size, sizeof(float), 0};
    spa_data datas[2] = {};
    for (spa_data& data : datas) data.data = samples, data.maxsize = sizeof(samples);
    datas[0].chunk = &whole;
    datas[1].chunk = &claimed;
    spa_buffer buffer = {};
    buffer.n_datas = 2;
    buffer.datas = datas;
    EXPECT_EQ(c.frames, sink_input_frames(buffer)) << c.offset;
    const float* inputs[kSinkChannels] = {};
    sink_find_inputs(buffer, inputs);
    EXPECT_EQ(samples, inputs[0]);
    EXPECT_LE(inputs[1] + c.frames, samples + 8);
    EXPECT_EQ(nullptr, inputs[2]);

    EXPECT_EQ(8u, sink_output_frames(buffer));
    float* ears[kSinkEars];
    sink_begin_output(buffer, 3, ears);
    EXPECT_EQ(samples, ears[1]);
    EXPECT_EQ(0u, claimed.offset);
    EXPECT_EQ(3 * sizeof(float), claimed.size);
    datas[1].data = nullptr;
    EXPECT_EQ(0u, sink_output_frames(buffer) + sink_input_frames(buffer));
  }
}

TEST(DropoutsTest, AreReportedWhenTheyChangeOnceASecond) {
  Dropouts dropouts;
  DropoutReport report(dropouts.text());
  const std::chrono::steady_clock::time_point start(std::chrono::hours(1));
  const auto due_after = [&](int ms) {
    return report.is_due(dropouts.text(), start + std::chrono::milliseconds(ms));
  };
  EXPECT_FALSE(due_after(0));
  dropouts.count(Dropout::kSkipped, 2);
  EXPECT_TRUE(due_after(0));
  dropouts.count(Dropout::kServer);
  EXPECT_FALSE(due_after(900));
  EXPECT_TRUE(due_after(1100));
  EXPECT_FALSE(due_after(9000));
  EXPECT_EQ("2 skipped, 0 without output, 0 without input, 1 server gone", dropouts.text());
}

TEST(SinkTest, KnowsPipeWiresNamesOfEveryChannelButThoseBelowTheEars) {
  SinkOptions options;
  for (uint32_t channel = 0; channel < ORVANE_NUM_CHANNELS; ++channel) {
    options.positions = {position_name(channel)};
    const bool is_below =
        channel >= ORVANE_BOTTOM_FRONT_LEFT && channel <= ORVANE_BOTTOM_FRONT_RIGHT;
    if (is_below) {
      EXPECT_THROW(sink_check(options), render::Failure) << options.positions[0];
    } else {
      EXPECT_NO_THROW(sink_check(options)) << options.positions[0];
    }
  }
}

TEST(SinkTest, IsASurroundSinkUnlessALayoutIsGiven) {
  char program[] = "orvane-live", sink[] = "--sink", layout[] = "--layout", heights[] = "7.1.4";
  char* arguments[] = {program, sink, layout, heights};
  int status = 0;
  EXPECT_EQ("7.1", options_parse(2, arguments, &status)->channels.layout);
  EXPECT_EQ("7.1.4", options_parse(4, arguments, &status)->channels.layout);
  char bed[] = "bed.wav";
  char* wrong[] = {program, sink, bed};
  EXPECT_FALSE(options_parse(3, wrong, &status));
  EXPECT_EQ(2, status);
}

}  // namespace
}  // namespace live
