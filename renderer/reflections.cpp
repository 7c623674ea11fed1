// SPDX-License-Identifier: Apache-2.0
#include "renderer/reflections.h"

#include <math.h>
#include <string.h>

#include <algorithm>

#include "ambisonics/encoder_internal.h"
#include "ambisonics/sphere_directions.h"
#include "base/checked.h"
#include "base/memory.h"
#include "base/result.h"
#include "numerics/float_matrix.h"
#include "numerics/mix_channels.h"
#include "renderer/reflection_layouts.h"
#include "renderer/reflections_internal.h"

static_assert(REFLECTIONS_MAX_LOUDSPEAKERS == reflection_layout_size(REFLECTIONS_MAX_MODE));
static_assert(int{REFLECTIONS_MAX_LOUDSPEAKERS} <= int{SHOEBOX_MAX_SOURCES});
static_assert(REFLECTIONS_MAX_PADDED == round_up_to_4(REFLECTIONS_MAX_LOUDSPEAKERS));
static_assert(sizeof(ubr_virtual_source_t) == 3 * sizeof(float));

namespace {

constexpr float kEarHeight = 1.6f;
constexpr uint32_t kPiece = 128;      // samples of a block that all taps add at once
constexpr float kMaxDelay = 0x1p24f;  // samples; above, a float cannot hold every whole number

uint32_t num_loudspeakers(const ubr_reflections_t& r) {
  return static_cast<uint32_t>(r.scene.source_count);
}

uint32_t padded_loudspeakers(const ubr_reflections_t& r) {
  return round_up_to_4(num_loudspeakers(r));
}

// Places the loudspeakers in the room; the delays of all taps become whole samples, of which the
// largest is returned through `longest`. Refuses a room whose taps are not finite.
uint32_t place_in_room(ubr_reflections_t* r, uint32_t* longest) {
  shoebox_set_scene(&r->room, &r->scene, r->listener_position, &r->virtual_sources[0].azimuth,
                    r->cartesian_sources, r->relative_sources);
  *longest = 0;
  for (uint32_t k = 0; k < num_loudspeakers(*r) * SHOEBOX_WALLS; ++k) {
    float& delay = r->scene.delay[checked_index(k, SHOEBOX_MAX_TAPS)];
    delay = roundf(delay * static_cast<float>(REFLECTIONS_SAMPLE_RATE));
    if (!(delay >= 0.0f && delay <= kMaxDelay)) return UBR_INVALID;
    if (!isfinite(r->scene.gain[k]) || !isfinite(r->scene.elevation[k])) return UBR_INVALID;
    *longest = std::max(*longest, static_cast<uint32_t>(delay));
  }
  return UBR_OK;
}

uint32_t make_delay_lines(ubr_reflections_t* r, uint32_t longest, uint32_t max_frame_size) {
  const uint32_t length = checked_add(std::max(max_frame_size, longest), max_frame_size);
  const uint32_t count = num_loudspeakers(*r);
  if (r->delay_lines && r->delay_line_length == length && r->num_delay_lines == count) {
    std::fill_n(r->delay_lines, size_t{count} * length, 0.0f);
  } else {
    release(r->delay_lines);
    r->delay_lines = alloc_zeroed<float>(count, length);
  }
  r->delay_line_length = length;
  r->num_delay_lines = count;
  r->write_index = length - max_frame_size;
  r->max_frame_size = max_frame_size;
  return r->delay_lines ? UBR_OK : UBR_NO_MEMORY;
}

// Delay lines stay when the reflections are switched off. Lines that are too short grow, because a
// reset counts on each to hold the longest block.
uint32_t keep_delay_lines(ubr_reflections_t* r, uint32_t max_frame_size) {
  if (!r->delay_lines || r->delay_line_length >= max_frame_size) return UBR_OK;
  if (const uint32_t code = replace_zeroed(
          r->delay_lines, checked_mul(size_t{r->num_delay_lines}, size_t{max_frame_size}))) {
    return code;
  }
  r->delay_line_length = max_frame_size;
  r->write_index = 0;
  return UBR_OK;
}

void release_block_buffers(ubr_reflections_t* r) {
  ubr_free_float_matrix(r->reflection_buffers, r->reflection_count);
  r->reflection_buffers = nullptr;
  release(r->tap_weights);
}

uint32_t make_block_buffers(ubr_reflections_t* r, uint32_t num_channels, uint32_t max_frame_size) {
  release_block_buffers(r);
  r->reflection_count = num_loudspeakers(*r) * SHOEBOX_WALLS;
  r->stride = round_up_to_4(max_frame_size);
  r->tap_weights = alloc_zeroed<float>(r->reflection_count, round_up_to_4(num_channels));
  if (!r->tap_weights) return UBR_NO_MEMORY;
  return ubr_init_float_matrix(&r->reflection_buffers, r->reflection_count, kPiece);
}

// Every tap is a source of its own, at unit gain; weigh_taps multiplies its gain in.
uint32_t make_encoder(ubr_reflections_t* r, const ambisonics_base_t* ambisonics,
                      uint32_t max_frame_size) {
  encoder_cleanup(r->reflections_encoder);
  if (const uint32_t code = encoder_init_unstaged(r->reflections_encoder, ambisonics,
                                                  r->reflection_count, max_frame_size)) {
    return code;
  }
  for (uint32_t k = 0; k < r->reflection_count; ++k) {
    if (const uint32_t code = encoder_set_source_direction(
            r->reflections_encoder, k, r->scene.azimuth[k], r->scene.elevation[k])) {
      return code;
    }
  }
  return UBR_OK;
}

bool is_ready(const ubr_reflections_t& r, uint32_t frames) {
  return r.ready && r.delay_lines && r.decoding_matrix && r.reflection_buffers && r.tap_weights &&
         frames <= r.max_frame_size;
}

bool can_encode(const ubr_reflections_t& r, uint32_t frames) {
  return r.reflections_encoder && r.reflections_encoder->sources &&
         frames <= r.reflections_encoder->max_frame_size;
}

// Decodes `frames` samples of the channels from `start` on to where `line_start` is in every line.
void decode(ubr_reflections_t* r, const float* const* channels, uint32_t start, uint32_t frames,
            uint32_t line_start) {
  const uint32_t count = num_loudspeakers(*r);
  const float* in[REFLECTIONS_MAX_LOUDSPEAKERS];
  float* lines[REFLECTIONS_MAX_LOUDSPEAKERS];
  for (uint32_t v = 0; v < count; ++v) {
    in[v] = channels[v] + start;
    lines[v] = r->delay_lines + size_t{v} * r->delay_line_length + line_start;
  }
  mix_channels({r->decoding_matrix, 1, padded_loudspeakers(*r)}, {in, count}, {lines, count},
               frames, false);
}

void write_delay_lines(ubr_reflections_t* r, const float* const* input, uint32_t frames) {
  const uint32_t before_wrap = std::min(frames, r->delay_line_length - r->write_index);
  decode(r, input, 0, before_wrap, r->write_index);
  decode(r, input, before_wrap, frames - before_wrap, 0);
}

// Called for every block, because a listener who moves changes the gains between two computes.
void weigh_taps(ubr_reflections_t* r) {
  const uint32_t channels = r->reflections_encoder->ambisonics->num_channels;
  const uint32_t padded = r->reflections_encoder->padded_channels;
  for (uint32_t k = 0; k < r->reflection_count; ++k) {
    const float* beam = r->reflections_encoder->sources[k].beam;
    float* weights = r->tap_weights + size_t{k} * padded;
    for (uint32_t c = 0; c < channels; ++c) weights[c] = beam[c] * r->scene.gain[k];
  }
}

// `frames` samples of a tap, `start` samples into the block: in the delay line itself, unless they
// wrap around. The block has been written already, so a tap without delay reads the block itself.
const float* find_tap(const ubr_reflections_t& r, uint32_t tap, uint32_t start, uint32_t frames) {
  const uint32_t length = r.delay_line_length;
  const float* line = r.delay_lines + size_t{tap / SHOEBOX_WALLS} * length;
  const uint32_t delay = static_cast<uint32_t>(r.scene.delay[tap]);
  uint32_t from = checked_sub(checked_add(r.write_index + start, length), delay);
  while (from >= length) from -= length;
  if (length - from >= frames) return line + from;
  float* joined = r.reflection_buffers[tap];
  std::copy_n(line + from, length - from, joined);
  std::copy_n(line, frames - (length - from), joined + (length - from));
  return joined;
}

void add_taps(const ubr_reflections_t& r, float* const* field, uint32_t start, uint32_t frames) {
  const uint32_t channels = r.reflections_encoder->ambisonics->num_channels;
  const float* taps[SHOEBOX_MAX_TAPS];
  float* out[AMBISONICS_MAX_CHANNELS];
  for (uint32_t k = 0; k < r.reflection_count; ++k) taps[k] = find_tap(r, k, start, frames);
  for (uint32_t c = 0; c < channels; ++c) out[c] = field[c] + start;
  mix_channels({r.tap_weights, r.reflections_encoder->padded_channels, 1},
               {taps, r.reflection_count}, {out, channels}, frames, true);
}

}  // namespace

