// SPDX-License-Identifier: Apache-2.0
// Early reflections on their own: layouts, and what a record holds through modes, rooms and memory
// failures. Their sound is held by route_test.cpp and by the validation report.
#include "renderer/reflections.h"

#include <gtest/gtest.h>

#include <cmath>

#include "renderer/reflection_layouts.h"
#include "tests/support/test_renderer.h"

namespace {

constexpr uint32_t kMaxFrame = 300;

// A renderer of order 3 that has reflections of one mode.
struct Reflecting : TestRenderer {
  explicit Reflecting(uint32_t mode, uint32_t order = 3)
      : TestRenderer(UBR_INPUT_SOURCES, 1, UBR_MODE_BINAURAL_TRACKED, kMaxFrame, order),
        reflections(r.reflections) {
    if (mode) reflect(mode);
  }
  void set(uint32_t id, float value) {
    EXPECT_EQ(UBR_OK, ubr_set_reflections_param(&r, id, value));
  }

  // The field with its reflections, in blocks of changing length and in place.
  Planar process(const Planar& input) {
    Planar field = input;
    const uint32_t lengths[] = {kMaxFrame, 1, 63, kMaxFrame, 30};
    const uint32_t total = static_cast<uint32_t>(input[0].size());
    for (uint32_t start = 0, turn = 0, n = 0; start < total; start += n, ++turn) {
      n = std::min(lengths[turn % 5], total - start);
      std::vector<float*> rows;
      for (size_t c = 0; c < field.size(); ++c) rows.push_back(&field[c][start]);
      EXPECT_EQ(UBR_OK, ubr_process_reflections(reflections, rows.data(), rows.data(), n));
    }
    return field;
  }

