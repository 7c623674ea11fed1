// Every way through the renderer, held against the plain order of its stages.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "ambisonics/turning_encoder.h"
#include "effect/layouts.h"
#include "platform/effect_abi.h"
#include "renderer/resting.h"
#include "renderer/room_modules.h"
#include "tests/support/effect_host.h"
#include "tests/support/plain_renderer.h"
#include "tests/support/test_renderer.h"

namespace {

struct OrderCase {
  std::string name;
  uint32_t input_type, num_inputs, mode, order;
  uint32_t mask;  // of a layout, or 0 for sources of every type anywhere
};

// A renderer and its reference, driven through the same life.
class Scene {
 public:
  explicit Scene(const OrderCase& c)
      : renderer_(c.input_type, c.num_inputs, c.mode, 512, c.order),
        plain_(renderer_.r),
        random_(c.num_inputs) {
    if (!r_->encoder) return;
    int32_t layout = 0;
    if (c.mask && audio_channel_mask_to_LAYOUT_INDEX(c.mask, &layout) == 0) {
      orvane_set_layout_sources(r_, layout);
    } else {
      for (uint32_t s = 0; s < c.num_inputs; ++s) place_anywhere(s);
    }
  }

  // Turning blocks, blocks at rest, a source that moves, blocks at rest, and turning ones.
  void live(uint32_t reflections_mode, bool has_tail) {
    select_room(std::min(reflections_mode, r_->ambi_config.order), has_tail);
    for (const bool turns : {true, true, false, false, false}) render_block(turns);
    if (r_->encoder) place_anywhere(pick(r_->num_inputs));
    for (const bool turns : {false, false, true, true}) render_block(turns);
    SCOPED_TRACE(testing::Message() << "reflections in mode " << reflections_mode);
    expect_same_signal(expected_, actual_, 2e-6f);
    for (Planar* signal : {&expected_, &actual_}) clear(signal);
  }

  void reset() {
    EXPECT_EQ(UBR_OK, ubr_reset(r_));
    plain_.reset();
  }

  void grow() {
    EXPECT_EQ(UBR_OK, ubr_set_max_frame_size(r_, UBR_MAX_FRAME_SIZE));
    plain_.silence_reflections();
    if (!r_->reverb) return;
    EXPECT_EQ(UBR_OK, reverb_set_max_frame_size(plain_.reverb(), UBR_MAX_FRAME_SIZE));
  }

  const ubr_t& renderer() const { return *r_; }
  uint32_t resting_blocks() const { return resting_blocks_; }
  uint32_t turning_blocks() const { return turning_blocks_; }

 private:
  uint32_t pick(uint32_t count) { return static_cast<uint32_t>(random_() % count); }
  float coordinate() { return static_cast<float>(pick(4000)) * 1e-3f - 2.0f; }

  void place_anywhere(uint32_t source) {
    const float x = coordinate(), y = coordinate(), z = coordinate();
    renderer_.place(source, pick(ENCODER_SOURCE_LFE + 2), x, y, z);
  }

  void select_room(uint32_t reflections_mode, bool has_tail) {
    if (r_->reflections) {
      renderer_.reflect(reflections_mode);
      plain_.silence_reflections();
    }
    if (!r_->reverb) return;
    EXPECT_EQ(UBR_OK, ubr_set_reverb_param(r_, UBR_REVERB_ENABLE, has_tail));
    plain_.reverb()->velvet_noise.settings.enable = has_tail;
    EXPECT_EQ(UBR_OK, reverb_prepare(plain_.reverb()));
  }

  // Blocks at rest keep their length.
  void render_block(bool turns) {
    constexpr uint32_t kLengths[] = {64, 258, 1, 520, 257, 96};
    if (turns) frames_ = std::min(kLengths[turn_++ % std::size(kLengths)], r_->max_frame_size);
    const float pose[3] = {coordinate(), coordinate(), coordinate()};
    if (turns && r_->rotator) ubr_set_user_orientation(r_, pose, ROTATOR_ROTATION_VECTOR);
    count_ways();
    const Planar in = planar_noise(r_->num_inputs, frames_, pick(1u << 30));
    append(plain_.render(in), &expected_);
    append(renderer_.render(in, {frames_}), &actual_);
    resting_blocks_ += r_->resting && r_->resting->is_folded;
  }

