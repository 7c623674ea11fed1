// SPDX-License-Identifier: Apache-2.0
// Identity, creation and release of instances; what every event leaves behind; memory failures.
#include <errno.h>
#include <gtest/gtest.h>
#include <string.h>

#include <functional>
#include <string>

#include "effect/orvane.h"
#include "tests/support/effect_host.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/log_capture.h"
#include "tests/support/signals.h"

namespace {

constexpr size_t kFrames = 64;

// Renders one block of stereo silence from `channels` channels.
int32_t process_block(EffectHost& host, size_t channels) {
  std::vector<float> in(channels * kFrames + 1), out(2 * kFrames);
  return host.process(in, out);
}

TEST(EffectLibraryTest, ShowsOneIdentityEverywhere) {
  EXPECT_EQ(0x41454C54u, AELI.tag);
  EXPECT_EQ(0x00030000u, AELI.version);
  effect_descriptor_t descriptor;
  memset(&descriptor, 0xFF, sizeof(descriptor));
  ASSERT_EQ(0, AELI.get_descriptor(&kOrvaneUuid, &descriptor));
  const effect_uuid_t type = {
      0xccd4cf09, 0xa79d, 0x46c2, 0x9aae, {0x06, 0xa1, 0x69, 0x8d, 0x6c, 0x8f}};
  EXPECT_EQ(0, memcmp(&type, &descriptor.type, sizeof(type)));
  EXPECT_EQ(0x00020000u, descriptor.apiVersion);
  EXPECT_EQ(0x00000008u, descriptor.flags);
  EXPECT_STREQ(AELI.name, descriptor.name);
  EXPECT_STREQ(AELI.implementor, descriptor.implementor);
  EffectHost host;
  effect_descriptor_t of_instance;
  ASSERT_EQ(0, (*host.handle())->get_descriptor(host.handle(), &of_instance));
  EXPECT_EQ(0, memcmp(&descriptor, &of_instance, sizeof(descriptor)));
  EXPECT_EQ(nullptr, (*host.handle())->process_reverse);
}

TEST(EffectLibraryTest, RefusesMissingPointersAndForeignIds) {
  effect_descriptor_t descriptor;
  const effect_uuid_t foreign = {};
  effect_handle_t handle = nullptr;
  EXPECT_EQ(-EINVAL, AELI.create_effect(nullptr, 0, 0, &handle));
  EXPECT_EQ(-EINVAL, AELI.create_effect(&kOrvaneUuid, 0, 0, nullptr));
  EXPECT_EQ(-ENOENT, AELI.create_effect(&foreign, 0, 0, &handle));
  EXPECT_EQ(nullptr, handle);
  EXPECT_EQ(-EINVAL, AELI.get_descriptor(&foreign, &descriptor));
  EXPECT_EQ(-EINVAL, AELI.release_effect(nullptr));
  EXPECT_EQ(-EINVAL, gOrvaneInterface.process(nullptr, nullptr, nullptr));
  EXPECT_EQ(-EINVAL,
            gOrvaneInterface.command(nullptr, EFFECT_CMD_RESET, 0, nullptr, nullptr, nullptr));
  EXPECT_EQ(-EINVAL, gOrvaneInterface.get_descriptor(nullptr, &descriptor));

  const LogCapture log;
  EXPECT_EQ(-EINVAL, AELI.get_descriptor(nullptr, &descriptor));
  EXPECT_EQ(-EINVAL, AELI.get_descriptor(&kOrvaneUuid, nullptr));
  EXPECT_EQ((std::vector<std::string>(2, "E orvaneLib_Create() called with NULL pointer")),
            log.problems());
}

TEST(EffectStateTest, OnlyAnEnabledInstanceRenders) {
  EffectHost host;
  EXPECT_EQ(-ENODATA, process_block(host, 8));
  EXPECT_EQ(-ENOSYS, host.send(EFFECT_CMD_DISABLE));
  EXPECT_EQ(-EINVAL, host.set_pose(0.0f, 0.0f, 0.5f));  // before there is a renderer
  EXPECT_EQ(0, host.send(EFFECT_CMD_ENABLE));
  EXPECT_EQ(-1, process_block(host, 8));
  EXPECT_EQ(0, host.send(EFFECT_CMD_DISABLE));
  ASSERT_EQ(0, host.configure(AUDIO_CHANNEL_OUT_7POINT1));
  EXPECT_EQ(-ENODATA, process_block(host, 8));
  ASSERT_EQ(0, host.send(EFFECT_CMD_ENABLE));
  EXPECT_EQ(-ENOSYS, host.send(EFFECT_CMD_ENABLE));
  EXPECT_EQ(0, process_block(host, 8));
  ASSERT_EQ(0, host.send(EFFECT_CMD_DISABLE));

  const LogCapture log;
  EXPECT_EQ(-ENODATA, process_block(host, 8));
  EXPECT_EQ((std::vector<std::string>{
                "E orvane_Process error: trying to use a non-configured Spatializer"}),
            log.problems());
}

TEST(EffectStateTest, TheLockIsThereOnceConfigured) {
  EffectHost host;
  const orvane_object_t& object = orvane_module(host.handle())->object;
  EXPECT_EQ(nullptr, object.lock);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(0, host.configure(AUDIO_CHANNEL_OUT_5POINT1));
    EXPECT_EQ(&object.mutex, object.lock);
    EXPECT_EQ(0, host.send(EFFECT_CMD_INIT));
    EXPECT_EQ(nullptr, object.lock);
  }
}

