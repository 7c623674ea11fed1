// SPDX-License-Identifier: Apache-2.0
// Tables fitted to measured ears.
#include "tools/ears/ears.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <new>
#include <string>

#include "ambisonics/sh_hrir.h"
#include "renderer/parameters.h"
#include "tests/support/counted_new.h"
#include "tests/support/responses.h"
#include "tests/support/sphere_head.h"
#include "tools/ears/ear_cache.h"
#include "tools/render/effect_host.h"
#include "tools/render/failure.h"
#include "tools/render/layouts.h"

namespace {

using ears::EarTables;
using ears::HeadSet;
using ears::MeasuredEars;

constexpr char kKemar[] = "/usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa";

MeasuredEars measure(const SphereHead& head) {
  SphereRecord record(head);
  return ears::measured_ears_from(record.get(), "sphere");
}

TEST(EarFitTest, ComesCloseToTheBuiltInTableOnItsOwnSet) {
  const HeadSet set = ears::head_set_make(ears::measured_ears_read(kKemar));
  const ResponseTable left = built_in_responses();
  const ears::EarQuality built_in = ears::ear_quality_measure(set, {{left, mirrored(left)}});
  EXPECT_NEAR(0.70, built_in.level_db, 0.02) << "as docs/data.md says";
  EXPECT_NEAR(1.14, built_in.ild_db, 0.05);
  const ears::EarQuality own = ears::ear_quality_measure(set, ears::ear_tables_fit(set));
  std::printf("built-in: level %.2f dB, ILD %.2f dB; fitted: %.2f, %.2f\n", built_in.level_db,
              built_in.ild_db, own.level_db, own.ild_db);
  EXPECT_LT(own.level_db, built_in.level_db + 0.1);
  EXPECT_LT(own.itd_us, 8.0);
}

// A table of its own beside that of the other ear, mirrored.
TEST(EarFitTest, EarsThatDifferGetTablesThatDiffer) {
  SphereHead head;
  head.radius_m[1] *= 1.25;
  const HeadSet set = ears::head_set_make(measure(head));
  const EarTables own = ears::ear_tables_fit(set);
  const EarTables same = {{own.ears[0], mirrored(own.ears[0])}};
  const ears::EarQuality good = ears::ear_quality_measure(set, own);
  const ears::EarQuality bad = ears::ear_quality_measure(set, same);
  EXPECT_LT(good.level_db, 0.8);
  EXPECT_LT(good.itd_us, 15.0);
  EXPECT_GT(bad.level_db, good.level_db + 0.1);
  EXPECT_GT(bad.itd_us, good.itd_us + 20.0);
}

// Whatever the rate, the delays and the order of directions, the same head gives the same table.
TEST(EarFitTest, RateAndDelaysOfTheFileAreNotHeard) {
  const SphereHead head;
  const EarTables expected = ears::ear_tables_fit(ears::head_set_make(measure(head)));
  SphereHead other = head;
  other.rate_hz = 96000.0;
  other.taps = 1024;
  SphereRecord record(other);
  for (float& delay : record.delays) delay = 500.0f;
  const MeasuredEars measured = ears::measured_ears_from(record.get(), "sphere");
  const EarTables found = ears::ear_tables_fit(ears::head_set_make(measured));
  double error = 0.0, power = 0.0;
  for (size_t i = 0; i < ears::kTableSize; ++i) {
    const double difference = static_cast<double>(found.ears[0][i] - expected.ears[0][i]);
    error += difference * difference;
    power += static_cast<double>(expected.ears[0][i] * expected.ears[0][i]);
  }
  EXPECT_LT(10.0 * std::log10(error / power), -25.0);
}

struct BadSet {
  const char* name;
  std::function<void(SphereRecord*)> spoil;
  const char* reason;
};

class BadSetTest : public ::testing::TestWithParam<BadSet> {};

TEST_P(BadSetTest, IsRefusedInALineThatSaysWhatIsMissing) {
  SphereRecord record;
  GetParam().spoil(&record);
  try {
    ears::measured_ears_from(record.get(), "my.sofa");
    ADD_FAILURE() << "it was taken";
  } catch (const render::Failure& failure) {
    EXPECT_EQ(std::string("my.sofa: ") + GetParam().reason, failure.what());
  }
}

void keep(SphereRecord* record, unsigned count) {
  record->hrtf.M = count;
  record->positions.resize(3 * size_t{count});
  record->responses.resize(2 * size_t{record->hrtf.N} * count);
}

MYSOFA_ATTRIBUTE g_brir = {nullptr, const_cast<char*>("SOFAConventions"),
                           const_cast<char*>("MultiSpeakerBRIR")};

INSTANTIATE_TEST_SUITE_P(
    Sets, BadSetTest,
    ::testing::Values(
        BadSet{"OneEar", [](SphereRecord* r) { r->hrtf.R = 1; },
               "has 1 receivers, two ears are needed"},
        BadSet{"FewDirections", [](SphereRecord* r) { keep(r, 12); },
               "has 12 directions, 36 are needed"},
        BadSet{"LowerHalf", [](SphereRecord* r) { keep(r, 100); },
               "covers 47 % of the sphere, 60 % are needed"},
        BadSet{"Convention", [](SphereRecord* r) { r->hrtf.attributes = &g_brir; },
               "is of the convention MultiSpeakerBRIR, SimpleFreeFieldHRIR is needed"},
        BadSet{"NotANumber",
               [](SphereRecord* r) { r->responses[99] = std::numeric_limits<float>::quiet_NaN(); },
               "has responses that are not finite"},
        BadSet{"EndlessPosition",
               [](SphereRecord* r) { r->positions[9] = std::numeric_limits<float>::infinity(); },
               "has positions that are not finite"},
        BadSet{"SilentEar",
               [](SphereRecord* r) { std::fill_n(r->responses.begin() + 256, 256, 0.0f); },
               "is silent at the right ear, azimuth 0, elevation -85"},
        BadSet{"NoOnset",
               [](SphereRecord* r) {
                 SphereHead longer;
                 longer.taps = 2048;
                 *r = SphereRecord(longer);
                 std::ranges::copy(noise(2048, 1), r->responses.begin());
               },
               "has no onset at the left ear, azimuth 0, elevation -85"},
        BadSet{"EarsApart",
               [](SphereRecord* r) {
                 r->delays = {0.0f, 480.0f};
               },
               "has ears 10.0 ms apart at azimuth 0, elevation -85, a head's are at most 1 ms "
               "apart"},
        BadSet{"NoRate", [](SphereRecord* r) { r->rate = {0.0f}; },
               "has no Data.SamplingRate between 8 and 384 kHz"},
        BadSet{"Shape", [](SphereRecord* r) { r->responses.pop_back(); },
               "has not the 240 x 2 x 256 values of Data.IR"},
        BadSet{"Delays", [](SphereRecord* r) { r->delays.resize(3); },
               "has 3 values of Data.Delay, 2 or 240 x 2 are needed"}),
    [](const auto& test) { return test.param.name; });

class EarCacheTest : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = std::filesystem::path(::testing::TempDir()) / ("ears" + std::to_string(getpid()));
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
    setenv("XDG_CACHE_HOME", folder_.c_str(), 1);
  }
  void TearDown() override {
    unsetenv("XDG_CACHE_HOME");
    std::filesystem::remove_all(folder_);
  }
  std::filesystem::path folder_;
};