uint32_t reflections_init(ubr_reflections_t* r) {
  r->relative_sources = 1.0f;
  r->listener_position[2] = kEarHeight;
  r->scene.reflections_per_source = static_cast<float>(SHOEBOX_WALLS);
  shoebox_init(&r->room);
  r->reflections_encoder = alloc_zeroed<encoder_t>(1u);
  return r->reflections_encoder ? UBR_OK : UBR_NO_MEMORY;
}

uint32_t reflections_compute(ubr_reflections_t* r, const ambisonics_base_t* ambisonics,
                             uint32_t max_frame_size) {
  r->ready = 0;
  if (r->reflections_mode == 0) {
    return keep_delay_lines(r, max_frame_size);
  }
  if (!r->reflections_encoder || !ambisonics) return UBR_MISSING;
  if (r->reflections_mode > REFLECTIONS_MAX_MODE) return UBR_INVALID;
  if (num_loudspeakers(*r) > ambisonics->num_channels) return UBR_INVALID;
  uint32_t longest = 0;
  if (const uint32_t code = place_in_room(r, &longest)) return code;
  if (const uint32_t code = make_delay_lines(r, longest, max_frame_size)) return code;
  if (const uint32_t code = make_block_buffers(r, ambisonics->num_channels, max_frame_size))
    return code;
  if (const uint32_t code = make_encoder(r, ambisonics, max_frame_size)) return code;
  r->ready = 1;
  return UBR_OK;
}

