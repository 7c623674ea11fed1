// Reading and setting parameters, byte by byte.
#include <errno.h>
#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>
#include <string>

#include "tests/support/effect_host.h"
#include "tests/support/log_capture.h"

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

const struct {
  int32_t id, status;
  uint32_t vsize;  // of the reply
  Bytes value;
  std::string line;
} kReadings[] = {
    {0, 0, 3, {2, 0, 1}, kRead + "2 SPATIALIZER_PARAM_SUPPORTED_LEVELS is 0 1"},
    {1, 0, 1, {1}, kRead + "SPATIALIZER_PARAM_LEVEL is 1"},
    {2, 0, 1, {1}, kRead + "SPATIALIZER_PARAM_HEADTRACKING_SUPPORTED is 1"},
    {4, 0, 32, words({7, 0x3F, 0xC003F, 0x2D03F, 0x63F, 0xC063F, 0x2D63F, 0xFFFFFF}),
     kRead + "7 SPATIALIZER_PARAM_SUPPORTED_CHANNEL_MASKS are 63 ... 16777215"},
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
    {-1, 4, 4, -EINVAL, {kUnknown + "-1"}},
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
