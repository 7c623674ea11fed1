// SPDX-License-Identifier: Apache-2.0
// Responses with many pulses: a convolution in partitions, each with spectra of its own.
#include <math.h>

#include <algorithm>

#include "base/checked.h"
#include "base/memory.h"
#include "base/result.h"
#include "numerics/lane_transform.h"
#include "numerics/mix_spectra.h"
#include "room/velvet_noise_internal.h"

namespace {

constexpr int32_t kLanes = kTransformLanes;
constexpr int32_t kPartitionsPerBatch = kLanes / kVnOutputs;
constexpr size_t kScratchBatches = 3;
constexpr size_t kRowPadding = 16;    // floats, or rows would compete for the same lines of a cache
constexpr int32_t kMinPower = 32;     // of two, in a transform length
constexpr int32_t kMaxLength = 5120;  // beyond, a part of a transform outgrows the first cache
constexpr double kInaudible = 1e-8;   // of the response's peak, that is left out at its ends

int32_t count_lane_batches(int32_t lags, int32_t partition_length) {
  const int32_t per_batch = kPartitionsPerBatch * partition_length;
  return (lags + per_batch - 1) / per_batch;
}

// The transform length that takes the fewest operations for the longest block: long partitions
// waste less of it on the block, short ones less on the end of the response. Powers of two are left
// out, because their passes do not go through parts that stay in the first cache.
int32_t choose_transform_length(int32_t lags, int32_t block_size) {
  const int32_t longest = std::max(kMaxLength, 4 * block_size);
  int32_t best = 0;
  double best_cost = 0.0;
  for (const int32_t odd : {3, 5}) {
    for (int32_t size = odd * kMinPower; size <= longest; size *= 2) {
      const int32_t partition_length = size - block_size + 1;
      if (partition_length < 1) continue;
      const double batches = 1.0 + count_lane_batches(lags, partition_length);
      const double cost = batches * size * (4.0 + log2(size));
      if (best != 0 && cost >= best_cost) continue;
      best = size;
      best_cost = cost;
    }
  }
  return best;
}

// Scratch batch `i`: the block's transform, a product, and the rows of its eight lanes.
float* scratch_batch(const vn_convolver_t& v, size_t i) {
  return v.scratch + i * batch_size(v.transform.size);
}

struct lane_rows_t {
  float* rows[kLanes];
};

lane_rows_t find_rows(const vn_convolver_t& v) {
  lane_rows_t lanes;
  for (size_t lane = 0; lane < kTransformLanes; ++lane) {
    lanes.rows[lane] = scratch_batch(v, 2) + lane * (v.transform.size + kRowPadding);
  }
  return lanes;
}

// The larger of both responses at sample `i`.
double magnitude_at(const vn_state_t& s, int32_t i) {
  return static_cast<double>(
      std::max(fabsf(vn_work_vector(s, 0)[i]), fabsf(vn_work_vector(s, 1)[i])));
}

// The lags at which the response is heard. The response is circular in fft_size points: what the
// tone filter leaves at its end belongs before the first sample, so it has negative lags.
void find_lags(const vn_state_t& s, vn_convolver_t* v) {
  double peak = 0.0;
  for (int32_t i = 0; i < s.fft_size; ++i) peak = std::max(peak, magnitude_at(s, i));
  double left_out = 0.0;
  v->end_lag = s.convolution_length;
  while (v->end_lag > 0) {
    left_out += magnitude_at(s, v->end_lag - 1);
    if (left_out > kInaudible * peak) break;
    --v->end_lag;
  }
  left_out = 0.0;
  v->first_lag = 1 - s.block_size;
  while (v->first_lag < 0) {
    left_out += magnitude_at(s, s.fft_size + v->first_lag);
    if (left_out > kInaudible * peak) break;
    ++v->first_lag;
  }
}

// Lag of the first sample of the partition in `lane` of a batch. The first lanes are the left
// ear's.
int32_t first_lag_of(const vn_convolver_t& v, int32_t batch, int32_t lane) {
  const int32_t partition = batch * kPartitionsPerBatch + lane % kPartitionsPerBatch;
  return v.first_lag + partition * v.partition_length;
}

// Samples of a partition: none after the end of the response.
int32_t length_of(const vn_convolver_t& v, int32_t first_lag) {
  return std::clamp(v.end_lag - first_lag, 0, v.partition_length);
}

void transform_partitions(const vn_state_t& s, int32_t batch, const lane_rows_t& lanes,
                          float* spectra) {
  const vn_convolver_t& v = *s.fft_setup;
  for (int32_t lane = 0; lane < kLanes; ++lane) {
    const float* response = vn_work_vector(s, lane / kPartitionsPerBatch);
    const int32_t first = first_lag_of(v, batch, lane), length = length_of(v, first);
    float* const row = lanes.rows[lane];
    std::fill_n(row, v.partition_length, 0.0f);
    for (int32_t i = 0; i < length; ++i) {
      const int32_t lag = first + i;
      row[i] = response[lag < 0 ? lag + s.fft_size : lag];
    }
  }
  lane_transform_forward(v.transform, lanes.rows, static_cast<uint32_t>(v.partition_length),
                         spectra);
  unpack_spectra(v.transform, spectra, 0.5f / static_cast<float>(v.transform.size));
}

void add(const float* samples, int32_t count, float* sums) {
  for (int32_t i = 0; i < count; ++i) sums[i] += samples[i];
}

// Adds samples of a convolution from `first` on, which may be negative, to the ring of a channel.
// Samples before the block and after the convolution length are left out.
void add_to_ring(const vn_state_t& s, int32_t channel, const float* samples, int32_t first,
                 int32_t count) {
  const int32_t begin = std::max(first, 0);
  const int32_t end = std::min(first + count, s.convolution_length);
  if (begin >= end) return;
  samples += begin - first;
  float* const ring = s.ring_buffers + ptrdiff_t{channel} * s.ring_length;
  const int32_t at = (s.write_index + begin) % s.ring_length;
  const int32_t before_wrap = std::min(end - begin, s.ring_length - at);
  add(samples, before_wrap, ring + at);
  add(samples + before_wrap, end - begin - before_wrap, ring);
}

}  // namespace