std::function<void(EffectHost&)> configure(uint32_t mask, int32_t status,
                                           uint32_t rate = ORVANE_SAMPLE_RATE) {
  return [=](EffectHost& host) {
    effect_config_t config = stream_config(mask);
    config.inputCfg.samplingRate = rate;
    EXPECT_EQ(status, host.send(EFFECT_CMD_SET_CONFIG, sizeof(config), &config));
  };
}

void configure_without_memory(EffectHost& host) {
  const FailingAlloc guard(3);
  const LogCapture log;
  EXPECT_EQ(-EINVAL, host.configure(AUDIO_CHANNEL_OUT_5POINT1));
  EXPECT_TRUE(log.has("E orvane_Configure error: Orvane init failed"));
}

void init_and_enable(EffectHost& host) {
  EXPECT_EQ(0, host.send(EFFECT_CMD_INIT));
  EXPECT_EQ(-ENODATA, process_block(host, 8));
  EXPECT_EQ(0, host.send(EFFECT_CMD_ENABLE));
}

// What happens to an enabled 5.1 instance, and how it goes on. A caller whose configuration was
// refused may send what it sent before, so a refused block of 6 channels must not be read as 8.
const struct {
  const char* name;
  std::function<void(EffectHost&)> event;
  size_t channels;  // of the block processed afterwards
  int32_t process_result, pose_status;
} kEvents[] = {
    {"Other layout", configure(layout_named("22.2").mask, 0), 24, 0, 0},
    {"Rate refused", configure(AUDIO_CHANNEL_OUT_7POINT1, -EINVAL, 44100), 6, 0, 0},
    {"Mask of other count refused", configure(0xFF, -EINVAL), 6, -1, 0},
    {"Mask of no channels refused", configure(0x40000000, -EINVAL), 0, -1, 0},
    {"Mask of same count refused", configure(0x8000003F, -EINVAL), 6, 0, 0},
    {"Mask with a bit of no position refused", configure(0x0400003F, -EINVAL), 6, 0, 0},
    {"Configure without memory", configure_without_memory, 6, -1, -EINVAL},
    {"Init and enable", init_and_enable, 6, -1, 0},
};

TEST(EffectStateTest, AnEventLeavesTheRendererAsItWasOrRefusing) {
  for (const auto& c : kEvents) {
    SCOPED_TRACE(c.name);
    EffectHost host;
    ASSERT_EQ(0, host.configure_and_enable(AUDIO_CHANNEL_OUT_5POINT1));
    ASSERT_EQ(0, process_block(host, 6));
    c.event(host);
    const LogCapture log;
    EXPECT_EQ(c.process_result, process_block(host, c.channels));
    EXPECT_EQ(c.pose_status, host.set_pose(0.0f, 0.0f, 0.5f));
    EXPECT_EQ(c.process_result != 0, log.has("E orvane_Process: Error in orvane process 2"));
    EXPECT_EQ(c.pose_status != 0,
              log.has("E orvane_setParameter error: orvane set user orientation failed"));
    EXPECT_EQ(0, host.configure(layout_named("7.1.4").mask));
    EXPECT_EQ(0, process_block(host, 12));
  }
}

}  // namespace
