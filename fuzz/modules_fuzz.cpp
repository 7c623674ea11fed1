// SPDX-License-Identifier: Apache-2.0
// The modules below the renderer, each on its own, with any arguments of their domains: what aborts
// by contract is left out.
#include <algorithm>

#include "ambisonics/binauralizer.h"
#include "ambisonics/encoder.h"
#include "ambisonics/rotator.h"
#include "base/bounded_copy.h"
#include "base/result.h"
#include "fuzz/input.h"
#include "fuzz/module_runs.h"
#include "fuzz/planar.h"
#include "numerics/pinv.h"

namespace {

// A channel set that goes with its scope.
struct Base {
  ambisonics_base_t b = {};
  explicit Base(uint32_t order) {
    require(ambisonics_base_init(&b, {order, 0, 0, (order + 1) * (order + 1)}) == UBR_OK,
            "every order has a channel set");
  }
  ~Base() { ambisonics_base_cleanup(&b); }
};

// The weights of a direction need a multiple of its azimuth, which overflows beyond this.
bool is_tame_azimuth(float azimuth) { return std::fabs(azimuth) < 1e30f; }

void run_ambisonics(Input* input) {
  const ambisonics_config_t config = {input->below(7), input->below(3), input->below(3),
                                      input->below(30)};
  ambisonics_base_t base = {};
  const uint32_t code = ambisonics_base_init(&base, config);
  const uint32_t expected = config.order > AMBISONICS_MAX_ORDER             ? UBR_INVALID
                            : config.num_channels > AMBISONICS_MAX_CHANNELS ? UBR_NO_MEMORY
                                                                            : UBR_OK;
  require(code == expected, "a channel set is made or refused");
  for (int i = 0; code == UBR_OK && i < kMaxSteps && !input->ended(); ++i) {
    const float v[3] = {input->number(), input->number(), input->number()};
    std::vector<float> weights(config.num_channels, kUnwritten);
    ambisonics_base_generate_beam(&base, weights.data(), v[0], v[1], v[2]);
    const bool is_sane = all_finite(v) && is_tame(v[2]) && is_tame_azimuth(v[0]);
    require(!is_sane || all_finite(weights), "weights are written and finite");
  }
  ambisonics_base_cleanup(&base);
}

void encode(Input* input, encoder_t* encoder, bool is_wild) {
  const uint32_t frames = block_length(input);
  const uint32_t mode = input->below(6);
  Planar in(encoder->num_sources, frames);
  const bool is_tame = fill_planar(input, &in);
  Planar out = mode < 3 ? unwritten_planar(encoder->ambisonics->num_channels, frames)
                        : Planar(encoder->ambisonics->num_channels, frames);
  const uint32_t code = encoder_process(encoder, in.data(), out.data(), frames, mode);
  require(code == (frames > encoder->max_frame_size ? UBR_MISSING : UBR_OK),
          "a block is encoded if it fits");
  if (code == UBR_OK && is_tame && !is_wild) {
    require(all_finite(out), "an encoded block is written and finite");
  }
}

void run_encoder(Input* input) {
  const Base base(input->below(5));
  encoder_t encoder = {};
  require(encoder_init(&encoder, &base.b, input->below(30), block_length(input)) == UBR_OK,
          "an encoder is made");
  bool is_wild = false;
  for (int i = 0; i < kMaxSteps && !input->ended(); ++i) {
    const uint32_t index = input->below(31);
    const uint32_t found = index < encoder.num_sources ? UBR_OK : UBR_INVALID;
    const uint32_t action = input->below(8);
    const float v[3] = {input->number(), input->number(), input->number()};
    is_wild |= action < 4 && !all_finite(v);
    if (action == 0) {
      require(encoder_set_source_position(&encoder, index, v[0], v[1], v[2]) == found, "index");
    } else if (action == 1) {
      is_wild |= !is_tame_azimuth(v[0]);
      require(encoder_set_source_direction(&encoder, index, v[0], v[1]) == found, "index");
    } else if (action == 2) {
      require(encoder_set_user_position(&encoder, v[0], v[1], v[2]) == UBR_OK, "a listener moves");
    } else if (action == 3) {
      require(encoder_set_source_type(&encoder, index, input->below(5)) == found, "index");
    } else if (action == 4) {
      require(encoder_reset_max_frame_size(&encoder, block_length(input)) == UBR_OK, "size");
      require(encoder_reset(&encoder) == UBR_OK, "an encoder is reset");
    } else {
      encode(input, &encoder, is_wild);
    }
  }
  encoder_cleanup(&encoder);
}

void rotate(Input* input, rotator_t* rotator) {
  const uint32_t channels = rotator->ambisonics->num_channels;
  const uint32_t frames = block_length(input);
  Planar in(channels, frames), out = unwritten_planar(channels, frames);
  const bool is_tame = fill_planar(input, &in);
  const uint32_t code = rotator_process(rotator, in.data(), out.data(), frames);
  require(code == (frames > rotator->max_frame_size ? UBR_MISSING : UBR_OK),
          "a block is rotated if it fits");
  if (code == UBR_OK && is_tame) require(all_finite(out), "a rotated block is written and finite");
}

void run_rotator(Input* input) {
  const Base base(input->below(5));
  rotator_t rotator = {};
  require(rotator_init(&rotator, &base.b, block_length(input)) == UBR_OK, "a rotator is made");
  for (int i = 0; i < kMaxSteps && !input->ended(); ++i) {
    const uint32_t action = input->below(8);
    if (action == 0) {
      require(rotator_reset(&rotator) == UBR_OK, "a rotator is reset");
    } else if (action == 1) {
      require(rotator_reset_max_frame_size(&rotator, block_length(input)) == UBR_OK, "size");
    } else if (action < 5) {
      const float v[3] = {input->number(), input->number(), input->number()};
      const uint32_t format = input->below(4);
      const uint32_t code = rotator_set_orientation(&rotator, v, format);
      require(code == UBR_OK ? format < 3 && all_finite(v) : code == UBR_INVALID,
              "an orientation is taken or refused");
    } else {
      rotate(input, &rotator);
    }
  }
  rotator_cleanup(&rotator);
}

void binauralize(Input* input, binauralizer_t* binauralizer, uint32_t longest, bool* is_spoiled) {
  const uint32_t frames = std::min(1 + block_length(input), longest);
  if (frames == 0) return;
  Planar in(binauralizer->num_sh_channels, frames), ears = unwritten_planar(2, frames);
  *is_spoiled |= !fill_planar(input, &in);
  require(binauralizer_process(binauralizer, in.data(), ears.data(), frames) == UBR_OK,
          "a block is made binaural");
  require(*is_spoiled || all_finite(ears), "the ears are written and finite");
}

void run_binauralizer(Input* input) {
  binauralizer_t binauralizer = {};
  uint32_t longest = block_length(input);
  require(
      binauralizer_init(&binauralizer, input->below(5), static_cast<int32_t>(longest)) == UBR_OK,
      "a binauralizer is made");
  bool is_spoiled = false;
  for (int i = 0; i < kMaxSteps && !input->ended(); ++i) {
    const uint32_t action = input->below(8);
    if (action == 0) {
      require(binauralizer_reset(&binauralizer) == UBR_OK, "a binauralizer is reset");
      is_spoiled = false;
    } else if (action == 1) {
      const uint32_t size = block_length(input) * 2;
      Planar save(2, binauralizer.prev_tail_length);
      require(binauralizer_reset_max_frame_size(&binauralizer, size, save.data()) == UBR_OK,
              "size");
      longest = std::max(longest, size);
    } else {
      binauralize(input, &binauralizer, longest, &is_spoiled);
    }
  }
  binauralizer_cleanup(&binauralizer);
}

void run_copies(Input* input) {
  for (int i = 0; i < kMaxSteps && !input->ended(); ++i) {
    const size_t to = input->below(40), from = input->below(40);
    std::vector<uint8_t> out(to), in(from);
    std::ranges::generate(in, [&] { return input->take<uint8_t>(); });
    const size_t count = std::min(to, from);
    require(memscpy(out.data(), to, in.data(), from) == count, "the smaller size counts");
    require(std::equal(in.begin(), in.begin() + static_cast<ptrdiff_t>(count), out.begin()),
            "copied");
    const size_t shift = std::min(from, size_t{input->below(40)});
    const std::vector<uint8_t> before = in;
    const size_t moved = memsmove(in.data() + shift, from - shift, in.data(), from);
    require(std::equal(before.begin(), before.begin() + static_cast<ptrdiff_t>(moved),
                       in.begin() + static_cast<ptrdiff_t>(shift)),
            "moved");
  }
}

void run_matrices(Input* input) {
  const int32_t size[] = {static_cast<int32_t>(input->below(26)),
                          static_cast<int32_t>(input->below(26))};
  const size_t count = static_cast<size_t>(size[0] * size[1]);
  std::vector<float> a(count), x(count, kUnwritten), workspace(PINV_WORKSPACE_FLOATS);
  fill_samples(input, a);
  for (size_t i = 0; i < count && !input->ended(); ++i) a[i] = input->number();
  const std::vector<float> a_before = a;
  int32_t inverse_size[2];
  ubr_pinv(workspace.data(), a.data(), size, x.data(), inverse_size);
  require(inverse_size[0] == size[1] && inverse_size[1] == size[0], "an inverse has its size");
  require(same_bits(a, a_before), "a matrix is left alone");
  ubr_float_matrix_t matrix = nullptr;
  const uint32_t rows = input->below(20), cols = input->below(20);
  require(ubr_init_float_matrix(&matrix, rows, cols) == UBR_OK, "a matrix is made");
  ubr_reset_float_matrix(matrix, rows, cols);
  ubr_free_float_matrix(matrix, rows);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static constexpr void (*kModules[])(Input * input) = {
      run_ambisonics, run_encoder,      run_rotator, run_binauralizer,
      run_shoebox,    run_velvet_noise, run_copies,  run_matrices,
  };
  Input input(data, size);
  input.pick(kModules)(&input);
  return 0;
}
