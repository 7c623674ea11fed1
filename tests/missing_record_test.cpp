// SPDX-License-Identifier: Apache-2.0
// What a function is given null for: a code comes back.
#include <gtest/gtest.h>

#include "base/result.h"
#include "renderer/ubr.h"

namespace {

TEST(MissingRecordTest, IsReportedByEveryModule) {
  ambisonics_base_t base = {};
  const uint32_t missing[] = {encoder_set_source_position(nullptr, 0, 1.0f, 0.0f, 0.0f),
                              encoder_set_source_type(nullptr, 0, 0),
                              encoder_set_source_direction(nullptr, 0, 0.0f, 0.0f),
                              encoder_reset(nullptr),
                              encoder_reset_max_frame_size(nullptr, 64),
                              encoder_process(nullptr, nullptr, nullptr, 64, 0),
                              encoder_process_dynamic(nullptr, nullptr, nullptr, 64, 0),
                              encoder_process_static(nullptr, nullptr, nullptr, 64, 0),
                              rotator_reset(nullptr),
                              rotator_reset_max_frame_size(nullptr, 64),
                              ubr_init_ambisonics(nullptr),
                              ubr_set_downmix_coefficients(nullptr),
                              ubr_process_sources(nullptr, nullptr, nullptr),
                              ubr_process_hoa(nullptr, nullptr, nullptr),
                              ubr_downmix(nullptr, nullptr, nullptr),
                              ubr_process_reverb(nullptr, nullptr, nullptr, 64)};
  for (const uint32_t& code : missing) EXPECT_EQ(UBR_MISSING, code) << &code - missing;
  // Inits take a null record for a failed allocation of it.
  for (const uint32_t code :
       {ambisonics_base_init(nullptr, {}), encoder_init(nullptr, &base, 1, 64),
        rotator_init(nullptr, &base, 64), binauralizer_init(nullptr, 1, 64)}) {
    EXPECT_EQ(UBR_NO_MEMORY, code);
  }
  EXPECT_EQ(UBR_OK, binauralizer_reset(nullptr));
  EXPECT_EQ(UBR_OK, binauralizer_reset_max_frame_size(nullptr, 64, nullptr));
}

TEST(MissingRecordTest, IsReportedByTheReverberator) {
  vn_state_t state;
  uint32_t words[RANDOM_STATE_WORDS];
  uint32_t *generator = words, *none = nullptr;
  vn_config_t settings;
  const float in[2] = {};
  float out[2] = {};
  const int32_t size[2] = {1, 1}, ears[2] = {1, 2}, three[2] = {1, 3};
  ASSERT_EQ(UBR_OK, vn_init(&state, &generator));
  EXPECT_EQ(UBR_OK, vn_get_config(&state, &settings));
  EXPECT_EQ(0.25f, settings.decay_s);
  EXPECT_EQ(UBR_MISSING, vn_prepare_to_play(words, &state)) << "no sampling rate";
  EXPECT_EQ(UBR_OK, vn_set_fs(&state, ORVANE_SAMPLE_RATE));
  EXPECT_EQ(UBR_MISSING, vn_prepare_to_play(words, &state)) << "no block size";
  const uint32_t missing[] = {vn_init(nullptr, &generator),
                              vn_init(&state, nullptr),
                              vn_init(&state, &none),
                              vn_get_config(nullptr, &settings),
                              vn_get_config(&state, nullptr),
                              vn_set_config(nullptr, in),
                              vn_set_config(&state, nullptr),
                              vn_set_fs(nullptr, ORVANE_SAMPLE_RATE),
                              vn_set_buf_size(nullptr, 64),
                              vn_prepare_to_play(words, nullptr),
                              vn_reset(nullptr),
                              vn_process(words, nullptr, in, size, out, ears),
                              vn_process(words, &state, nullptr, size, out, ears),
                              vn_process(words, &state, in, nullptr, out, ears),
                              vn_process(words, &state, in, size, nullptr, ears),
                              vn_process(words, &state, in, size, out, nullptr),
                              vn_process(words, &state, in, size, out, three),
                              vn_process(nullptr, &state, in, size, out, ears)};
  for (const uint32_t& code : missing) EXPECT_EQ(UBR_MISSING, code) << &code - missing;
  EXPECT_EQ(UBR_OK, vn_terminate(nullptr));
}

}  // namespace