uint32_t vn_make_partitions(vn_state_t* state) {
  vn_state_t& s = *state;
  vn_convolver_t& v = *s.fft_setup;
  vn_apply_tone(s);
  find_lags(s, &v);
  const int32_t size = choose_transform_length(v.end_lag - v.first_lag, s.block_size);
  if (const uint32_t code = lane_transform_init(&v.transform, static_cast<uint32_t>(size))) {
    return code;
  }
  v.partition_length = size - s.block_size + 1;
  v.num_batches = count_lane_batches(v.end_lag - v.first_lag, v.partition_length);
  const size_t batch = batch_size(v.transform.size);
  v.scratch = alloc_aligned<float>(batch * kScratchBatches + kTransformLanes * kRowPadding);
  s.spectra = alloc_aligned<float>(batch, static_cast<size_t>(v.num_batches));
  if (!v.scratch || !s.spectra) return UBR_NO_MEMORY;
  const lane_rows_t lanes = find_rows(v);
  for (int32_t b = 0; b < v.num_batches; ++b) {
    transform_partitions(s, b, lanes, s.spectra + static_cast<size_t>(b) * batch);
  }
  return UBR_OK;
}

void vn_add_partitions(const vn_state_t& s, const float* input, int32_t frames) {
  const vn_convolver_t& v = *s.fft_setup;
  const int32_t convolved = v.partition_length + frames - 1;
  const size_t batch = batch_size(v.transform.size);
  const float* inputs[kLanes];
  std::fill_n(inputs, kLanes, input);
  float* const block = scratch_batch(v, 0);
  float* const product = scratch_batch(v, 1);
  const lane_rows_t lanes = find_rows(v);
  lane_transform_forward(v.transform, inputs, static_cast<uint32_t>(frames), block);
  for (int32_t b = 0; b < v.num_batches; ++b) {
    multiply_spectra(v.transform, block, s.spectra + static_cast<size_t>(b) * batch, product);
    lane_transform_inverse(v.transform, product, lanes.rows, static_cast<uint32_t>(convolved));
    for (int32_t lane = 0; lane < kLanes; ++lane) {
      const int32_t first = first_lag_of(v, b, lane), length = length_of(v, first);
      if (length < 1) continue;
      add_to_ring(s, lane / kPartitionsPerBatch, lanes.rows[lane], first, length + frames - 1);
    }
  }
}
