// SPDX-License-Identifier: Apache-2.0
#include "ambisonics/rotator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <string>

#include "base/result.h"
#include "tests/support/overlapping_rows.h"
#include "tests/support/test_renderer.h"

namespace {

using Vector = std::array<double, 3>;

struct TestRotator {
  ambisonics_base_t base = {};
  rotator_t r = {};
  TestRotator(uint32_t order, uint32_t max_frame_size) {
    EXPECT_EQ(UBR_OK, ambisonics_base_init(&base, {order, 0, 0, (order + 1) * (order + 1)}));
    EXPECT_EQ(UBR_OK, rotator_init(&r, &base, max_frame_size));
  }
  ~TestRotator() {
    rotator_cleanup(&r);
    ambisonics_base_cleanup(&base);
  }
  std::vector<float> weights(const Vector& v) const {
    std::vector<float> values(base.num_channels);
    const double azimuth = std::atan2(v[1], v[0]), elevation = std::asin(v[2]);
    ambisonics_base_generate_beam(&base, values.data(), static_cast<float>(azimuth),
                                  static_cast<float>(elevation), 1.0f);
    return values;
  }
  uint32_t set(const Vector& o, uint32_t format) {
    const float orientation[3] = {static_cast<float>(o[0]), static_cast<float>(o[1]),
                                  static_cast<float>(o[2])};
    return rotator_set_orientation(&r, orientation, format);
  }
  Planar process(const Planar& input) {
    Planar output(base.num_channels, input[0].size());
    const uint32_t frames = static_cast<uint32_t>(input[0].size());
    EXPECT_EQ(UBR_OK, rotator_process(&r, input.data(), output.data(), frames));
    return output;
  }
};

// `v` turned by `degrees` about the unit vector `k` (right hand rule).
Vector turned(const Vector& v, const Vector& k, double degrees) {
  const double a = degrees * std::numbers::pi / 180.0, c = std::cos(a), s = std::sin(a);
  const Vector cross = {k[1] * v[2] - k[2] * v[1], k[2] * v[0] - k[0] * v[2],
                        k[0] * v[1] - k[1] * v[0]};
  const double along = (k[0] * v[0] + k[1] * v[1] + k[2] * v[2]) * (1.0 - c);
  Vector result;
  for (size_t i = 0; i < 3; ++i) result[i] = v[i] * c + cross[i] * s + k[i] * along;
  return result;
}

// Where a direction of the scene goes: each turn of the head undone, the other way round.
Vector seen_by_head(const Vector& v, const Vector& o, uint32_t format) {
  const Vector x = {1, 0, 0}, y = {0, 1, 0}, z = {0, 0, 1};
  if (format == ROTATOR_EULER_A) return turned(turned(turned(v, z, -o[0]), y, -o[1]), x, -o[2]);
  if (format == ROTATOR_YAW_PITCH_ROLL)
    return turned(turned(turned(v, x, -o[2]), y, -o[1]), z, -o[0]);
  const double angle = std::hypot(o[0], o[1], o[2]);
  if (angle == 0.0) return v;
  return turned(v, {o[0] / angle, o[1] / angle, o[2] / angle}, -angle * 180.0 / std::numbers::pi);
}

struct PoseCase {
  const char* name;
  uint32_t format;
  Vector orientation;
};

class RotatorPoseTest : public ::testing::TestWithParam<std::tuple<uint32_t, PoseCase>> {};

TEST_P(RotatorPoseTest, RotatingAFieldEqualsEncodingItsTurnedSource) {
  const auto& [order, pose] = GetParam();
  TestRotator rotator(order, 8);
  EXPECT_EQ(UBR_OK, rotator.set(pose.orientation, pose.format));
  Planar input(rotator.base.num_channels, 1);
  rotator.process(input);  // the fade
  for (const Vector& v : {Vector{0.6, 0.64, 0.48}, Vector{0, 0, -1}, Vector{-0.48, -0.6, 0.64}}) {
    const auto weights = rotator.weights(v);
    for (size_t c = 0; c < weights.size(); ++c) input[c][0] = weights[c];
    const auto expected = rotator.weights(seen_by_head(v, pose.orientation, pose.format));
    const Planar output = rotator.process(input);
    for (size_t c = 0; c < weights.size(); ++c) EXPECT_NEAR(expected[c], output[c][0], 2e-6f) << c;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Poses, RotatorPoseTest,
    ::testing::Combine(::testing::Range(0u, 5u),
                       ::testing::Values(PoseCase{"Rest", 2, {0, 0, 0}},
                                         PoseCase{"QuarterLeft", 2, {0, 0, 1.5707964}},
                                         PoseCase{"AnyVector", 2, {0.7, -2.1, 1.3}},
                                         PoseCase{"BeyondOneTurn", 2, {-4.0, 5.0, 3.0}},
                                         PoseCase{"TinyVector", 2, {1e-30, 0, 1e-25}},
                                         PoseCase{"EulerA", 0, {35.0, -50.0, 110.0}},
                                         PoseCase{"YawPitchRoll", 1, {-70.0, 40.0, 160.0}})),
    [](const auto& test) {
      return "Order" + std::to_string(std::get<0>(test.param)) + std::get<1>(test.param).name;
    });

TEST(RotatorPitchTest, KeepsOneDegreeFromTheUpperPoleOnly) {
  struct {
    double set, heard;
  } cases[] = {{88.9, 88.9}, {89.5, 89.0}, {90.0, 90.0},
               {90.5, 91.0}, {91.2, 91.2}, {-89.5, -89.5}};
  TestRotator rotator(1, 8);
  for (const auto& c : cases) {
    EXPECT_EQ(UBR_OK, rotator.set({0.0, c.set, 0.0}, ROTATOR_YAW_PITCH_ROLL));
    const double heard = c.heard * std::numbers::pi / 180.0;
    EXPECT_NEAR(std::cos(heard), rotator.r.orientation_matrix[8], 3e-7) << c.set;
    EXPECT_NEAR(std::sin(heard), rotator.r.orientation_matrix[2], 3e-7) << c.set;
  }
}

class RotatorRampTest : public ::testing::TestWithParam<uint32_t> {};

TEST_P(RotatorRampTest, StepsEveryFourSamplesAndTheNextBlockStartsAtTheNewMatrix) {
  const uint32_t frames = GetParam();
  TestRotator rotator(1, 64);
  rotator.set({2.0, 0.5, 0.1}, ROTATOR_ROTATION_VECTOR);  // never heard
  rotator.set({0.0, 0.0, 1.5707964}, ROTATOR_ROTATION_VECTOR);
  Planar ahead(4, frames);
  for (float& s : ahead[3]) s = 1.0f;
  const Planar turning = rotator.process(ahead), turned_away = rotator.process(ahead);
  EXPECT_EQ(UBR_OK, rotator_reset(&rotator.r));
  const Planar returning = rotator.process(ahead);
  for (uint32_t t = 0; t < frames; ++t) {
    const float done = static_cast<float>(t & ~3u) / static_cast<float>(frames);
    EXPECT_NEAR(1.0f - done, turning[3][t], 1e-6f) << t;
    EXPECT_NEAR(-done, turning[1][t], 1e-6f) << t;
    EXPECT_NEAR(-1.0f, turned_away[1][t], 1e-6f) << t;
    EXPECT_NEAR(done - 1.0f, returning[1][t], 1e-6f) << t;
  }
}

INSTANTIATE_TEST_SUITE_P(BlockLengths, RotatorRampTest, ::testing::Values(1, 4, 5, 62, 64));

TEST(RotatorLimitTest, RefusalsChangeNothing) {
  const double inf = std::numeric_limits<double>::infinity(), nan = std::nan("");
  TestRotator rotator(1, 8);
  rotator.set({10.0, 20.0, 30.0}, ROTATOR_EULER_A);
  const Planar input = planar_noise(4, 9, 1);
  Planar output(4, 9);
  EXPECT_EQ(UBR_MISSING, rotator_process(&rotator.r, input.data(), output.data(), 9));
  EXPECT_EQ(0.0f, peak(output[0]));
  const std::vector<float> matrix(rotator.r.current_matrix, rotator.r.current_matrix + 16);
  const float m0 = rotator.r.orientation_matrix[0];
  EXPECT_EQ(UBR_INVALID, rotator.set({0.0, 0.0, 0.0}, 3));
  EXPECT_EQ(UBR_INVALID, rotator.set({0.0, 3e38, 0.0}, ROTATOR_ROTATION_VECTOR));
  for (const double bad : {nan, inf, -inf}) {
    for (const uint32_t format : {0u, 1u, 2u}) {
      EXPECT_EQ(UBR_INVALID, rotator.set({0.0, 1.0, bad}, format)) << bad << ", " << format;
    }
  }
  EXPECT_EQ(matrix, std::vector<float>(rotator.r.current_matrix, rotator.r.current_matrix + 16));
  EXPECT_EQ(m0, rotator.r.orientation_matrix[0]);
}

// Turning, then static, then grown; through the renderer, too.
TEST(RotatorInPlaceTest, OutputsMayOverlapTheInputs) {
  for (const uint32_t order : {1u, 2u, 3u, 4u}) {
    for (const int32_t offset : OverlappingRows::kOffsets) {
      TestRotator apart(order, 1024), shared(order, 512);
      TestRenderer renderer(UBR_INPUT_AMBISONICS, apart.base.num_channels,
                            UBR_MODE_AMBISONIC_TRACKED, 1024, order);
      for (const uint32_t frames : {512u, 259u, 259u, 3u, 1024u}) {
        const float pose[3] = {0.1f, -0.7f, frames > 500 ? 2.0f : 0.3f};
        for (TestRotator* test : {&apart, &shared}) {
          EXPECT_EQ(UBR_OK, rotator_set_orientation(&test->r, pose, ROTATOR_ROTATION_VECTOR));
        }
        ubr_set_user_orientation(&renderer.r, pose, ROTATOR_ROTATION_VECTOR);
        const uint32_t longest = std::max(512u, frames);
        EXPECT_EQ(UBR_OK, rotator_reset_max_frame_size(&shared.r, longest));
        const uint32_t count = apart.base.num_channels;
        OverlappingRows field(count, frames, offset), rendered(count, frames, offset);
        const Planar expected = apart.process(field.copy(field.inputs));
        EXPECT_EQ(UBR_OK,
                  rotator_process(&shared.r, field.inputs.data(), field.outputs.data(), frames));
        EXPECT_EQ(UBR_OK, ubr_process(&renderer.r, rendered.inputs.data(), count,
                                      rendered.outputs.data(), count, frames));
        expect_same_signal(expected, field.copy(field.outputs), 1e-7f);
        expect_same_signal(expected, rendered.copy(rendered.outputs), 1e-7f);
      }
    }
  }
}

}  // namespace
