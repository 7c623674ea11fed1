// SPDX-License-Identifier: Apache-2.0
// Every entry that takes memory, refused its first allocation, then its second, and so on: the
// described code comes back, and the same call then succeeds. What leaks is the address
// sanitizer's to find.
#include <errno.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/result.h"
#include "numerics/float_matrix.h"
#include "renderer/ubr.h"
#include "tests/support/effect_host.h"
#include "tests/support/failing_alloc.h"
#include "tests/support/signals.h"
#include "tests/support/velvet_reverb.h"

namespace {

// An object that is ready for the call in question.
struct Prepared {
  std::function<int32_t()> act;
  std::function<int32_t()> use = nullptr;  // fails after a failure, not after a success
  bool works_on = false;                   // after a failure, or may
};

struct Entry {
  std::string name;
  std::function<Prepared()> prepare;
  int32_t failure = UBR_NO_MEMORY;  // what an allocation that fails leads to
  bool also_missing = false;        // whether some of them lead to UBR_MISSING instead
};

int32_t code(uint32_t result) { return static_cast<int32_t>(result); }

template <typename Record>
std::shared_ptr<Record> owned(uint32_t (*cleanup)(Record*)) {
  return {new Record{}, [=](Record* record) {
            cleanup(record);
            delete record;
          }};
}

// A record of a module that is built by `init`.
template <typename Record>
Prepared module(std::function<uint32_t(Record*)> init, uint32_t (*cleanup)(Record*)) {
  return {[=, record = owned(cleanup)] {
    cleanup(record.get());
    return code(init(record.get()));
  }};
}

ambisonics_config_t field_of_order(uint32_t order) {
  ambisonics_config_t config = {};
  config.order = order;
  config.num_channels = (order + 1) * (order + 1);
  return config;
}

std::shared_ptr<ambisonics_base_t> base_of_order(uint32_t order) {
  const auto base = owned(ambisonics_base_cleanup);
  EXPECT_EQ(UBR_OK, ambisonics_base_init(base.get(), field_of_order(order)));
  return base;
}

uint32_t free_matrix(ubr_float_matrix_t* m) { return ubr_free_float_matrix(*m, 3); }

Prepared matrix() {
  return module<ubr_float_matrix_t>([](auto* m) { return ubr_init_float_matrix(m, 3, 4); },
                                    free_matrix);
}

// With few pulses, or with so many that the tail takes transforms.
Prepared reverberator(float pulse_spacing) {
  const auto reverb = std::make_shared<VelvetReverb>(
      std::vector<VelvetChange>{{&vn_config_t::pulse_spacing, pulse_spacing}});
  return {[=] { return code(reverb->prepare()); },
          [=] {
            const std::vector<float> in = noise(128, 1);
            float out[2 * 128];
            EXPECT_EQ(UBR_OK, vn_reset(&reverb->state));
            return code(reverb->process(in.data(), out, 128));
          }};
}

struct Build {
  const char* name;
  uint32_t input_type, mode;
  bool grows;  // by allocations
};

constexpr Build kBuilds[] = {
    {"SourcesToField", UBR_INPUT_SOURCES, UBR_MODE_AMBISONIC, false},
    {"SourcesToTurnedField", UBR_INPUT_SOURCES, UBR_MODE_AMBISONIC_TRACKED, true},
    {"SourcesToTurnedEars", UBR_INPUT_SOURCES, UBR_MODE_BINAURAL_TRACKED, true},
    {"SourcesToEars", UBR_INPUT_SOURCES, UBR_MODE_BINAURAL, true},
    {"FieldToTurnedField", UBR_INPUT_AMBISONICS, UBR_MODE_AMBISONIC_TRACKED, false},
    {"FieldToTurnedEars", UBR_INPUT_AMBISONICS, UBR_MODE_BINAURAL_TRACKED, true},
    {"FieldToEars", UBR_INPUT_AMBISONICS, UBR_MODE_BINAURAL, true}};

// Four inputs at order 1, for blocks of up to 64 samples.
uint32_t init(const Build& build, ubr_t* r) {
  return ubr_init(r, build.input_type, 4, build.mode, 64, 1);
}

bool has_ears(const Build& build) {
  return build.mode == UBR_MODE_BINAURAL_TRACKED || build.mode == UBR_MODE_BINAURAL;
}

std::shared_ptr<ubr_t> renderer(const Build& build) {
  const auto r = owned(ubr_cleanup);
  EXPECT_EQ(UBR_OK, init(build, r.get()));
  return r;
}

// Resets it and renders a block of the longest length.
int32_t use_renderer(ubr_t* r) {
  Planar out(r->num_outputs, r->max_frame_size);
  const Planar in = planar_noise(4, r->max_frame_size, 1);
  EXPECT_EQ(UBR_OK, ubr_reset(r));
  return code(ubr_process(r, in.data(), 4, out.data(), r->num_outputs, 0));
}

Prepared growth(const Build& build) {
  const auto r = renderer(build);
  if (build.mode == UBR_MODE_BINAURAL_TRACKED && build.input_type == UBR_INPUT_SOURCES) {
    ubr_set_reflections_param(r.get(), UBR_REFLECTIONS_MODE, 1.0f);
    EXPECT_EQ(UBR_OK, ubr_compute_reflections(r.get()));
  }
  return {[=] { return code(ubr_set_max_frame_size(r.get(), 1000)); },
          [=] { return use_renderer(r.get()); },
          /*works_on=*/true};
}

Prepared reflections() {
  const auto r = renderer(kBuilds[2]);
  ubr_set_reflections_param(r.get(), UBR_REFLECTIONS_MODE, 1.0f);
  return {[=] { return code(ubr_compute_reflections(r.get())); },
          [=] { return use_renderer(r.get()); }};
}

// RESET and a block of noise.
int32_t use_effect(EffectHost& host, uint32_t channels, size_t frames) {
  std::vector<float> in = noise(channels * frames, 1), out(2 * frames);
  EXPECT_EQ(0, host.command(EFFECT_CMD_RESET, 0, nullptr, nullptr, nullptr));
  return host.process(in, out);
}

Prepared creation() {
  const auto host = std::make_shared<std::optional<EffectHost>>();
  return {[=] {
    host->emplace();
    return (*host)->create_result();
  }};
}

// Enabled from the start, in 5.1 or not configured at all.
Prepared configuration(const orvane_layout_t& layout, bool again) {
  const auto host = std::make_shared<EffectHost>();
  EXPECT_EQ(0, again ? host->configure_and_enable(AUDIO_CHANNEL_OUT_5POINT1)
                     : host->send(EFFECT_CMD_ENABLE));
  return {[=] { return host->configure(layout.mask); },
          [=] { return use_effect(*host, layout.num_channels, 64); }};
}

// A block of 48 frames, the first one or after one of 64.
Prepared block(const orvane_layout_t& layout, bool again) {
  const auto host = std::make_shared<EffectHost>();
  EXPECT_EQ(0, host->configure_and_enable(layout.mask));
  EXPECT_EQ(0, again ? use_effect(*host, layout.num_channels, 64) : 0);
  return {[=] { return use_effect(*host, layout.num_channels, 48); }};
}

Prepared parameter(int mode, int32_t id, float value) {
  const auto host = std::make_shared<EffectHost>();
  EXPECT_EQ(0, host->configure_and_enable(AUDIO_CHANNEL_OUT_5POINT1));
  EXPECT_EQ(0, host->set_float(103, 0.05f));
  EXPECT_EQ(0, host->set_float(200, static_cast<float>(mode)));
  EXPECT_EQ(0, use_effect(*host, 6, 64));
  return {[=] { return host->set_float(id, value); }, [=] { return use_effect(*host, 6, 64); }};
}

std::vector<Entry> module_entries() {
  std::vector<Entry> entries = {
      {"Matrix", matrix},
      {"ChannelSet",
       [] {
         return module<ambisonics_base_t>(
             [](auto* b) { return ambisonics_base_init(b, field_of_order(2)); },
             ambisonics_base_cleanup);
       }},
      {"Encoder",
       [] {
         return module<encoder_t>(
             [base = base_of_order(2)](auto* e) { return encoder_init(e, base.get(), 5, 64); },
             encoder_cleanup);
       }},
      {"Rotator",
       [] {
         return module<rotator_t>(
             [base = base_of_order(2)](auto* r) { return rotator_init(r, base.get(), 64); },
             rotator_cleanup);
       }},
      {"Binauralizer",
       [] {
         return module<binauralizer_t>([](auto* b) { return binauralizer_init(b, 1, 4000); },
                                       binauralizer_cleanup);
       },
       UBR_NO_MEMORY, true},
      {"SparseTail", [] { return reverberator(80.0f); }},
      {"DenseTail", [] { return reverberator(3.0f); }},
      {"Reflections", reflections}};
  for (const Build& build : kBuilds) {
    const auto build_anew = [=] {
      return module<ubr_t>([=](ubr_t* r) { return init(build, r); }, ubr_cleanup);
    };
    entries.push_back(
        {std::string("Build") + build.name, build_anew, UBR_NO_MEMORY, has_ears(build)});
    if (!build.grows) continue;
    entries.push_back({std::string("Grow") + build.name, [=] { return growth(build); }});
  }
  return entries;
}

std::vector<Entry> effect_entries() {
  std::vector<Entry> entries = {{"Create", creation, -1}};
  for (const orvane_layout_t& layout : {layout_named("5.1"), layout_named("22.2")}) {
    for (const bool again : {false, true}) {
      const std::string suffix = test_name(layout) + (again ? "Again" : "");
      entries.push_back(
          {"Configure" + suffix, [=] { return configuration(layout, again); }, -EINVAL});
      entries.push_back({"Block" + suffix, [=] { return block(layout, again); }, -EINVAL});
    }
  }
  // A reverberator without memory is reported by the next block.
  const float reverb[] = {1.0f, 0.0f, 3.0f, 0.1f, 0.5f, 60.0f, 0.0f, 0.5f, 5000.0f, 0.5f};
  for (int32_t i = 0; i < 10; ++i) {
    entries.push_back(
        {"Reverb" + std::to_string(i), [=] { return parameter(0, 100 + i, reverb[i]); }, 0});
  }
  for (int32_t mode = 1; mode <= 2; ++mode) {
    entries.push_back({"Mode" + std::to_string(mode),
                       [=] { return parameter(0, 200, static_cast<float>(mode)); }, -EINVAL});
  }
  for (int32_t i = 1; i < 19; ++i) {
    entries.push_back(
        {"Room" + std::to_string(i), [=] { return parameter(1, 200 + i, 1.0f); }, -EINVAL});
  }
  return entries;
}

class AllocationFailureTest : public ::testing::TestWithParam<Entry> {};

TEST_P(AllocationFailureTest, IsReportedAndARetrySucceeds) {
  const Entry& entry = GetParam();
  uint32_t failures = 0;
  bool missing = false;
  for (bool reached = true; reached; failures += reached) {
    SCOPED_TRACE(testing::Message() << "allocation " << failures);
    const Prepared prepared = entry.prepare();
    int32_t result = 0;
    {
      const FailingAlloc guard(failures);
      result = prepared.act();
      reached = guard.reached();
    }
    if (reached) {
      const bool is_missing = result == UBR_MISSING;
      missing |= is_missing;
      EXPECT_EQ(entry.failure, is_missing ? entry.failure : result);
      EXPECT_TRUE(!prepared.use || prepared.use() != 0 || prepared.works_on);
      result = prepared.act();
    }
    EXPECT_EQ(0, result);
    EXPECT_EQ(0, prepared.use ? prepared.use() : 0);
  }
  EXPECT_GT(failures, 0u);
  EXPECT_EQ(entry.also_missing, missing);
}

const auto entry_name = [](const auto& test) { return test.param.name; };
INSTANTIATE_TEST_SUITE_P(Modules, AllocationFailureTest, ::testing::ValuesIn(module_entries()),
                         entry_name);
INSTANTIATE_TEST_SUITE_P(Effect, AllocationFailureTest, ::testing::ValuesIn(effect_entries()),
                         entry_name);

}  // namespace
