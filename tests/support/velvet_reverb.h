// SPDX-License-Identifier: Apache-2.0
// A reverberator to prepare and render with, and the direct sums that its sound is held against.
#ifndef ORVANE_TESTS_SUPPORT_VELVET_REVERB_H_
#define ORVANE_TESTS_SUPPORT_VELVET_REVERB_H_

#include <gtest/gtest.h>
#include <math.h>

#include <algorithm>
#include <vector>

#include "base/result.h"
#include "room/velvet_noise.h"
#include "room/velvet_noise_internal.h"
#include "tests/support/signals.h"

struct VelvetChange {
  float vn_config_t::*setting;
  float value;
};

// A reverberator with the default settings, a decay of 2400 samples and some changes.
struct VelvetReverb {
  static constexpr float kRate = ORVANE_SAMPLE_RATE;

  explicit VelvetReverb(const std::vector<VelvetChange>& changes = {}, int32_t block_size = 128) {
    uint32_t* words = rng.data();
    vn_init(&state, &words);
    vn_set_fs(&state, ORVANE_SAMPLE_RATE);
    vn_set_buf_size(&state, block_size);
    state.settings.decay_s = 0.05f;
    for (const VelvetChange& c : changes) state.settings.*c.setting = c.value;
  }
  ~VelvetReverb() { vn_terminate(&state); }
  VelvetReverb(const VelvetReverb&) = delete;
  VelvetReverb& operator=(const VelvetReverb&) = delete;

  uint32_t prepare() {
    rng_before = rng;
    return vn_prepare_to_play(rng.data(), &state);
  }

  // The response that the preparation drew: the pulses, filtered in time.
  std::vector<double> response(int32_t channel) const {
    vn_state_t drawn = state;
    std::vector<uint32_t> numbers = rng_before;
    std::vector<float> work(4 * static_cast<size_t>(state.fft_size));
    drawn.work_area = work.data();
    vn_place_pulses(numbers.data(), drawn);
    vn_apply_tone(drawn);
    const float* start = vn_work_vector(drawn, channel);
    return {start, start + state.fft_size};
  }

  uint32_t process(const float* in, float* out, int32_t frames, int32_t channels = 1) {
    const int32_t in_size[2] = {frames, channels};
    const int32_t out_size[2] = {frames, 2};
    return vn_process(rng.data(), &state, in, in_size, out, out_size);
  }

  // Calls render_block(start, length) for blocks of changing length.
  template <typename F>
  void for_each_block(size_t total, const F& render_block) const {
    const auto longest = static_cast<size_t>(state.block_size);
    const size_t lengths[] = {longest, 1, longest / 2, longest};
    for (size_t start = 0, turn = 0, n = 0; start < total; start += n, ++turn) {
      n = std::min(lengths[turn % 4], total - start);
      render_block(start, n);
    }
  }

  // Left and right.
  Planar render(const std::vector<float>& in) {
    Planar out(2, in.size());
    for_each_block(in.size(), [&](size_t start, size_t n) {
      std::vector<float> block(2 * n);
      EXPECT_EQ(UBR_OK, process(in.data() + start, block.data(), static_cast<int32_t>(n)));
      for (size_t c : {0u, 1u}) std::copy_n(&block.at(0) + c * n, n, &out[c][start]);
    });
    return out;
  }

  // One channel by direct sums: every block is convolved around the transform's length, and what is
  // beyond the convolution length is dropped.
  std::vector<float> expected(const std::vector<float>& in, int32_t channel) const {
    const auto delay = static_cast<size_t>(ceilf(state.settings.pre_delay_ms * (kRate / 1000.0f)));
    const auto kept = static_cast<size_t>(state.convolution_length);
    const std::vector<double> h = response(channel);
    std::vector<double> sum(in.size() + delay + kept);
    for_each_block(in.size(), [&](size_t start, size_t n) {
      for (size_t t = 0; t < n; ++t) {
        if (in[start + t] == 0.0f) continue;
        for (size_t i = 0; i < h.size(); ++i) {
          const size_t at = (t + i) % h.size();
          if (at < kept) sum[start + delay + at] += double{in[start + t]} * h[i];
        }
      }
    });
    return {sum.begin(), sum.begin() + static_cast<ptrdiff_t>(in.size())};
  }

  vn_state_t state;
  std::vector<uint32_t> rng = std::vector<uint32_t>(RANDOM_STATE_WORDS), rng_before;
};

#endif  // ORVANE_TESTS_SUPPORT_VELVET_REVERB_H_
