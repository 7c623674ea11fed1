// SPDX-License-Identifier: Apache-2.0
// Every route through the renderer, held against the plain order of stages in double precision.
#include "renderer/routes/route.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>

#include "effect/layouts.h"
#include "platform/effect_abi.h"
#include "renderer/reverb_internal.h"
#include "tests/support/effect_host.h"
#include "tests/support/plain_renderer.h"
#include "tests/support/test_renderer.h"

namespace {

void append(const Planar& block, Planar* signal) {
  for (size_t c = 0; c < block.size(); ++c) {
    (*signal)[c].insert((*signal)[c].end(), block[c].begin(), block[c].end());
  }
}

void clear(Planar* signal) {
  for (size_t c = 0; c < signal->size(); ++c) (*signal)[c].clear();
}

struct OrderCase {
  std::string name;
  uint32_t input_type, num_inputs, mode, order;
  uint32_t mask;  // of a layout, or 0 for sources of every type anywhere
  bool ears_differ = false;
};

// A renderer that takes one route wherever that fits, and the plain one elsewhere.
struct Follower {
  uint32_t route;
  TestRenderer renderer;
  Planar sound;         // since the room was selected
  uint32_t blocks = 0;  // that the route has taken

  Follower(uint32_t index, const OrderCase& c)
      : route(index),
        renderer(c.input_type, c.num_inputs, c.mode, 512, c.order),
        sound(renderer.r.num_outputs, 0) {}

  void render(const Planar& in) {
    ubr_t& r = renderer.r;
    const auto frames = static_cast<uint32_t>(in[0].size());
    Planar out(r.num_outputs, frames);
    r.frame_size = frames;
    const block_t block = {in.data(), out.data(), frames};
    void* const memory = routes_memory(r, route);
    if (kRoutes[route]->fits(r, block, memory)) {
      EXPECT_EQ(UBR_OK, kRoutes[route]->render(r, block, memory));
      ++blocks;
    } else {
      EXPECT_EQ(UBR_OK, plain_render_sources(r, block));
    }
    append(out, &sound);
  }
};

// Renderers that live the same life: one for each route, one that chooses among them, and the
// reference.
class Scene {
 public:
  explicit Scene(const OrderCase& c)
      : whole_(c.input_type, c.num_inputs, c.mode, 512, c.order),
        plain_(whole_.r),
        random_(c.num_inputs) {
    const bool has_routes = c.input_type == UBR_INPUT_SOURCES && c.mode != UBR_MODE_DOWNMIX;
    for (uint32_t i = 0; has_routes && i < kNumRoutes; ++i) {
      followers_.push_back(std::make_unique<Follower>(i, c));
    }
    if (c.ears_differ) set_ears({noise_responses(1), noise_responses(2)});
    if (!whole_.r.encoder) return;
    int32_t layout = 0;
    if (c.mask && audio_channel_mask_to_LAYOUT_INDEX(c.mask, &layout) == 0) {
      each([&](TestRenderer& test) { orvane_set_layout_sources(&test.r, layout); });
    } else {
      for (uint32_t s = 0; s < c.num_inputs; ++s) place_anywhere(s);
    }
  }

  // Turning blocks, static ones, a source that moves, static blocks, and turning ones.
  void live(uint32_t reflections_mode, bool has_tail) {
    select_room(std::min(reflections_mode, whole_.r.ambi_config.order), has_tail);
    for (const bool turns : {true, true, false, false, false}) render_block(turns);
    if (whole_.r.encoder) place_anywhere(pick(whole_.r.num_inputs));
    for (const bool turns : {false, false, true, true}) render_block(turns);
    SCOPED_TRACE(testing::Message() << "reflections in mode " << reflections_mode);
    expect_same_signal(expected_, actual_, 2e-6f);
    for (const auto& f : followers_) {
      SCOPED_TRACE(kRoutes[f->route]->name);
      expect_same_signal(expected_, f->sound, 2e-6f);
      clear(&f->sound);
    }
    for (Planar* signal : {&expected_, &actual_}) clear(signal);
  }

  void reset() {
    each([](TestRenderer& test) { EXPECT_EQ(UBR_OK, ubr_reset(&test.r)); });
    plain_.reset();
  }

  void grow() {
    each([](TestRenderer& test) {
      EXPECT_EQ(UBR_OK, ubr_set_max_frame_size(&test.r, UBR_MAX_FRAME_SIZE));
    });
    plain_.silence_reflections();
    if (!whole_.r.reverb) return;
    EXPECT_EQ(UBR_OK, reverb_set_max_frame_size(plain_.reverb(), UBR_MAX_FRAME_SIZE));
  }

  // A route that exists takes blocks where it should, and nowhere else.
  void expect_taken(const std::string& name, bool fits) const {
    for (const auto& f : followers_) {
      if (name != kRoutes[f->route]->name) continue;
      EXPECT_EQ(fits, f->blocks > 3) << name;
    }
  }
  const ubr_t& renderer() const { return whole_.r; }

