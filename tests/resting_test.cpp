// The shortcut of a scene at rest, held against the way through the field.
#include "renderer/resting.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "base/memory.h"
#include "tests/support/test_renderer.h"

namespace {

struct SceneCase {
  const char* name;
  uint32_t mode, num_inputs, order;
};

// A renderer driven through a random life, the same for every scene of a case.
class Scene {
 public:
  Scene(const SceneCase& c, bool has_shortcut)
      : renderer_(UBR_INPUT_SOURCES, c.num_inputs, c.mode, 512, c.order), random_(c.num_inputs) {
    if (!has_shortcut) {
      resting_cleanup(renderer_.r.resting);
      release(renderer_.r.resting);
    }
    for (uint32_t s = 0; s < c.num_inputs; ++s) place_anywhere(s);
  }

  Planar render(const Planar& input) {
    Planar output(2, input[0].size());
    for (size_t begin = 0; begin < input[0].size(); begin += frames_) {
      live();
      frames_ = std::min(frames_, static_cast<uint32_t>(input[0].size() - begin));
      render_block(input, &output, begin);
    }
    return output;
  }

  uint32_t folded_blocks() const { return folded_blocks_; }

 private:
  uint32_t pick(uint32_t count) { return static_cast<uint32_t>(random_() % count); }
  float coordinate() { return static_cast<float>(pick(4000)) * 1e-3f - 2.0f; }

  void place_anywhere(uint32_t source) {
    const float x = coordinate(), y = coordinate(), z = coordinate();
    renderer_.place(source, pick(ENCODER_SOURCE_LFE + 2), x, y, z);
  }

  // Something happens before every third block or so; in between the scene is at rest.
  void live() {
    ubr_t* const r = &renderer_.r;
    const float turn[3] = {coordinate(), coordinate(), coordinate()};
    constexpr uint32_t kLengths[] = {1, 64, 257, 258, 480, 512, 1000};
    switch (pick(24)) {
      case 0:
        return place_anywhere(pick(r->num_inputs));
      case 1:
        EXPECT_EQ(UBR_OK, ubr_set_source_type(r, pick(r->num_inputs), pick(6)));
        return;
      case 2:
        if (r->rotator) ubr_set_user_orientation(r, turn, ROTATOR_ROTATION_VECTOR);
        return;
      case 3:
        return renderer_.reflect(pick(2));
      case 4:
        EXPECT_EQ(UBR_OK, ubr_set_max_frame_size(r, UBR_MAX_FRAME_SIZE));
        return;
      case 5:
        EXPECT_EQ(UBR_OK, ubr_set_user_position(r, turn));
        return;
      case 6:
      case 7:
        frames_ = std::min(kLengths[pick(std::size(kLengths))], r->max_frame_size);
        return;
      default:
        return;
    }
  }

  void render_block(const Planar& input, Planar* output, size_t begin) {
    std::vector<const float*> in;
    for (size_t c = 0; c < input.size(); ++c) in.push_back(&input[c][begin]);
    float* out[2] = {&(*output)[0][begin], &(*output)[1][begin]};
    ubr_t* const r = &renderer_.r;
    EXPECT_EQ(UBR_OK, ubr_process(r, in.data(), r->num_inputs, out, 2, frames_));
    folded_blocks_ += r->resting && r->resting->is_folded;
  }

  TestRenderer renderer_;
  std::mt19937 random_;
  uint32_t frames_ = 256;
  uint32_t folded_blocks_ = 0;
};

class RestingSceneTest : public ::testing::TestWithParam<SceneCase> {};

TEST_P(RestingSceneTest, SoundsLikeTheWayThroughTheField) {
  const SceneCase& c = GetParam();
  const Planar input = planar_noise(c.num_inputs, 60000, 1);
  Scene through_field(c, false), at_rest(c, true);
  expect_same_signal(through_field.render(input), at_rest.render(input), 2e-6f);
  EXPECT_EQ(0u, through_field.folded_blocks());
  EXPECT_GT(at_rest.folded_blocks(), 20u);
}

INSTANTIATE_TEST_SUITE_P(
    Scenes, RestingSceneTest,
    ::testing::Values(SceneCase{"Tracked", UBR_MODE_BINAURAL_TRACKED, 12, 4},
                      SceneCase{"TrackedFull", UBR_MODE_BINAURAL_TRACKED, 24, 4},
                      SceneCase{"TrackedLowOrder", UBR_MODE_BINAURAL_TRACKED, 3, 1},
                      SceneCase{"Untracked", UBR_MODE_BINAURAL, 12, 4}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(RestingTest, OnlyTheSecondBlockOfAStillSceneIsFolded) {
  TestRenderer renderer(UBR_INPUT_SOURCES, 3, UBR_MODE_BINAURAL_TRACKED, 512, 1);
  const ubr_resting_t& resting = *renderer.r.resting;
  const auto folds = [&](uint32_t frames) {
    renderer.render(Planar(3, frames), {frames});
    return resting.is_folded;
  };
  const float turned[3] = {0.0f, 0.0f, 1.0f}, ahead[3] = {};
  EXPECT_FALSE(folds(512));
  EXPECT_TRUE(folds(512));
  EXPECT_TRUE(folds(400));   // the same transform
  EXPECT_FALSE(folds(256));  // another one
  EXPECT_TRUE(folds(256));
  for (const float* pose : {turned, ahead}) {  // there and back
    EXPECT_EQ(UBR_OK, ubr_set_user_orientation(&renderer.r, pose, ROTATOR_ROTATION_VECTOR));
    EXPECT_FALSE(folds(256));
  }
  EXPECT_FALSE(folds(256));
  EXPECT_TRUE(folds(256));
  const float* const increments = renderer.r.rotator->delta_matrix;
  EXPECT_EQ(0.0f, peak({increments, increments + 16})) << "of a rotator that has come to rest";
  renderer.r.encoder->sources[2].beam[1] += 1.0f;  // by whatever way a beam changes
  EXPECT_FALSE(folds(256));
  EXPECT_TRUE(folds(256));
  renderer.reflect(1);
  EXPECT_FALSE(folds(256));
  EXPECT_FALSE(folds(256));
}

TEST(RestingTest, IsNotBuiltWhereTheFieldIsTheShorterWay) {
  EXPECT_EQ(nullptr, TestRenderer(0, 25, UBR_MODE_BINAURAL, 64, 4).r.resting);
  EXPECT_EQ(nullptr, TestRenderer(0, 12, UBR_MODE_AMBISONIC_TRACKED, 64, 4).r.resting);
  EXPECT_EQ(nullptr, TestRenderer(1, 16, UBR_MODE_BINAURAL, 64, 4).r.resting);
}

TEST(RestingTest, ABinauralizerWithoutBuffersIsSilent) {
  TestRenderer renderer(UBR_INPUT_SOURCES, 2, UBR_MODE_BINAURAL, 64, 1);
  renderer.dry();
  const Planar input = planar_noise(2, 256, 1);
  EXPECT_GT(peak(renderer.render(input, {64})[0]), 0.0f);
  binauralizer_cleanup(renderer.r.binauralizer);
  EXPECT_EQ(0.0f, peak(renderer.render(input, {64})[0]));
}

}  // namespace
