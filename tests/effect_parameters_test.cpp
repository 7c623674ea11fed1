// SPDX-License-Identifier: Apache-2.0
// Reading and setting parameters, byte by byte.
#include <errno.h>
#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>
#include <iterator>
#include <string>

#include "tests/support/effect_host.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/log_capture.h"
#include "tests/support/signals.h"

namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint32_t kHeaderSize = 16;
constexpr uint32_t kAskedVsize = UINT32_MAX - 3;
const std::string kRead = "I orvane_getParameter ";
const std::string kUnreadable = "E orvane_getParameter unknown parameter ";

// Little-endian words, as they lie in memory.
Bytes words(const std::vector<uint32_t>& values) {
  Bytes bytes(values.size() * sizeof(uint32_t));
  memcpy(bytes.data(), values.data(), bytes.size());
  return bytes;
}

// A count, then the masks of all layouts and, before 7.1.4's, that of 7.1.2.
std::vector<uint32_t> supported_masks() {
  std::vector<uint32_t> words = {ORVANE_NUM_LAYOUTS + 1};
  for (const orvane_layout_t& layout : orvane_layouts) {
    if (layout.name == std::string("7.1.4")) words.push_back(0xC063F);
    words.push_back(layout.mask);
  }
  return words;
}

const std::vector<uint32_t> kMasks = supported_masks();

const struct {
  int32_t id, status;
  uint32_t vsize;  // of the reply
  Bytes value;
  std::string line;
} kReadings[] = {
    {0, 0, 3, {2, 0, 1}, kRead + "2 SPATIALIZER_PARAM_SUPPORTED_LEVELS is 0 1"},
    {1, 0, 1, {1}, kRead + "SPATIALIZER_PARAM_LEVEL is 1"},
    {2, 0, 1, {1}, kRead + "SPATIALIZER_PARAM_HEADTRACKING_SUPPORTED is 1"},
    {4, 0, static_cast<uint32_t>(4 * kMasks.size()), words(kMasks),
     kRead + std::to_string(kMasks[0]) + " SPATIALIZER_PARAM_SUPPORTED_CHANNEL_MASKS are " +
         std::to_string(kMasks[1]) + " ... " + std::to_string(kMasks.back())},
    {5, 0, 3, {2, 0, 1}, kRead + "2 SPATIALIZER_PARAM_SUPPORTED_SPATIALIZATION_MODES are 0 1"},
    {3, -EINVAL, kAskedVsize, {}, kUnreadable + "3"},
    {6, -EINVAL, kAskedVsize, {}, kUnreadable + "6"},
    {100, -EINVAL, kAskedVsize, {}, kUnreadable + "100"},
    {-1, -EINVAL, kAskedVsize, {}, kUnreadable + "-1"},
};

TEST(EffectGetParameterTest, CutsTheValueToTheRoomThereIs) {
  EffectHost host;
  for (const auto& c : kReadings) {
    SCOPED_TRACE(c.line);
    for (const size_t room : {0u, 1u, 2u, 32u, 40u}) {
      const uint32_t id = static_cast<uint32_t>(c.id);
      Bytes command = words({99, 4, kAskedVsize, id});
      Bytes reply(1 + kHeaderSize + room + 64, 0xAA);  // used from an odd address on
      uint32_t reply_size = static_cast<uint32_t>(kHeaderSize + room);
      const LogCapture log;
      EXPECT_EQ(0, host.command(EFFECT_CMD_GET_PARAM, kHeaderSize, command.data(), &reply_size,
                                &reply[1]));
      EXPECT_EQ(c.vsize + kHeaderSize, reply_size);  // wraps for the unknown ones
      EXPECT_TRUE(log.has(c.line));

      Bytes expected(reply.size(), 0xAA);
      std::ranges::copy(words({static_cast<uint32_t>(c.status), 4, c.vsize, id}), &expected[1]);
      std::copy_n(c.value.begin(), std::min(room, c.value.size()), &expected[1 + kHeaderSize]);
      EXPECT_EQ(expected, reply);
    }
  }
}

const std::string kSet = "I orvane_setParameter SPATIALIZER_PARAM_";
const std::string kWrongSize = "E orvane_setParameter error: orvane wrong size ";
const std::string kReverb = "E orvane_setParameter error: orvane set reverb param ";
const std::string kReflections = "E orvane_setParameter error: orvane set reflection param ";
const std::string kUnknown = "E orvane_setParameter unknown parameter ";