 private:
  template <typename Action>
  void each(Action action) {
    action(whole_);
    for (const auto& f : followers_) action(f->renderer);
  }

  void set_ears(const Ears& ears) {
    each([&](TestRenderer& test) {
      EXPECT_EQ(UBR_OK, ubr_set_responses(&test.r, ears.left.data(), ears.right.data()));
    });
    plain_.set_ears(ears);
  }

  uint32_t pick(uint32_t count) { return static_cast<uint32_t>(random_() % count); }
  float coordinate() { return static_cast<float>(pick(4000)) * 1e-3f - 2.0f; }

  void place_anywhere(uint32_t source) {
    const float x = coordinate(), y = coordinate(), z = coordinate();
    const uint32_t type = pick(ENCODER_SOURCE_LFE + 2);
    each([&](TestRenderer& test) { test.place(source, type, x, y, z); });
  }

  void select_room(uint32_t reflections_mode, bool has_tail) {
    if (whole_.r.reflections) {
      each([&](TestRenderer& test) { test.reflect(reflections_mode); });
      plain_.silence_reflections();
    }
    if (!whole_.r.reverb) return;
    each([&](TestRenderer& test) {
      EXPECT_EQ(UBR_OK, ubr_set_reverb_param(&test.r, UBR_REVERB_ENABLE, has_tail));
    });
    plain_.reverb()->velvet_noise.settings.enable = has_tail;
    EXPECT_EQ(UBR_OK, reverb_prepare(plain_.reverb()));
  }

  // Static blocks keep their length.
  void render_block(bool turns) {
    constexpr uint32_t kLengths[] = {64, 258, 1, 520, 257, 96};
    const ubr_t& r = whole_.r;
    if (turns) frames_ = std::min(kLengths[turn_++ % std::size(kLengths)], r.max_frame_size);
    const float pose[3] = {coordinate(), coordinate(), coordinate()};
    if (turns && r.rotator) {
      each([&](TestRenderer& test) {
        ubr_set_user_orientation(&test.r, pose, ROTATOR_ROTATION_VECTOR);
      });
    }
    const Planar in = planar_noise(r.num_inputs, frames_, pick(1u << 30));
    append(plain_.render(in), &expected_);
    append(whole_.render(in, {frames_}), &actual_);
    for (const auto& f : followers_) f->render(in);
  }

  TestRenderer whole_;
  PlainRenderer plain_;
  std::vector<std::unique_ptr<Follower>> followers_;
  std::mt19937 random_;
  Planar expected_{whole_.r.num_outputs, 0}, actual_{whole_.r.num_outputs, 0};
  uint32_t turn_ = 0, frames_ = 0;
};

class RouteTest : public ::testing::TestWithParam<OrderCase> {};

TEST_P(RouteTest, EveryRouteRendersTheSameSound) {
  Scene scene(GetParam());
  scene.live(0, false);
  scene.live(1, true);
  scene.reset();
  scene.live(2, false);
  scene.grow();
  scene.live(3, false);
  scene.live(4, true);
  scene.live(0, true);
  const ubr_t& r = scene.renderer();
  const bool folds = r.encoder && r.binauralizer && r.num_inputs < r.ambi_config.num_channels;
  scene.expect_taken("at_rest", folds);
  const bool has_few_sources = r.encoder && 2 * r.num_inputs <= r.ambi_config.num_channels;
  scene.expect_taken("turning", r.rotator && has_few_sources);
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

INSTANTIATE_TEST_SUITE_P(Layouts, RouteTest, ::testing::ValuesIn(layout_cases()), case_name);

INSTANTIATE_TEST_SUITE_P(
    Scenes, RouteTest,
    ::testing::Values(OrderCase{"Sources", 0, 12, kTracked, 4, 0},
                      OrderCase{"ManySources", 0, 30, kTracked, 3, 0},
                      OrderCase{"LowOrder", 0, 2, kTracked, 1, 0},
                      OrderCase{"SourcesToField", 0, 12, UBR_MODE_AMBISONIC, 4, 0},
                      OrderCase{"SourcesToTurnedField", 0, 7, UBR_MODE_AMBISONIC_TRACKED, 3, 0},
                      OrderCase{"SourcesUntracked", 0, 12, UBR_MODE_BINAURAL, 4, 0},
                      OrderCase{"Downmix", 0, 10, UBR_MODE_DOWNMIX, 1, 0},
                      OrderCase{"SourcesToTwoEars", 0, 12, kTracked, 4, 0, true},
                      OrderCase{"SourcesToTwoEarsUntracked", 0, 5, UBR_MODE_BINAURAL, 3, 0, true},
                      OrderCase{"FieldToTwoEars", 1, 25, kTracked, 4, 0, true},
                      OrderCase{"FieldTurned", 1, 16, UBR_MODE_AMBISONIC_TRACKED, 2, 0},
                      OrderCase{"FieldToEars", 1, 25, kTracked, 4, 0},
                      OrderCase{"FieldUntracked", 1, 9, UBR_MODE_BINAURAL, 2, 0}),
    case_name);

}  // namespace