  void count_ways() {
    turning_blocks_ += r_->encoder && r_->rotator &&
                       !(r_->reflections && r_->reflections->reflections_mode) &&
                       turning_encoder_is_shorter(*r_->encoder, *r_->rotator, frames_);
  }

  static void append(const Planar& block, Planar* signal) {
    for (size_t c = 0; c < block.size(); ++c) {
      (*signal)[c].insert((*signal)[c].end(), block[c].begin(), block[c].end());
    }
  }
  static void clear(Planar* signal) {
    for (size_t c = 0; c < signal->size(); ++c) (*signal)[c].clear();
  }

  TestRenderer renderer_;
  ubr_t* const r_ = &renderer_.r;
  PlainRenderer plain_;
  std::mt19937 random_;
  Planar expected_{r_->num_outputs, 0}, actual_{r_->num_outputs, 0};  // since the room was selected
  uint32_t turn_ = 0, frames_ = 0;
  uint32_t resting_blocks_ = 0;
  uint32_t turning_blocks_ = 0;
};

class RenderOrderTest : public ::testing::TestWithParam<OrderCase> {};

TEST_P(RenderOrderTest, EveryWayMakesTheSameOfABlock) {
  Scene scene(GetParam());
  scene.live(0, false);
  scene.live(1, true);
  scene.reset();
  scene.live(2, false);
  scene.grow();
  scene.live(3, false);
  scene.live(4, true);
  scene.live(0, true);
  EXPECT_EQ(scene.renderer().resting != nullptr, scene.resting_blocks() > 3);
  const ubr_t& r = scene.renderer();
  const bool has_few_sources = r.encoder && 2 * r.num_inputs <= r.ambi_config.num_channels;
  EXPECT_EQ(r.rotator && has_few_sources, scene.turning_blocks() > 3);
}

constexpr uint32_t kTracked = UBR_MODE_BINAURAL_TRACKED;

std::vector<OrderCase> layout_cases() {
  std::vector<OrderCase> cases;
  for (const orvane_layout_t& layout : orvane_layouts) {
    cases.push_back(
        {"Layout" + test_name(layout), 0, layout.num_channels, kTracked, 4, layout.mask});
  }
  return cases;
}

std::string case_name(const ::testing::TestParamInfo<OrderCase>& test) { return test.param.name; }

INSTANTIATE_TEST_SUITE_P(Layouts, RenderOrderTest, ::testing::ValuesIn(layout_cases()), case_name);

INSTANTIATE_TEST_SUITE_P(
    Scenes, RenderOrderTest,
    ::testing::Values(OrderCase{"Sources", 0, 12, kTracked, 4, 0},
                      OrderCase{"ManySources", 0, 30, kTracked, 3, 0},
                      OrderCase{"LowOrder", 0, 2, kTracked, 1, 0},
                      OrderCase{"SourcesToField", 0, 12, UBR_MODE_AMBISONIC, 4, 0},
                      OrderCase{"SourcesToTurnedField", 0, 7, UBR_MODE_AMBISONIC_TRACKED, 3, 0},
                      OrderCase{"SourcesUntracked", 0, 12, UBR_MODE_BINAURAL, 4, 0},
                      OrderCase{"Downmix", 0, 10, UBR_MODE_DOWNMIX, 1, 0},
                      OrderCase{"FieldTurned", 1, 16, UBR_MODE_AMBISONIC_TRACKED, 2, 0},
                      OrderCase{"FieldToEars", 1, 25, kTracked, 4, 0},
                      OrderCase{"FieldUntracked", 1, 9, UBR_MODE_BINAURAL, 2, 0}),
    case_name);

}  // namespace
