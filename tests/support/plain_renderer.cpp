// SPDX-License-Identifier: Apache-2.0
#include "tests/support/plain_renderer.h"

#include <gtest/gtest.h>

#include <cmath>

#include "ambisonics/sh_hrir.h"
#include "base/result.h"
#include "renderer/reverb_internal.h"

namespace {

constexpr size_t kMemory = SH_HRIR_TAPS - 1;  // samples

Planar to_planar(const std::vector<std::vector<double>>& field) {
  Planar planar(field.size(), field[0].size());
  for (size_t c = 0; c < field.size(); ++c) {
    for (size_t t = 0; t < field[c].size(); ++t) planar[c][t] = static_cast<float>(field[c][t]);
  }
  return planar;
}

void add_scaled(double gain, const float* in, std::vector<double>* out) {
  for (size_t t = 0; t < out->size(); ++t) (*out)[t] += gain * static_cast<double>(in[t]);
}

}  // namespace

PlainRenderer::PlainRenderer(const ubr_t& renderer) : r_(renderer) {
  if (r_.rotator) {
    const size_t size = r_.rotator->padded_channels;
    matrix_.assign(r_.rotator->current_matrix, r_.rotator->current_matrix + size * size);
  }
  if (!r_.reverb) return;
  EXPECT_EQ(UBR_OK, reverb_init(&reverb_, r_.max_frame_size));
}

PlainRenderer::~PlainRenderer() { reverb_cleanup(&reverb_); }

void PlainRenderer::set_ears(const Ears& ears) {
  ears_ = ears;
  ears_differ_ = true;
}

void PlainRenderer::reset() {
  silence_reflections();
  heard_.clear();
  vn_reset(&reverb_.velvet_noise);
}

PlainRenderer::Field PlainRenderer::encode_tracked(const Planar& in) const {
  Field field(r_.ambi_config.num_channels, std::vector<double>(in[0].size()));
  for (size_t s = 0; s < in.size(); ++s) {
    const encoder_source_t& source = r_.encoder->sources[s];
    if (source.type > ENCODER_SOURCE_LOUDSPEAKER) continue;
    for (size_t c = 0; c < field.size(); ++c) {
      add_scaled(static_cast<double>(source.beam[c]), in[s].data(), &field[c]);
    }
  }
  return field;
}

void PlainRenderer::add_head_locked(const Planar& in, Field* field) const {
  for (size_t s = 0; s < in.size(); ++s) {
    const encoder_source_t& source = r_.encoder->sources[s];
    if (source.type == ENCODER_SOURCE_LFE) add_scaled(1.0, in[s].data(), &(*field)[0]);
    if (source.type != ENCODER_SOURCE_HEAD_LOCKED) continue;
    for (size_t c = 0; c < field->size(); ++c) {
      add_scaled(static_cast<double>(source.beam[c]), in[s].data(), &(*field)[c]);
    }
  }
}

void PlainRenderer::add_reflections(Field* field) {
  const ubr_reflections_t& r = *r_.reflections;
  if (r.reflections_mode == 0) return;
  const size_t size = (r.reflections_mode + 1) * (r.reflections_mode + 1);
  const size_t padded = (size + 3) / 4 * 4, frames = (*field)[0].size();
  loudspeakers_.resize(size);
  const size_t start = loudspeakers_[0].size();
  for (size_t v = 0; v < size; ++v) {
    loudspeakers_[v].resize(start + frames);
    for (size_t c = 0; c < size; ++c) {
      const double weight = static_cast<double>(r.decoding_matrix[v * padded + c]);
      for (size_t t = 0; t < frames; ++t) loudspeakers_[v][start + t] += weight * (*field)[c][t];
    }
  }
  for (size_t k = 0; k < 6 * size; ++k) {
    const auto delay = static_cast<size_t>(r.scene.delay[k]);
    for (size_t c = 0; c < field->size(); ++c) {
      const double gain = static_cast<double>(r.scene.gain[k]) *
                          static_cast<double>(r.reflections_encoder->sources[k].beam[c]);
      for (size_t t = delay < start ? 0 : delay - start; t < frames; ++t) {
        (*field)[c][t] += gain * loudspeakers_[k / 6][start + t - delay];
      }
    }
  }
}

