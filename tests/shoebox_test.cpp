// SPDX-License-Identifier: Apache-2.0
// The room record with its setters and conversions, the image sources, and the bounded copies.
#include "room/shoebox.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <string.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "base/bounded_copy.h"
#include "room/shoebox_scene.h"
#include "tests/support/signals.h"

namespace {

using Vector = std::array<double, 3>;

struct TestRoom {
  TestRoom() {
    shoebox_init(&room);
    scene.reflections_per_source = 6.0f;
  }
  void place(float source_count, bool cartesian, bool relative) {
    scene.source_count = source_count;
    shoebox_set_scene(&room, &scene, listener.data(), sources.data(), cartesian, relative);
  }
  shoebox_config_t room;
  shoebox_scene_t scene = {};
  std::array<float, 3> listener = {};
  std::array<float, 3 * 30> sources = {};
};

TEST(ShoeboxSetterTest, OutOfRangeValuesChangeNothing) {
  constexpr auto kCoefficient = shoebox_set_abscoeff, kMaterial = shoebox_set_material;
  struct {
    decltype(kMaterial) set;
    float wall, value;
    int changed;   // wall, 0 for none
    float stored;  // in that wall
  } const cases[] = {{kCoefficient, 1, 0, 1, 0},      {kCoefficient, 5.99f, 0.5f, 5, 0.5f},
                     {kCoefficient, 6, 1, 6, 1},      {kCoefficient, 6.5f, 1, 0, 0},
                     {kCoefficient, 0.99f, 1, 0, 0},  {kCoefficient, 3, 1.01f, 0, 0},
                     {kCoefficient, 3, -0.01f, 0, 0}, {kCoefficient, NAN, 1, 0, 0},
                     {kCoefficient, 3, NAN, 0, 0},    {kCoefficient, INFINITY, 1, 0, 0},
                     {kMaterial, 1, 27.9f, 1, 0.11f}, {kMaterial, 4.7f, 1.99f, 4, 1},
                     {kMaterial, 2, 28, 0, 0},        {kMaterial, 2, 0.9f, 0, 0},
                     {kMaterial, 2, NAN, 0, 0},       {kMaterial, 6.5f, 4, 0, 0}};
  shoebox_params_t expected;
  for (const auto& c : cases) {
    shoebox_config_init(&expected);
    if (c.changed) expected.absorption[c.changed - 1] = c.stored;
    TestRoom t;
    c.set(&t.room, c.wall, c.value);
    EXPECT_TRUE(std::ranges::equal(expected.absorption, t.room.params.absorption))
        << c.wall << ", " << c.value;
  }
}

TEST(ShoeboxSetterTest, EveryMaterialHasItsCoefficient) {
  TestRoom t;
  double weighted_sum = 0.0;
  for (int m = 1; m <= 27; ++m) {
    shoebox_set_material(&t.room, 1.0f, static_cast<float>(m));
    weighted_sum += m * double{t.room.params.absorption[0]};
  }
  EXPECT_NEAR(102.913, weighted_sum, 1e-5);
}

TEST(ShoeboxFixedPointTest, SaturatesAndRoundsHalfAwayFromZero) {
  struct {
    float metres, coefficient;
    int32_t fixed_metres, fixed_coefficient;
  } const cases[] = {
      {1, 0.5f, 1 << 20, 1 << 30},           {2048, 1, INT32_MAX, INT32_MAX},
      {NAN, NAN, INT32_MAX, INT32_MAX},      {-2048, -1, INT32_MIN, INT32_MIN},
      {-INFINITY, -2, INT32_MIN, INT32_MIN}, {1.5f * 0x1p-20f, -2.5f * 0x1p-31f, 2, -3}};
  for (const auto& c : cases) {
    const shoebox_params_t in = {1, 2, c.metres, {0, 0, 0, 0, 0, c.coefficient}};
    shoebox_params_fixed_t fixed;
    shoebox_params_t back;
    shoebox_config_to_fixed(&in, &fixed);
    shoebox_config_to_float(&fixed, &back);
    EXPECT_EQ(c.fixed_metres, fixed.room_z) << c.metres;
    EXPECT_EQ(c.fixed_coefficient, fixed.absorption[5]) << c.coefficient;
    EXPECT_EQ(static_cast<float>(c.fixed_metres) / 1048576.0f, back.room_z);
    EXPECT_EQ(static_cast<float>(c.fixed_coefficient) / 2147483648.0f, back.absorption[5]);
    TestRoom t;
    shoebox_set_config(&t.room, &in);
    shoebox_get_config(&t.room, &back);
    EXPECT_EQ(0, memcmp(&in, &back, sizeof(in)));
  }
}

// Compares the taps of source `s` with the paths to its mirror images.
void expect_taps(const TestRoom& t, size_t s, const Vector& size, const Vector& listener,
                 const Vector& source) {
  Vector v;  // from the listener to the source, later to an image
  for (size_t a = 0; a < 3; ++a) v[a] = source[a] - listener[a];
  const double direct = std::hypot(v[0], v[1], v[2]);
  EXPECT_NEAR(direct, t.room.direct_distances[s], 2e-6);
  for (size_t w = 0; w < 6; ++w) {
    const size_t axis = w / 2, k = 6 * s + w;
    for (size_t a = 0; a < 3; ++a) v[a] = source[a] - listener[a];
    v[axis] = (w % 2 ? -size[axis] : size[axis]) - source[axis] - listener[axis];
    const double path = std::hypot(v[0], v[1], v[2]), longer = std::max(path, direct);
    const double gain = (1 - double{t.room.params.absorption[w]}) * direct / longer;
    // Coordinates of some 10 m carry errors of 1e-6 m. Angles are compared as a direction vector:
    // an arc sine near 1 and an azimuth near the zenith would magnify theirs.
    SCOPED_TRACE(testing::Message() << "source " << s << " wall " << w);
    const double azimuth = t.scene.azimuth[k], across = std::hypot(v[0], v[1]);
    EXPECT_NEAR(path / static_cast<double>(SHOEBOX_SPEED_OF_SOUND), t.scene.delay[k], 1e-8);
    EXPECT_NEAR(gain - 0.00137 * longer, t.scene.gain[k], 2e-6);
    EXPECT_NEAR(v[0], across * std::cos(azimuth), 2e-6 * path);
    EXPECT_NEAR(v[1], across * std::sin(azimuth), 2e-6 * path);
    EXPECT_NEAR(v[2], path * std::sin(double{t.scene.elevation[k]}), 2e-6 * path);
  }
}

TEST(ShoeboxSceneTest, TapsMatchImagesBehindTheWalls) {
  const Vector size = {9.0, 7.0, 3.5};
  const auto clamped = [&size](Vector p) {
    for (size_t a = 0; a < 3; ++a) p[a] = std::clamp(p[a], 0.1 - size[a] / 2, size[a] / 2 - 0.1);
    return p;
  };
  const std::vector<float> random = noise(3 * 30, 1);
  for (int options = 0; options < 8; ++options) {
    const bool cartesian = options & 1, relative = options & 2, from_floor = options & 4;
    TestRoom t;
    t.room.params = {9.0f, 7.0f, 3.5f, {0.0f, 0.1f, 0.3f, 0.5f, 0.7f, 1.0f}};
    t.room.height_from_floor = from_floor;
    t.listener = {20.0f, -1.25f, 1.75f};  // beyond the front wall, and at times at the ceiling
    // Up to 6 m away, so that some sources lie beyond a wall.
    for (size_t i = 0; i < t.sources.size(); ++i) t.sources[i] = 6.0f * random[i];
    t.place(25.0f, cartesian, relative);

    const double floor = from_floor ? -size[2] / 2 : 0.0;
    const Vector listener = clamped({20.0, -1.25, 1.75 + floor});
    for (size_t s = 0; s < 25; ++s) {
      const double a = t.sources[3 * s], b = t.sources[3 * s + 1], c = t.sources[3 * s + 2];
      Vector p = {a, b, c + floor};
      if (!cartesian) p = {c * cos(b) * cos(a), c * cos(b) * sin(a), c * sin(b)};
      for (size_t i = 0; i < 3; ++i) EXPECT_NEAR(p[i], t.room.source_positions[3 * s + i], 2e-6);
      for (size_t i = 0; relative && i < 3; ++i) p[i] += listener[i];
      expect_taps(t, s, size, listener, clamped(p));
    }
  }
}

TEST(ShoeboxSceneTest, DegreesScaleTheDistanceToo) {
  TestRoom t;
  t.listener = {0.0f, 0.0f, 1.6f};
  t.room.angles_in_radians = 0.0f;
  t.sources = {0.0f, 90.0f, 57.29578f};  // 1 m straight overhead
  t.place(1.0f, false, true);
  EXPECT_FLOAT_EQ(1.0f, t.room.direct_distances[0]);
  EXPECT_FLOAT_EQ(1.6f - 4.0f / 2, t.room.listener[2]);
  EXPECT_FLOAT_EQ(std::numbers::pi_v<float> / 2, t.scene.elevation[4]);
  EXPECT_FLOAT_EQ(-std::numbers::pi_v<float> / 2, t.scene.elevation[5]);
}

TEST(ShoeboxSceneTest, OnlyCountedSourcesAreWritten) {
  struct {
    float count, max_sources;
    int used;
  } const cases[] = {{30, 25, 25},  {25, 3, 3},  {2.9f, 25, 2},
                     {0.9f, 25, 0}, {-4, 25, 0}, {NAN, 25, 0}};
  for (const auto& c : cases) {
    TestRoom t;
    t.room.max_sources = c.max_sources;
    std::ranges::fill(t.room.source_positions, 1.0f);
    std::ranges::fill(t.scene.delay, -1.0f);
    t.place(c.count, false, true);
    const auto written = std::ranges::count_if(t.scene.delay, [](float d) { return d != -1.0f; });
    EXPECT_EQ(6 * c.used, written) << c.count;
    EXPECT_EQ(75, std::ranges::count(t.room.source_positions, 0.0f));
  }
}

#ifdef _WIN32
const testing::ExitedWithCode kAborted(3);
#else
const testing::KilledBySignal kAborted(SIGABRT);
#endif

TEST(ShoeboxSceneDeathTest, RecordsAreNeverOverrun) {
  TestRoom t;
  for (const float stride : {6.05f, -1.0f, NAN}) {
    t.scene.reflections_per_source = stride;
    EXPECT_EXIT(t.place(25.0f, true, true), kAborted, "") << stride;
  }
  t.scene.reflections_per_source = 0.0f;
  t.room.max_sources = 26.0f;
  EXPECT_EXIT(t.place(26.0f, true, true), kAborted, "");
}

TEST(BoundedCopyTest, TheSmallerSizeDecides) {
  char text[] = "abcdef";
  EXPECT_EQ(2u, memscpy(text, 2, "xyz", 3));
  EXPECT_EQ(4u, memsmove(text + 2, 5, text, 4));
  EXPECT_EQ(0u, memscpy(nullptr, 0, text, 3));
  EXPECT_EQ(0u, memsmove(text, 6, nullptr, 0));
  EXPECT_STREQ("xyxycd", text);
}

}  // namespace