  ubr_reflections_t* reflections;
};

TEST(ReflectionLayoutTest, DecodersInvertTheirBeams) {
  for (uint32_t mode = 1; mode <= 4; ++mode) {
    const Reflecting test(mode, 4);
    const uint32_t size = reflection_layout_size(mode), padded = (size + 3) / 4 * 4;
    double worst = 0.0;
    for (uint32_t i = 0; i < size; ++i) {
      const ubr_virtual_source_t& source = test.reflections->virtual_sources[i];
      float beam[AMBISONICS_MAX_CHANNELS];
      ambisonics_base_generate_beam(test.r.ambisonics, beam, source.azimuth, source.elevation,
                                    1.0f);
      for (uint32_t v = 0; v < padded; ++v) {
        double product = v == i ? -1.0 : 0.0;
        for (uint32_t c = 0; c < padded; ++c) {
          const double weight = test.reflections->decoding_matrix[v * padded + c];
          EXPECT_TRUE((v < size && c < size) || weight == 0.0);
          if (c < size) product += weight * static_cast<double>(beam[c]);
        }
        worst = std::max(worst, std::fabs(product));
      }
    }
    EXPECT_LT(worst, 4e-6) << "mode " << mode;
  }
}

TEST(ReflectionLayoutTest, DecodersHaveTheWeightsHostsKnow) {
  const struct {
    uint32_t mode, loudspeaker, first_channel;
    double tolerance;  // of figures with six decimals, or with five
    std::vector<double> weights;
  } rows[] = {{1, 0, 0, 1e-6, {0.25, 0, 0.75, 0}},
              {1, 1, 0, 1e-6, {0.25, 0, -0.25, 0.707107}},
              {1, 3, 0, 1e-6, {0.25, -0.612372, -0.25, -0.353553}},
              {2, 1, 4, 1e-6, {0, -0.000001, 0.087849, -0.613679, 0.140183}},
              {2, 4, 0, 1e-6, {0.112206, -0.237509, -0.264101, -0.071812, 0.043884, 0.42943}},
              {2, 8, 4, 1e-6, {-0.429837, -0.039691, -0.181438, 0.271626, 0.075979}},
              {3, 0, 0, 5e-6, {0.060135, -0.00007, 0.18048}},
              {4, 0, 0, 5e-6, {0.041929, 0.001509, 0.13119}}};
  for (const auto& row : rows) {
    const uint32_t stride = reflection_layout_size(row.mode);
    std::vector<float> matrix(size_t{stride} * stride);
    reflection_layout_decoder(row.mode, stride, matrix.data());
    for (size_t i = 0; i < row.weights.size(); ++i) {
      const float weight = matrix[row.loudspeaker * stride + row.first_channel + i];
      EXPECT_NEAR(row.weights[i], weight, row.tolerance) << row.mode << ", " << row.loudspeaker;
    }
  }
}

TEST(ReflectionsTest, AMovedListenerIsHeardUndelayedUntilTheNextCompute) {
  Reflecting test(1);
  test.set(UBR_REFLECTIONS_LISTENER_X, 0.5f);
  const float ahead[3] = {1.0f, 0.0f, 0.0f};
  ASSERT_EQ(UBR_OK, ubr_set_user_position(&test.r, ahead));
  const float* listener = test.reflections->room.listener;
  EXPECT_FLOAT_EQ(1.5f, listener[0]);
  EXPECT_FLOAT_EQ(0.0f, listener[1]);
  EXPECT_FLOAT_EQ(-0.4f, listener[2]) << "1.6 m above the floor";
  Planar impulse(16, 64);
  impulse[0][0] = 1.0f;
  const Planar undelayed = test.process(impulse);
  EXPECT_NE(1.0f, undelayed[0][0]);
  EXPECT_EQ(0.0f, peak({undelayed[0].begin() + 1, undelayed[0].end()}));

  ASSERT_EQ(UBR_OK, ubr_compute_reflections(&test.r));
  EXPECT_FLOAT_EQ(0.5f, listener[0]);
  EXPECT_EQ(impulse[0], test.process(impulse)[0]) << "the nearest wall is further than 64 samples";
}

TEST(ReflectionsTest, ResetAndComputeSilenceWhatIsInFlight) {
  for (const bool compute : {false, true}) {
    Reflecting test(2);
    test.process(planar_noise(16, 300, 1));
    EXPECT_EQ(UBR_OK, compute ? ubr_compute_reflections(&test.r) : ubr_reset(&test.r));
    EXPECT_EQ(test.reflections->delay_line_length - kMaxFrame, test.reflections->write_index);
    EXPECT_EQ(0.0f, peak(test.process(Planar(16, 4000))[0]));
  }
}

TEST(ReflectionsTest, ALargerLayoutNeedsMoreDelayLinesOfTheSameLength) {
  Reflecting test(1, 4);
  ASSERT_EQ(UBR_OK, ubr_set_max_frame_size(&test.r, UBR_MAX_FRAME_SIZE));
  test.reflect(4);
  EXPECT_EQ(2048u, test.reflections->delay_line_length) << "blocks are longer than any delay";
  EXPECT_EQ(25u, test.reflections->num_delay_lines);
  EXPECT_TRUE(
      std::isfinite(peak(test.process(planar_noise(AMBISONICS_MAX_CHANNELS, 4000, 1))[24])));
}

TEST(ReflectionsTest, AResetAfterGrowingWhileTheyAreOffMeetsNoShortLines) {
  Reflecting test(1);
  for (uint32_t axis = 0; axis < 3; ++axis) test.set(UBR_REFLECTIONS_ROOM_X + axis, 1.0f);
  test.reflect(1);
  ASSERT_GT(1024u, test.reflections->delay_line_length);
  test.reflect(0);
  ASSERT_EQ(UBR_OK, ubr_set_max_frame_size(&test.r, UBR_MAX_FRAME_SIZE));
  test.set(UBR_REFLECTIONS_MODE, 1.0f);
  EXPECT_EQ(UBR_OK, ubr_reset(&test.r));
}

TEST(ReflectionsModeTest, NothingRendersBetweenAModeAndItsCompute) {
  Reflecting test(0);
  ubr_t* r = &test.r;
  ubr_reflections_t* reflections = test.reflections;
  Planar field = planar_noise(16, kMaxFrame + 1, 1);
  const Planar untouched = field;
  const auto process = [&](uint32_t frames) {
    return ubr_process_reflections(reflections, field.data(), field.data(), frames);
  };
  EXPECT_EQ(UBR_OK, ubr_compute_reflections(r));
  EXPECT_EQ(UBR_OK, process(64)) << "off";
  EXPECT_EQ(UBR_OK, ubr_set_reflections_mode(reflections, 3));
  EXPECT_EQ(UBR_MISSING, process(64));
  EXPECT_EQ(UBR_MISSING, ubr_process(r, field.data(), 1, field.data(), 2, 64));
  EXPECT_EQ(UBR_OK, ubr_reset(r)) << "before the first compute";
  EXPECT_EQ(UBR_OK, ubr_compute_reflections(r));
  EXPECT_EQ(UBR_MISSING, process(kMaxFrame + 1));
  EXPECT_EQ(UBR_OK, ubr_set_reflections_mode(reflections, 3));
  EXPECT_EQ(1u, reflections->ready) << "the mode in use";
  // A layout for more channels than there are, and an unknown one that stays selected.
  for (const uint32_t mode : {4u, 5u}) {
    EXPECT_EQ(UBR_OK, ubr_set_reflections_mode(reflections, 3));
    EXPECT_EQ(UBR_OK, ubr_compute_reflections(r));
    EXPECT_EQ(mode == 5 ? UBR_INVALID : UBR_OK, ubr_set_reflections_mode(reflections, mode));
    EXPECT_EQ(mode, reflections->reflections_mode);
    EXPECT_EQ(UBR_MISSING, process(64));
    EXPECT_EQ(UBR_OK, ubr_reset(r));
    EXPECT_EQ(UBR_INVALID, ubr_compute_reflections(r));
    EXPECT_EQ(0u, reflections->ready);
  }
  EXPECT_EQ(UBR_OK, ubr_set_reflections_mode(reflections, 0));
  EXPECT_EQ(nullptr, reflections->decoding_matrix);
  EXPECT_EQ(UBR_OK, process(64));
  for (const size_t c : {2u, 15u}) EXPECT_EQ(untouched[c], field[c]);
  EXPECT_EQ(UBR_MISSING, ubr_set_reflections_mode(nullptr, 1));
  EXPECT_EQ(UBR_MISSING, ubr_process_reflections(nullptr, field.data(), field.data(), 64));
  EXPECT_EQ(UBR_MISSING, ubr_reset_reflections(nullptr, 64));
}

TEST(ReflectionsEncoderTest, WithoutOneTimeGoesOnAndNothingIsAdded) {
  Reflecting test(1), whole(1);
  ubr_reflections_t& r = *test.reflections;
  const Planar input = planar_noise(AMBISONICS_MAX_CHANNELS, 3 * kMaxFrame, 5);
  const uint32_t start = r.write_index;
  const auto render = [&](Reflecting& reflecting, uint32_t block) {
    Planar field(AMBISONICS_MAX_CHANNELS, kMaxFrame);
    for (size_t c = 0; c < field.size(); ++c) {
      std::copy_n(&input[c][block * kMaxFrame], kMaxFrame, field[c].begin());
    }
    EXPECT_EQ(UBR_OK, ubr_process_reflections(reflecting.reflections, field.data(), field.data(),
                                              kMaxFrame));
    return field;
  };
  encoder_t* const encoder = r.reflections_encoder;
  for (const uint32_t block : {0u, 1u}) {
    if (block == 0) r.reflections_encoder = nullptr;
    if (block == 1) encoder->max_frame_size = kMaxFrame - 1;
    EXPECT_EQ(input[0][block * kMaxFrame + 200], render(test, block)[0][200]);
    r.reflections_encoder = encoder;
    encoder->max_frame_size = kMaxFrame;
    render(whole, block);
  }
  EXPECT_EQ((start + 2 * kMaxFrame) % r.delay_line_length, r.write_index);
  expect_same_signal(render(whole, 2), render(test, 2), 0.0f);  // of what the lines took meanwhile
  Planar longer(AMBISONICS_MAX_CHANNELS, kMaxFrame + 1);
  EXPECT_EQ(UBR_MISSING, ubr_process_reflections(&r, longer.data(), longer.data(), kMaxFrame + 1));
}

TEST(ReflectionsLifeTest, SwitchedOffTheyKeepTheirLinesAndAResetStillFits) {
  Reflecting test(2);
  const float* const lines = test.reflections->delay_lines;
  test.reflect(0);
  EXPECT_EQ(lines, test.reflections->delay_lines);
  test.set(UBR_REFLECTIONS_ROOM_X, 1.0f);
  EXPECT_EQ(UBR_OK, ubr_set_max_frame_size(&test.r, UBR_MAX_FRAME_SIZE));
  test.set(UBR_REFLECTIONS_MODE, 2.0f);  // not computed
  EXPECT_EQ(UBR_OK, ubr_reset(&test.r));
}

}  // namespace
