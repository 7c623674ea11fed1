// SPDX-License-Identifier: Apache-2.0
// The host renderer's parts: channel maps, poses, and files that appear complete or not at all.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numeric>

#include "tools/render/audio_reader.h"
#include "tools/render/audio_writer.h"
#include "tools/render/channel_map.h"
#include "tools/render/failure.h"
#include "tools/render/pose.h"

namespace render {
namespace {

using enum Speaker;

struct MapCase {
  const char* name;
  std::vector<Speaker> labels;
  const char* requested;
  const char* layout;  // or the text of the failure
  size_t notices;
};

const std::vector<Speaker> kBed = {kFrontLeft, kFrontRight, kFrontCenter, kLfe};

std::vector<Speaker> bed_and(std::vector<Speaker> more) {
  more.insert(more.begin(), kBed.begin(), kBed.end());
  return more;
}

class ChannelMapTest : public ::testing::TestWithParam<MapCase> {};

TEST_P(ChannelMapTest, IsSettledByLabelsOrRequest) {
  const MapCase& c = GetParam();
  try {
    const ChannelPlan plan = channel_plan_make("bed.wav", c.labels, {.layout = c.requested});
    EXPECT_EQ(c.layout, plan.layout->name);
    EXPECT_EQ(c.notices, plan.notices.size());
  } catch (const Failure& failure) {
    EXPECT_NE(std::string(failure.what()).find(c.layout), std::string::npos) << failure.what();
  }
}

std::vector<Speaker> named(const char* names) { return labels_read(names, ',').speakers; }

INSTANTIATE_TEST_SUITE_P(
    Files, ChannelMapTest,
    ::testing::Values(
        MapCase{"SidePairForBackPair", bed_and({kSideLeft, kSideRight}), "", "5.1", 1},
        MapCase{"TopFrontPairForTopSides",
                bed_and({kBackLeft, kBackRight, kTopFrontLeft, kTopFrontRight}), "", "5.1.2", 1},
        MapCase{"BothSubstitutes", bed_and({kSideLeft, kSideRight, kTopFrontLeft, kTopFrontRight}),
                "", "5.1.2", 2},
        MapCase{"SideFor5Point1Point4", named("L,R,C,LFE,Ls,Rs,Ltf,Rtf,Ltr,Rtr"), "", "5.1.4", 1},
        MapCase{"Mono", named("FC"), "", "5.1", 0},
        MapCase{"Quad", named("FL,FR,BL,BR"), "", "5.1", 0},
        MapCase{"Wide7Point1", named("FL,FR,FC,LFE,BL,BR,FLC,FRC"), "", "22.2", 0},
        MapCase{"Back6Point1", named("FL,FR,FC,LFE,BL,BR,BC"), "", "22.2", 0},
        MapCase{"7Point0", named("FL,FR,FC,BL,BR,SL,SR"), "", "7.1", 0},
        MapCase{"7Point1Point2", named("FL,FR,FC,LFE,BL,BR,SL,SR,TFL,TFR"), "", "7.1.4", 0},
        MapCase{"9Point1Point6", named("L,R,C,LFE,Lc,Rc,Lss,Rss,Lrs,Rrs,Ltf,Rtf,Ltm,Rtm,Ltr,Rtr"),
                "", "22.2", 0},
        MapCase{"StereoWhereTold", named("FL,FR"), "7.1.4", "7.1.4", 0},
        MapCase{"UnknownHeights", bed_and({kBackLeft, kBackRight, kUnknown, kUnknown}), "",
                "channel 7 of 8 has no label: say what they are with --layout", 0},
        MapCase{"UnknownHeightsButTold", bed_and({kBackLeft, kBackRight, kUnknown, kUnknown}),
                "5.1.2", "5.1.2", 0},
        MapCase{"NoMap", std::vector<Speaker>(24), "", "22.2", 1},
        MapCase{"NoMapOfTen", std::vector<Speaker>(10), "", "has no channel map (10 channels)", 0},
        MapCase{"WrongCount", std::vector<Speaker>(8), "5.1.4", "8 channels, but", 0},
        MapCase{"Twice", named("FL,FR,FC,FL"), "", "FL is there twice", 0},
        MapCase{"RequestAgainstMap", bed_and({kBackLeft, kBackRight, kSideLeft, kSideRight}),
                "5.1.2", "5.1.2 does not hold: leave --layout out", 0}),
    [](const auto& test) { return std::string(test.param.name); });

// What the effect's inputs of 5.1 (FL FR FC LFE BL BR) are fed with, or why not.
struct OrderCase {
  const char* name;
  const char* labels;  // empty: six without
  ChannelRequest request;
  std::vector<size_t> inputs;
  const char* failure = "";
};

class ChannelOrderTest : public ::testing::TestWithParam<OrderCase> {};

TEST_P(ChannelOrderTest, ComesFromLabelsOrOptions) {
  const OrderCase& c = GetParam();
  const ChannelLabels labels = *c.labels ? labels_read(c.labels, ',') : std::vector<Speaker>(6);
  try {
    EXPECT_EQ(c.inputs, channel_plan_make("bed", labels, c.request).file_channels);
    EXPECT_STREQ("", c.failure);
  } catch (const Failure& failure) {
    EXPECT_NE(std::string(failure.what()).find(c.failure), std::string::npos) << failure.what();
    EXPECT_STRNE("", c.failure);
  }
}

const char kVorbisOrder[] = "FL,FC,FR,BL,BR,LFE";
const std::vector<size_t> kInOrder = {0, 1, 2, 3, 4, 5}, kFromVorbis = {0, 2, 1, 5, 3, 4};

INSTANTIATE_TEST_SUITE_P(
    Files, ChannelOrderTest,
    ::testing::Values(
        OrderCase{"Labels", kVorbisOrder, {}, kFromVorbis},
        OrderCase{"LayoutKeepsLabels", kVorbisOrder, {.layout = "5.1"}, kFromVorbis},
        OrderCase{"Relabelled", kVorbisOrder, {.layout = "5.1", .relabel = true}, kInOrder},
        OrderCase{"Usual", "", {}, kInOrder},
        OrderCase{"Told", "", {.channels = kVorbisOrder}, kFromVorbis},
        OrderCase{"Film", "", {.channels = "film"}, kInOrder},
        OrderCase{
            "Bs2051", "", {.channels = "M+000,M-030,M+030,M-110,M+110,lfe1"}, {2, 1, 0, 5, 4, 3}},
        OrderCase{"ToldAgainstLabels",
                  kVorbisOrder,
                  {.channels = "wave"},
                  {},
                  "its channel map says FL FC FR BL BR LFE: --relabel"},
        OrderCase{"WithoutPlace", "FL,FR,WL,WR", {}, {}, "channel 3 is WL, for which no layout"},
        OrderCase{"RelabelWithoutLabels", "", {.layout = "5.1", .relabel = true}, {}, "no effect"},
        OrderCase{"DeviceOrderOf5Point1",
                  "",
                  {.input_order = InputOrder::kDevice},
                  {},
                  "--order device has no effect"},
        OrderCase{"LfeGainOfQuad", "FL,FR,BL,BR", {.lfe_gain_db = 10.0}, {}, "no effect"}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(ChannelLabelsTest, FfmpegDescribesStreams) {
  const struct {
    const char* description;
    size_t channels;
    const char* labels;
  } cases[] = {
      {"5.1(side)", 6, "FL FR FC LFE SL SR"},
      {"8 channels (FL+FR+FC+LFE+BL+BR+TFL+TFR)", 8, "FL FR FC LFE BL BR TFL TFR"},
      {"3 channels (FL+WR+USR63)", 3, "FL WR USR63"},
      {"6 channels", 6, "? ? ? ? ? ?"},
      {"unknown", 2, "? ?"},
      {"5.1", 8, "? ? ? ? ? ? ? ?"},
      {"8 channels (FL+FR", 2, "FL FR"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.labels, labels_text(labels_from_ffmpeg(c.description, c.channels)))
        << c.description;
  }
}

TEST(ChannelMapTest, LabelsPlaceChannelsInAnyOrder) {
  std::vector<Speaker> labels = layout_find("7.1.4")->rows;
  std::reverse(labels.begin(), labels.end());
  const ChannelPlan plan = channel_plan_make("bed.wav", labels, {});
  std::vector<float> frame(labels.size()), placed(labels.size());
  std::iota(frame.begin(), frame.end(), 0.0f);
  channel_plan_reorder(plan, frame.data(), placed.data(), 1);
  std::reverse(placed.begin(), placed.end());
  EXPECT_EQ(frame, placed);
}

TEST(ChannelMapTest, DeviceOrderOfAPlatformFileChangesNothing) {
  std::vector<size_t> in_order(24);
  std::iota(in_order.begin(), in_order.end(), size_t{0});
  const ChannelRequest request = {
      .layout = "22.2", .channels = "android", .input_order = InputOrder::kDevice};
  const ChannelPlan plan = channel_plan_make("bed.wav", std::vector<Speaker>(24), request);
  EXPECT_EQ(in_order, plan.file_channels);
}

// Where the head's axis `axis` (0 ahead, 1 left, 2 up) points in the room.
std::array<double, 3> turned_axis(const Pose& pose, size_t axis) {
  const std::array<double, 3> r = rotation_to_vector(pose_rotation(pose));
  const double angle = std::hypot(r[0], r[1], r[2]);
  const double scale = angle > 0.0 ? 1.0 / angle : 0.0;
  std::array<double, 3> k = {r[0] * scale, r[1] * scale, r[2] * scale}, v = {}, out = {};
  v[axis] = 1.0;
  for (size_t i = 0; i < 3; ++i) {
    const size_t j = (i + 1) % 3, l = (i + 2) % 3;
    out[i] = v[i] * std::cos(angle) + (k[j] * v[l] - k[l] * v[j]) * std::sin(angle) +
             k[i] * k[axis] * (1.0 - std::cos(angle));
  }
  return out;
}

TEST(PoseTest, TurnsTheHeadAboutItsOwnAxes) {
  const struct {
    const char* text;
    size_t axis;
    std::array<double, 3> points;
  } cases[] = {
      {"90,0,0", 0, {0, 1, 0}},    // nose to the left
      {"270,0,0", 0, {0, -1, 0}},  // the shorter way round
      {"0,90,0", 0, {0, 0, -1}},   // nose down
      {"0,0,90", 1, {0, 0, 1}},    // left ear up
      {"90,90,0", 1, {-1, 0, 0}},  // pitched about the axis that yaw has turned
      {"90,0,90", 2, {1, 0, 0}},   // crown to the right shoulder, which points ahead
      {"-90,45,0", 1, {1, 0, 0}},
  };
  for (const auto& c : cases) {
    const std::array<double, 3> points = turned_axis(*pose_parse(c.text), c.axis);
    for (size_t i = 0; i < 3; ++i) EXPECT_NEAR(c.points[i], points[i], 1e-12) << c.text;
  }
}

TEST(PoseTest, RefusesWhatIsNotThreeNumbers) {
  for (const char* text : {"", "1,2", "1,2,3,4", "1,,3", "nan,0,0", "0,inf,0", "a,b,c"}) {
    EXPECT_FALSE(pose_parse(text)) << text;
  }
}

TEST(AudioWriterTest, FileAppearsOnlyWhenComplete) {
  const std::filesystem::path folder =
      std::filesystem::path(::testing::TempDir()) / ("orvane_writer" + std::to_string(getpid()));
  std::filesystem::create_directory(folder);
  const std::string path = (folder / "out.wav").string();
  const float frame[2] = {0.5f, -2.0f};
  { AudioWriter(path, {}).write(frame, 1); }
  EXPECT_TRUE(std::filesystem::is_empty(folder));

  AudioSpec spec;
  spec.sample_format = SampleFormat::kInt24;
  AudioWriter writer(path, spec);
  writer.write(frame, 1);
  writer.commit();
  { AudioWriter(path, {}).write(frame, 1); }  // given up: the earlier file stays
  float read[2] = {};
  EXPECT_EQ(1u, AudioReader(path).read(read, 1));
  EXPECT_FLOAT_EQ(0.5f, read[0]);
  EXPECT_FLOAT_EQ(-1.0f, read[1]);  // clipped, not wrapped around
  EXPECT_EQ(1, std::distance(std::filesystem::directory_iterator(folder), {}));
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace render