void reflections_cleanup(ubr_reflections_t* r) {
  if (!r) return;
  release_block_buffers(r);
  encoder_cleanup(r->reflections_encoder);
  release(r->delay_lines, r->reflections_encoder);
  *r = {};
}

uint32_t ubr_set_reflections_mode(ubr_reflections_t* r, uint32_t mode) {
  if (!r) return UBR_MISSING;
  if (mode == r->reflections_mode) return UBR_OK;
  // Deliberate: it is stored before it is checked, so that an unknown mode stops the reflections.
  r->reflections_mode = mode;
  r->ready = 0;
  if (mode > REFLECTIONS_MAX_MODE) return UBR_INVALID;
  r->scene.source_count = static_cast<float>(reflection_layout_size(mode));
  r->decoding_matrix = nullptr;
  if (mode == 0) return UBR_OK;
  const sphere_direction_t* directions = sphere_directions(mode);
  for (uint32_t v = 0; v < num_loudspeakers(*r); ++v) {
    r->virtual_sources[v] = {directions[v].azimuth, directions[v].elevation, 1.0f};
  }
  memset(r->decoding_storage, 0, sizeof(r->decoding_storage));
  reflection_layout_decoder(mode, padded_loudspeakers(*r), r->decoding_storage);
  r->decoding_matrix = r->decoding_storage;
  return UBR_OK;
}

uint32_t ubr_process_reflections(ubr_reflections_t* r, const float* const* input,
                                 float* const* output, uint32_t frames) {
  if (!r) return UBR_MISSING;
  if (r->reflections_mode == 0) return UBR_OK;
  if (!is_ready(*r, frames)) return UBR_MISSING;
  write_delay_lines(r, input, frames);
  if (can_encode(*r, frames)) {
    weigh_taps(r);
    for (uint32_t start = 0; start < frames; start += kPiece) {
      add_taps(*r, output, start, std::min(kPiece, frames - start));
    }
  }
  r->write_index = (r->write_index + frames) % r->delay_line_length;
  return UBR_OK;
}

uint32_t ubr_reset_reflections(ubr_reflections_t* r, uint32_t frames) {
  if (!r) return UBR_MISSING;
  if (r->reflections_mode == 0 || !r->delay_lines) return UBR_OK;
  std::fill_n(r->delay_lines, size_t{r->num_delay_lines} * r->delay_line_length, 0.0f);
  r->write_index = checked_sub(r->delay_line_length, frames);
  if (!r->reflection_buffers) return UBR_OK;
  ubr_reset_float_matrix(r->reflection_buffers, r->reflection_count, std::min(frames, kPiece));
  return UBR_OK;
}
