// SPDX-License-Identifier: Apache-2.0
// The command slot: buffer checks of every command, and which configurations are accepted.
#include <errno.h>
#include <gtest/gtest.h>
#include <string.h>

#include <string>

#include "effect/layouts.h"
#include "tests/support/effect_host.h"
#include "tests/support/log_capture.h"

namespace {

constexpr uint32_t kNoReplySize = UINT32_MAX;

const struct {
  const char* name;
  uint32_t code, size;
  bool data;
  uint32_t reply_size;
  bool reply;
  int32_t result;
} kBufferCases[] = {
    {"Init", EFFECT_CMD_INIT, 0, false, 4, true, 0},
    {"InitNoReply", EFFECT_CMD_INIT, 0, false, 4, false, -EINVAL},
    {"ConfigNoData", EFFECT_CMD_SET_CONFIG, 112, false, 4, true, -EINVAL},
    {"ConfigShort", EFFECT_CMD_SET_CONFIG, 111, true, 4, true, -EINVAL},
    {"ConfigLong", EFFECT_CMD_SET_CONFIG, 113, true, 4, true, -EINVAL},
    {"ConfigWideReply", EFFECT_CMD_SET_CONFIG, 112, true, 8, true, -EINVAL},
    {"Reset", EFFECT_CMD_RESET, 0, false, kNoReplySize, false, 0},
    {"EnableNoReply", EFFECT_CMD_ENABLE, 0, false, 4, false, -EINVAL},
    {"DisableNoReplySize", EFFECT_CMD_DISABLE, 0, false, kNoReplySize, true, -EINVAL},
    {"SetNoData", EFFECT_CMD_SET_PARAM, 20, false, 4, true, -EINVAL},
    {"SetShort", EFFECT_CMD_SET_PARAM, 15, true, 4, true, -EINVAL},
    {"SetWideReply", EFFECT_CMD_SET_PARAM, 16, true, 8, true, -EINVAL},
    {"GetNoData", EFFECT_CMD_GET_PARAM, 16, false, 16, true, -EINVAL},
    {"GetNoReply", EFFECT_CMD_GET_PARAM, 16, true, 16, false, -EINVAL},
    {"GetNoReplySize", EFFECT_CMD_GET_PARAM, 16, true, kNoReplySize, true, -EINVAL},
    {"GetShort", EFFECT_CMD_GET_PARAM, 15, true, 16, true, -EINVAL},
    {"GetNarrowReply", EFFECT_CMD_GET_PARAM, 16, true, 15, true, -EINVAL},
    {"Device", EFFECT_CMD_SET_DEVICE, 4, true, 4, false, 0},
    {"DeviceNoData", EFFECT_CMD_SET_DEVICE, 4, false, 4, false, -EINVAL},
    {"AudioModeShort", EFFECT_CMD_SET_AUDIO_MODE, 3, true, 4, false, -EINVAL},
    {"InputDevice", EFFECT_CMD_SET_INPUT_DEVICE, 0, false, 4, false, 0},
};

TEST(EffectCommandTest, ChecksItsBuffers) {
  for (const auto& c : kBufferCases) {
    SCOPED_TRACE(c.name);
    EffectHost host;
    effect_config_t data = stream_config(AUDIO_CHANNEL_OUT_5POINT1);
    int32_t reply = 77;
    uint32_t reply_size = c.reply_size;
    const LogCapture log;
    EXPECT_EQ(c.result, host.command(c.code, c.size, c.data ? &data : nullptr,
                                     c.reply_size == kNoReplySize ? nullptr : &reply_size,
                                     c.reply ? &reply : nullptr));
    EXPECT_EQ(c.result == 0 && c.reply ? 0 : 77, reply);
    EXPECT_TRUE(log.problems().empty());
  }
}

TEST(EffectCommandTest, WarnsOfWhatItDoesNotSupport) {
  EffectHost host;
  const std::string command = "W orvane_Command command EFFECT_CMD_SET_PARAM_";
  const std::string invalid = "W orvane_Command invalid command ";
  const LogCapture log;
  EXPECT_EQ(0, host.command(EFFECT_CMD_SET_PARAM_DEFERRED, 0, nullptr, nullptr, nullptr));
  EXPECT_EQ(0, host.command(EFFECT_CMD_SET_PARAM_COMMIT, 0, nullptr, nullptr, nullptr));
  EXPECT_EQ(-EINVAL, host.command(EFFECT_CMD_SET_VOLUME, 0, nullptr, nullptr, nullptr));
  EXPECT_EQ(-EINVAL, host.command(14, 0, nullptr, nullptr, nullptr));
  const std::vector<std::string> expected = {command + "DEFERRED not supported, FIXME",
                                             command + "COMMIT not supported, FIXME",
                                             invalid + "10", invalid + "14"};
  EXPECT_EQ(expected, log.lines());
}

TEST(EffectConfigureTest, AcceptsTheMasksOfSixLayouts) {
  const std::string accepted = "I orvane_Configure: Configuring orvane for input channels ";
  const std::string refused = "E orvane_Configure error: input channel mask(0x";
  const std::string no_mapping =
      "E orvane_Configure error: unsupported audio_channel_mask - LAYOUT_IDX mapping";
  const std::string unknown = "E audio_channel_mask_to_LAYOUT_INDEX: invalid channel mask 0x";
  const struct {
    uint32_t mask;
    int32_t status;
    std::vector<std::string> lines;
  } cases[] = {
      {0x3F, 0, {accepted + "6, Layout index 202"}},
      {0x63F, 0, {accepted + "8, Layout index 203"}},
      {0xC003F, 0, {accepted + "8, Layout index 14"}},
      {0x2D03F, 0, {accepted + "10, Layout index 16"}},
      {0x2D63F, 0, {accepted + "12, Layout index 204"}},
      {0xFFFFFF, 0, {accepted + "24, Layout index 205"}},
      {0xC063F, -EINVAL, {no_mapping}},
      {0x3, -EINVAL, {unknown + "3, mapping not found", no_mapping}},
      {0, -EINVAL, {refused + "0) not supported"}},
      {0x302D63F,
       -EINVAL,
       {"E Unsupported channels in 50331648", refused + "302d63f) not supported"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.mask);
    EffectHost host;
    const LogCapture log;
    EXPECT_EQ(c.status, host.configure(c.mask));
    EXPECT_EQ(c.lines, log.lines());
  }
}

// The configuration refuses these for their channels before it looks for a layout.
TEST(EffectConfigureTest, NinePointOneIsKnownWithoutALayout) {
  const LogCapture log;
  int32_t layout = 7;
  EXPECT_EQ(-EINVAL, audio_channel_mask_to_LAYOUT_INDEX(AUDIO_CHANNEL_OUT_9POINT1POINT4, &layout));
  EXPECT_EQ(-EINVAL, audio_channel_mask_to_LAYOUT_INDEX(AUDIO_CHANNEL_OUT_9POINT1POINT6, &layout));
  const std::string unsupported = "E audio_channel_mask_to_LAYOUT_INDEX: 0x";
  EXPECT_EQ((std::vector<std::string>{unsupported + "302d63f unsupported in library",
                                      unsupported + "30ed63f unsupported in library"}),
            log.lines());
  EXPECT_EQ(7, layout);
}

TEST(EffectConfigureTest, AsksForFloatStereoAndOneRate) {
  const effect_config_t good = stream_config(AUDIO_CHANNEL_OUT_5POINT1);
  effect_config_t bad[5] = {good, good, good, good, good};
  bad[0].inputCfg.samplingRate = 44100;
  bad[1].outputCfg.channels = 1;
  bad[2].inputCfg.format = AUDIO_FORMAT_PCM_16_BIT;
  bad[3].outputCfg.format = AUDIO_FORMAT_PCM_16_BIT;
  bad[4].outputCfg.channels = AUDIO_CHANNEL_OUT_5POINT1;
  EffectHost host;
  for (effect_config_t& config : bad) {
    const LogCapture log;
    EXPECT_EQ(-EINVAL, host.send(EFFECT_CMD_SET_CONFIG, sizeof(config), &config));
    EXPECT_EQ(std::vector<std::string>{"E orvane_Configure error: invalid config"}, log.lines());
  }
  // Any rate will do, and so will any address.
  std::vector<uint8_t> bytes(sizeof(good) + 1);
  effect_config_t fast = good;
  fast.inputCfg.samplingRate = fast.outputCfg.samplingRate = 96000;
  memcpy(&bytes[1], &fast, sizeof(fast));
  EXPECT_EQ(0, host.send(EFFECT_CMD_SET_CONFIG, sizeof(fast), &bytes[1]));
}

}  // namespace
