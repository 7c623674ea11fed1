// The matrix product of the reflections, on padded rows of one matrix.
#ifndef ORVANE_NUMERICS_MIX_ROWS_H_
#define ORVANE_NUMERICS_MIX_ROWS_H_

#include <stddef.h>
#include <stdint.h>

// Weight of input row i in output row o: data[i * in_stride + o * out_stride]. One of the strides
// is usually 1, so a matrix can be used as it is stored or transposed.
struct mix_weights_t {
  const float* data;
  size_t in_stride;
  size_t out_stride;
};

// `count` rows of samples, `stride` floats apart.
template <typename T>
struct sample_rows_t {
  T* data;
  size_t stride;
  uint32_t count;
};

// What the dispatch runs on this machine.
struct mix_target_t {
  const char* name;  // instruction set
  bool fused;        // whether its multiply-add rounds once
};

// out[o][t] = sum over i ascending of weight(i, o) * in[i][t], for t below `frames`.
//
// Each step is one single-precision multiply-add, starting from 0: fused where the target has the
// instruction, otherwise a product and a sum. `frames` and out.count are multiples of four, so
// callers pad their rows; what stands in the padding of a row reaches the padding of the outputs
// only. `in` and `out` do not overlap. No row needs to be aligned. Allocates nothing.
void mix_rows(mix_weights_t weights, sample_rows_t<const float> in, sample_rows_t<float> out,
              uint32_t frames);

// The target that mix_rows uses.
mix_target_t mix_rows_target();

#endif  // ORVANE_NUMERICS_MIX_ROWS_H_