TEST_F(EarCacheTest, GivesBackWhatWasFittedAndNothingElse) {
  const std::filesystem::path file = folder_ / "my.sofa";
  std::ofstream(file) << "some ears";
  const auto place = ears::ear_cache_place(file);
  ASSERT_TRUE(place);
  EXPECT_FALSE(ears::ear_cache_read(*place));
  ears::Ears fitted;
  for (size_t ear = 0; ear < 2; ++ear) {
    fitted.tables.ears[ear] = noise_responses(static_cast<uint32_t>(ear));
  }
  fitted.report.lowest_hz = 90.0;
  ears::ear_cache_write(*place, fitted);
  const ears::Ears kept = ears::ears_load(file);
  EXPECT_TRUE(kept.is_cached);
  EXPECT_EQ(fitted.tables.ears[1], kept.tables.ears[1]);
  EXPECT_EQ(90.0, kept.report.lowest_hz);
  std::ofstream(file) << "other ears";
  EXPECT_NE(place, ears::ear_cache_place(file));
  std::filesystem::resize_file(*place, std::filesystem::file_size(*place) - 1);
  EXPECT_FALSE(ears::ear_cache_read(*place)) << "cut off";
  EXPECT_THROW(ears::ears_load(file), render::Failure) << "not a SOFA file";
  ears::ear_cache_write("/proc/nowhere/x", fitted);
}

TEST(RendererHostTest, SoundsLikeTheEffectWithTheBuiltInEars) {
  const uint32_t mask = render::layout_find("7.1.4")->mask;
  render::EffectHost effect(ORVANE_LIBRARY, mask);
  void* const library = render::effect_library_load(ORVANE_LIBRARY);
  {
    ears::RendererHost renderer(library, ORVANE_LIBRARY, {});
    renderer.configure(mask);
    const auto set = [&](int32_t id, float value) {
      effect.set_parameter(id, value, "it");
      renderer.set_parameter(id, value, "it");
    };
    set(orvane_reverb_parameter(UBR_REVERB_DECAY)->number, 0.3f);
    set(orvane_reflections_parameter(UBR_REFLECTIONS_MODE)->number, 2.0f);
    set(orvane_reflections_parameter(UBR_REFLECTIONS_ROOM_X)->number, 6.0f);
    for (uint32_t block = 0; block < 4; ++block) {
      const std::array<float, 6> pose = {0.0f, 0.0f, 0.0f, 0.1f, 0.2f * float(block), -0.4f};
      effect.set_head_to_stage(pose);
      const size_t frames = 300 + block;
      std::vector<float> bed = noise(12 * frames, block), expected(2 * frames), heard(2 * frames);
      effect.process(bed.data(), expected.data(), frames);
      const size_t allocations = g_allocations;
      renderer.set_head_to_stage(pose);
      renderer.process(bed.data(), heard.data(), frames);
      EXPECT_EQ(allocations, g_allocations) << "for the audio callback";
      EXPECT_GT(peak(expected), 0.0f);
      EXPECT_EQ(expected, heard) << block;
    }
    EXPECT_THROW(renderer.set_parameter(ORVANE_PARAM_REVERB, 5.0f, "it"), render::Failure);
  }
  dlclose(library);
}

}  // namespace