// Fades from the matrix of the last block to the newest, in steps of four samples.
PlainRenderer::Field PlainRenderer::rotate(const Field& field) {
  const float* newest = r_.rotator->current_matrix;
  const size_t padded = r_.rotator->padded_channels, frames = field[0].size();
  Field rotated(field.size(), std::vector<double>(frames));
  for (size_t i = 0; i < field.size(); ++i) {
    for (size_t j = 0; j < field.size(); ++j) {
      const double from = static_cast<double>(matrix_[i * padded + j]);
      const double to = static_cast<double>(newest[i * padded + j]);
      for (size_t t = 0; t < frames; ++t) {
        const double done = static_cast<double>(t / 4 * 4) / static_cast<double>(frames);
        rotated[j][t] += (from + (to - from) * done) * field[i][t];
      }
    }
  }
  matrix_.assign(newest, newest + matrix_.size());
  return rotated;
}

// What a channel that has been heard makes of one response, at the end of it.
std::vector<double> PlainRenderer::convolve(size_t channel, const ResponseTable& table,
                                            size_t frames) const {
  std::vector<double> sum(frames);
  for (size_t k = 0; k < SH_HRIR_TAPS; ++k) {
    const double tap = static_cast<double>(table[k * SH_HRIR_CHANNELS + channel]);
    for (size_t t = 0; t < frames; ++t) sum[t] += tap * heard_[channel][kMemory + t - k];
  }
  return sum;
}

Planar PlainRenderer::binauralize(const Field& field) {
  const size_t frames = field[0].size();
  heard_.resize(field.size(), std::vector<double>(kMemory));
  Field ears(2, std::vector<double>(frames));
  for (size_t c = 0; c < field.size(); ++c) {
    heard_[c].insert(heard_[c].end(), field[c].begin(), field[c].end());
    const std::vector<double> left = convolve(c, ears_.left, frames);
    const bool differs = ears_differ_;
    const std::vector<double> right = differs ? convolve(c, ears_.right, frames) : left;
    const double sign = !differs && is_antisymmetric(c) ? -1.0 : 1.0;
    for (size_t t = 0; t < frames; ++t) {
      ears[0][t] += left[t];
      ears[1][t] += sign * right[t];
    }
    heard_[c].erase(heard_[c].begin(), heard_[c].end() - kMemory);
  }
  return to_planar(ears);
}

Planar PlainRenderer::downmix(const Planar& in) const {
  Field stereo(2, std::vector<double>(in[0].size()));
  for (size_t k = 0; k < in.size() && k < UBR_DOWNMIX_INPUTS; ++k) {
    add_scaled(static_cast<double>(r_.downmix_left[k]), in[k].data(), &stereo[0]);
    add_scaled(static_cast<double>(r_.downmix_right[k]), in[k].data(), &stereo[1]);
  }
  return to_planar(stereo);
}

void PlainRenderer::add_tail(const std::vector<double>& omni, Planar* ears) {
  const std::vector<float> input(omni.begin(), omni.end());
  const int32_t frames = static_cast<int32_t>(input.size());
  const int32_t input_size[2] = {frames, 1}, output_size[2] = {frames, 2};
  std::vector<float> tail(2 * input.size());
  EXPECT_EQ(UBR_OK, vn_process(reverb_.generator, &reverb_.velvet_noise, input.data(), input_size,
                               tail.data(), output_size));
  for (size_t i = 0; i < tail.size(); ++i) {
    (*ears)[i / input.size()][i % input.size()] += 0.2f * tail[i];
  }
}

Planar PlainRenderer::render(const Planar& in) {
  if (r_.render_mode == UBR_MODE_DOWNMIX) return downmix(in);
  const bool from_sources = r_.input_type == UBR_INPUT_SOURCES;
  const bool to_ears = r_.render_mode >= UBR_MODE_BINAURAL_TRACKED;
  Field field;
  if (from_sources) field = encode_tracked(in);
  for (size_t c = 0; !from_sources && c < r_.ambi_config.num_channels; ++c) {
    field.emplace_back(in[c].begin(), in[c].end());
  }
  const std::vector<double> input_omni = field[0];
  if (from_sources && r_.render_mode == UBR_MODE_BINAURAL_TRACKED) add_reflections(&field);
  if (r_.rotator) field = rotate(field);
  if (from_sources) add_head_locked(in, &field);
  if (!to_ears) return to_planar(field);
  Planar ears = binauralize(field);
  add_tail(from_sources ? field[0] : input_omni, &ears);
  return ears;
}