const struct {
  int32_t id;
  uint32_t size, vsize;  // of the value: as sent and as stated
  int32_t status;
  std::vector<std::string> lines;
} kSettings[] = {
    {1, 1, 1, 0, {kSet + "LEVEL is -66"}},
    {1, 1, 1000, 0, {kSet + "LEVEL is -66"}},
    {1, 0, 1, -EINVAL, {kWrongSize + "0, should be 1"}},
    {3, 4, 1, 0, {kSet + "HEADTRACKING_MODE is -66"}},
    {6, 24, 24, 0, {}},
    {6, 24, 20, -EINVAL, {kWrongSize + "20, should be 24"}},
    {6, 23, 24, -EINVAL, {kWrongSize + "23, should be 24"}},
    {7, 0, 4, 0, {}},
    {8, 12, 12, 0, {}},
    {4, 4, 4, -EINVAL, {kUnknown + "4"}},
    {150, 4, 4, -EINVAL, {kUnknown + "150"}},
    {99, 4, 4, -EINVAL, {kUnknown + "99"}},
    {110, 4, 4, -EINVAL, {kUnknown + "110"}},
    {219, 4, 4, -EINVAL, {kUnknown + "219"}},
    {-1, 4, 4, -EINVAL, {kUnknown + "-1"}},
    {100, 3, 4, -EINVAL, {kWrongSize + "3, should be 4"}},
    {218, 0, 4, -EINVAL, {kWrongSize + "0, should be 4"}},
    {109, 4, 4, -EINVAL, {kReverb + "109 and value -0.372549 failed"}},
    {107, 8, 77, 0, {}},  // -0.37 is a shelf's gain; the size that is stated does not matter
    {201, 4, 4, -EINVAL, {kReflections + "201 and value -0.372549 failed"}},
    {217, 4, 4, 0, {}},
};

TEST(EffectSetParameterTest, RepliesAndLogs) {
  EffectHost host;
  ASSERT_EQ(0, host.configure(AUDIO_CHANNEL_OUT_5POINT1));
  for (const auto& c : kSettings) {
    SCOPED_TRACE(c.id);
    const LogCapture log;
    EXPECT_EQ(c.status, host.set_parameter(c.id, Bytes(c.size, 0xBE), c.vsize));
    EXPECT_EQ(c.lines, log.lines());
  }
}

TEST(EffectSetParameterTest, ReverbAndReflectionsAreHeardFromTheNextBlock) {
  EffectHost dry, room;
  for (EffectHost* host : {&dry, &room}) {
    EXPECT_EQ(-EINVAL, host->set_float(100, 1.0f)) << "no renderer yet";
    EXPECT_EQ(-EINVAL, host->set_float(200, 1.0f));
    ASSERT_EQ(0, host->configure_and_enable(AUDIO_CHANNEL_OUT_5POINT1));
    ASSERT_EQ(0, host->set_float(100, 0.0f));
  }
  ASSERT_EQ(0, room.set_float(200, 4.0f));
  ASSERT_EQ(0, room.set_float(203, 3.0f));
  std::vector<float> bed(6 * 8192);
  bed[2] = 1.0f;  // front centre
  const std::vector<float> direct = dry.render(bed, 6, {512});
  std::vector<float> reflected = room.render({bed.begin(), bed.begin() + 6 * 512}, 6, {512});
  EXPECT_EQ(-EINVAL, room.set_float(201, 20.0f)) << "leaves what is in flight";
  std::ranges::copy(room.render({bed.begin() + 6 * 512, bed.end()}, 6, {512}),
                    std::back_inserter(reflected));
  ASSERT_EQ(direct.size(), reflected.size());
  EXPECT_LT(peak({direct.begin() + 2048, direct.end()}), 1e-6f);
  EXPECT_GT(peak({reflected.begin() + 2048, reflected.begin() + 4096}), 1e-3f);
  ASSERT_EQ(0, room.set_float(100, 1.0f));
  const std::vector<float> reverberant = room.render(bed, 6, {512});
  EXPECT_GT(max_difference(reflected, reverberant), 1e-3f);
}

TEST(EffectSetParameterTest, AFailedComputeRefusesBlocksUntilARetry) {
  EffectHost host;
  ASSERT_EQ(0, host.configure_and_enable(AUDIO_CHANNEL_OUT_5POINT1));
  std::vector<float> in(6 * 64), out(2 * 64);
  {
    const FailingAlloc guard(1);
    const LogCapture log;
    EXPECT_EQ(-EINVAL, host.set_float(200, 2.0f));
    EXPECT_EQ(-1, host.process(in, out));
    EXPECT_EQ(
        (std::vector<std::string>{"E orvane_setParameter error: error computing early reflections",
                                  "E orvane_Process: Error in orvane process 1"}),
        log.problems());
  }
  EXPECT_EQ(0, host.set_float(200, 2.0f));
  EXPECT_EQ(0, host.process(in, out));
}

TEST(EffectSetParameterTest, ReportsAMalformedIdSize) {
  EffectHost host;
  Bytes command = words({0, 8, 4, 1, 0});
  int32_t status = 77;
  uint32_t reply_size = sizeof(status);
  const LogCapture log;
  EXPECT_EQ(-EINVAL, host.command(EFFECT_CMD_SET_PARAM, 20, command.data(), &reply_size, &status));
  EXPECT_EQ(77, status);
  EXPECT_EQ(std::vector<std::string>{"S 0x534e4554 63662938"}, log.lines());
}

}  // namespace
