// SPDX-License-Identifier: Apache-2.0
// Numbers that are not finite, or hardly numbers any more, in the audio and in every parameter of
// the effect.
#include <errno.h>
#include <float.h>
#include <gtest/gtest.h>
#include <string.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "tests/support/effect_host.h"
#include "tests/support/signals.h"
#include "tests/support/test_renderer.h"

namespace {

constexpr float kNotFinite[] = {NAN, -NAN, INFINITY, -INFINITY};
constexpr float kExtreme[] = {1e-45f, -1e-39f, -0.0f, FLT_MIN, FLT_MAX, -FLT_MAX};
constexpr size_t kBlock = 256;

bool all_finite(const std::vector<float>& samples) { return std::isfinite(peak(samples)); }

bool has_subnormals(const std::vector<float>& samples) {
  return std::ranges::any_of(samples,
                             [](float sample) { return std::fpclassify(sample) == FP_SUBNORMAL; });
}

struct Scene {
  orvane_layout_t layout;
  float reflections_mode;
  bool turning;
  float pulse_spacing;
};

constexpr Scene kScenes[] = {{layout_named("5.1"), 0.0f, false, 80.0f},
                             {layout_named("7.1.4"), 4.0f, true, 80.0f},
                             {layout_named("7.1.4"), 0.0f, true, 3.0f},
                             {layout_named("22.2"), 2.0f, false, 3.0f}};

// Renders `in` in short blocks, with a head that turns in between if the scene says so.
std::vector<float> render(EffectHost& host, const Scene& scene, const std::vector<float>& in) {
  const auto block = static_cast<ptrdiff_t>(kBlock * scene.layout.num_channels);
  std::vector<float> out;
  float angle = 0.0f;
  for (auto start = in.begin(); start < in.end(); start += block) {
    EXPECT_EQ(0, scene.turning ? host.set_pose(0.0f, 0.1f, angle += 0.1f) : 0);
    const std::vector<float> part =
        host.render({start, start + block}, scene.layout.num_channels, {kBlock});
    out.insert(out.end(), part.begin(), part.end());
  }
  EXPECT_EQ(in.size() / scene.layout.num_channels * 2, out.size());
  return out;
}

void set_up(EffectHost& host, const Scene& scene) {
  EXPECT_EQ(0, host.configure_and_enable(scene.layout.mask));
  EXPECT_EQ(0, host.set_float(102, scene.pulse_spacing));
  EXPECT_EQ(0, host.set_float(103, 0.05f));  // seconds of tail
  EXPECT_EQ(0, host.set_float(200, scene.reflections_mode));
}

std::vector<float> render_anew(const Scene& scene, const std::vector<float>& in) {
  EffectHost host;
  set_up(host, scene);
  return render(host, scene, in);
}

TEST(BadAudioTest, IsForgottenOnceTheFiltersHavePassedIt) {
  constexpr size_t kFrames = 40 * kBlock;
  constexpr size_t kMemory = 2 * (kBlock + 1300 + 1440 + 2400 + 256);  // samples of both ears
  for (const Scene& scene : kScenes) {
    SCOPED_TRACE(scene.layout.name);
    const std::vector<float> clean = noise(kFrames * scene.layout.num_channels, 1);
    const std::vector<float> expected = render_anew(scene, clean);
    for (const float bad : {NAN, -INFINITY, FLT_MAX}) {
      std::vector<float> spoilt = clean;
      std::fill_n(spoilt.begin() + 7, 2 * scene.layout.num_channels, bad);
      const std::vector<float> actual = render_anew(scene, spoilt);
      EXPECT_FALSE(all_finite({actual.begin(), actual.begin() + 2 * kBlock})) << bad;
      EXPECT_TRUE(std::equal(expected.begin() + kMemory, expected.end(), actual.begin() + kMemory));
    }
  }
}

TEST(BadAudioTest, FadesToZeroWithoutSubnormals) {
  constexpr size_t kFrames = 64 * kBlock;
  for (const Scene& scene : kScenes) {
    SCOPED_TRACE(scene.layout.name);
    std::vector<float> in = noise(kFrames * scene.layout.num_channels, 2);
    for (size_t i = 0; i < in.size(); ++i) {
      const auto time = static_cast<double>(i) / static_cast<double>(in.size());
      in[i] *= static_cast<float>(std::pow(10.0, -90.0 * time));  // half of it is nothing at all
    }
    ASSERT_TRUE(has_subnormals(in));
    const std::vector<float> out = render_anew(scene, in);
    EXPECT_FALSE(has_subnormals(out));
    EXPECT_GT(peak({out.begin(), out.begin() + 2 * kBlock}), 0.01f);
    EXPECT_EQ(0.0f, peak({out.end() - 2 * kBlock, out.end()}));
  }
}

struct Parameter {
  int32_t id;
  size_t index, count;  // of the float that is bad, and of floats in all
  bool is_ignored;
};

std::vector<Parameter> parameters() {
  std::vector<Parameter> all;
  for (size_t i = 0; i < 6; ++i) all.push_back({SPATIALIZER_PARAM_HEAD_TO_STAGE, i, 6, i < 3});
  for (int32_t id = 100; id < 110; ++id) all.push_back({id, 0, 1, false});
  for (int32_t id = 200; id < 219; ++id) all.push_back({id, 0, 1, false});
  return all;
}

int32_t set(EffectHost& host, const Parameter& parameter, float value) {
  std::vector<float> values(parameter.count);
  values[parameter.index] = value;
  std::vector<uint8_t> bytes(4 * values.size());
  memcpy(bytes.data(), values.data(), bytes.size());
  return host.set_parameter(parameter.id, bytes, static_cast<uint32_t>(bytes.size()));
}

// All that is refused goes to one instance, which then has to sound like one that was left alone.
// What is accepted adds up in an instance per parameter.
TEST(BadParameterTest, IsRefusedWithoutATraceOrLeavesTheOutputFinite) {
  const Scene scene = {layout_named("5.1"), 2.0f, false, 80.0f};
  const std::vector<float> in = noise(4 * kBlock * scene.layout.num_channels, 3);
  EffectHost untouched;
  set_up(untouched, scene);
  for (const Parameter& parameter : parameters()) {
    EffectHost host;
    set_up(host, scene);
    for (const float value : kExtreme) {
      SCOPED_TRACE(testing::Message()
                   << "id " << parameter.id << "[" << parameter.index << "] = " << value);
      const int32_t status = set(host, parameter, value);
      if (status != 0 || parameter.is_ignored) {
        EXPECT_EQ(status, set(untouched, parameter, value));
        EXPECT_TRUE(status == 0 || status == -EINVAL) << status;
      } else {
        const std::vector<float> out = render(host, scene, in);
        EXPECT_TRUE(all_finite(out));
        EXPECT_FALSE(has_subnormals(out));
      }
    }
    for (const float value : kNotFinite) {
      EXPECT_EQ(parameter.is_ignored ? 0 : -EINVAL, set(untouched, parameter, value))
          << "id " << parameter.id << "[" << parameter.index << "] = " << value;
    }
  }
  EXPECT_EQ(render_anew(scene, in), render(untouched, scene, in));
}

// The position of a source is not checked, but does not outlast the next one.
TEST(BadPositionTest, IsForgottenWithTheNextPosition) {
  const auto start_anew = [](TestRenderer& renderer) {
    const float origin[3] = {};
    EXPECT_EQ(UBR_OK, ubr_set_user_position(&renderer.r, origin));
    renderer.place(0, ENCODER_SOURCE_WORLD, 0.0f, 2.0f, 0.0f);
    renderer.render(Planar(1, 640), {64});
    return renderer.render(planar_noise(1, 1024, 4), {64})[0];
  };
  std::vector<float> values(std::begin(kNotFinite), std::end(kNotFinite));
  values.insert(values.end(), std::begin(kExtreme), std::end(kExtreme));
  for (const float bad : values) {
    for (const uint32_t axis : {0u, 1u, 2u}) {
      SCOPED_TRACE(testing::Message() << bad << ", axis " << axis);
      TestRenderer renderer(UBR_INPUT_SOURCES, 1, UBR_MODE_BINAURAL_TRACKED, 64, 4);
      renderer.dry();
      const auto expected = start_anew(renderer);
      float position[3] = {1.0f, 1.0f, 1.0f};
      position[axis] = bad;
      renderer.place(0, ENCODER_SOURCE_WORLD, position[0], position[1], position[2]);
      position[axis] = -bad;
      EXPECT_EQ(std::isfinite(bad) ? UBR_OK : UBR_INVALID,
                ubr_set_user_position(&renderer.r, position));
      const auto spoilt = renderer.render(planar_noise(1, 640, 5), {64})[0];
      EXPECT_TRUE(all_finite(spoilt) || std::isnan(bad));
      EXPECT_EQ(expected, start_anew(renderer));
    }
  }
}

}  // namespace
