#include "renderer/reflections.h"

#include <math.h>
#include <string.h>

#include <algorithm>

#include "ambisonics/sphere_directions.h"
#include "base/checked.h"
#include "base/memory.h"
#include "base/result.h"
#include "numerics/float_matrix.h"
#include "numerics/mix_rows.h"
#include "renderer/reflection_layouts.h"
#include "renderer/room_modules.h"

static_assert(REFLECTIONS_MAX_LOUDSPEAKERS == reflection_layout_size(REFLECTIONS_MAX_MODE));
static_assert(REFLECTIONS_MAX_PADDED == round_up_to_4(REFLECTIONS_MAX_LOUDSPEAKERS));
static_assert(sizeof(ubr_virtual_source_t) == 3 * sizeof(float));

namespace {

constexpr float kEarHeight = 1.6f;
constexpr float kMaxDelay = 0x1p24f;  // samples; further on a float skips whole numbers

uint32_t num_loudspeakers(const ubr_reflections_t& r) {
  return static_cast<uint32_t>(r.scene.source_count);
}

uint32_t padded_loudspeakers(const ubr_reflections_t& r) {
  return round_up_to_4(num_loudspeakers(r));
}

// Places the loudspeakers in the room; the delays of all taps become whole samples, of which the
// largest is returned through `longest`. A room without a meaning is refused.
uint32_t place_in_room(ubr_reflections_t* r, uint32_t* longest) {
  shoebox_set_scene(&r->room, &r->scene, r->listener_position, &r->virtual_sources[0].azimuth,
                    r->cartesian_sources, r->relative_sources);
  *longest = 0;
  for (uint32_t k = 0; k < num_loudspeakers(*r) * SHOEBOX_WALLS; ++k) {
    float& delay = r->scene.delay[checked_index(k, SHOEBOX_MAX_TAPS)];
    delay = roundf(delay * static_cast<float>(REFLECTIONS_SAMPLE_RATE));
    if (!(delay >= 0.0f && delay <= kMaxDelay)) return UBR_INVALID;
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
  return r->delay_lines ? UBR_OK : UBR_NO_MEMORY;
}

void release_block_buffers(ubr_reflections_t* r) {
  ubr_free_float_matrix(r->reflection_buffers, r->reflection_count);
  r->reflection_buffers = nullptr;
  release(r->staging_input, r->decoded);
}

uint32_t make_block_buffers(ubr_reflections_t* r, uint32_t max_frame_size) {
  release_block_buffers(r);
  r->reflection_count = num_loudspeakers(*r) * SHOEBOX_WALLS;
  r->stride = round_up_to_4(max_frame_size);
  r->staging_input = alloc_zeroed<float>(padded_loudspeakers(*r), r->stride);
  r->decoded = alloc_zeroed<float>(padded_loudspeakers(*r), r->stride);
  if (!r->staging_input || !r->decoded) return UBR_NO_MEMORY;
  return ubr_init_float_matrix(&r->reflection_buffers, r->reflection_count, r->stride);
}

// Every tap is a source of its own, at unit gain: the tap's gain is applied where it is read.
uint32_t make_encoder(ubr_reflections_t* r, const ambisonics_base_t* ambisonics,
                      uint32_t max_frame_size) {
  encoder_cleanup(r->reflections_encoder);
  if (const uint32_t code =
          encoder_init(r->reflections_encoder, ambisonics, r->reflection_count, max_frame_size)) {
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
  return r.ready && r.delay_lines && r.decoding_matrix && r.reflection_buffers &&
         frames <= r.reflections_encoder->max_frame_size;
}

void read_inputs(ubr_reflections_t* r, const float* const* input, uint32_t frames) {
  for (uint32_t c = 0; c < num_loudspeakers(*r); ++c) {
    memcpy(r->staging_input + size_t{c} * r->stride, input[c], frames * sizeof(float));
  }
}

void decode(ubr_reflections_t* r, uint32_t frames) {
  const uint32_t padded = padded_loudspeakers(*r);
  mix_rows({r->decoding_matrix, 1, padded}, {r->staging_input, r->stride, num_loudspeakers(*r)},
           {r->decoded, r->stride, padded}, round_up_to_4(frames));
}

void write_delay_lines(ubr_reflections_t* r, uint32_t frames) {
  const uint32_t before_wrap = std::min(frames, r->delay_line_length - r->write_index);
  for (uint32_t v = 0; v < num_loudspeakers(*r); ++v) {
    const float* signal = r->decoded + size_t{v} * r->stride;
    float* line = r->delay_lines + size_t{v} * r->delay_line_length;
    std::copy_n(signal, before_wrap, line + r->write_index);
    std::copy_n(signal + before_wrap, frames - before_wrap, line);
  }
}

// `frames` samples of a delay line from position `start` on.
void read_tap(const float* line, uint32_t length, uint32_t start, float gain, uint32_t frames,
              float* out) {
  const uint32_t before_wrap = std::min(frames, length - start);
  for (uint32_t t = 0; t < before_wrap; ++t) out[t] = line[start + t] * gain;
  for (uint32_t t = before_wrap; t < frames; ++t) out[t] = line[t - before_wrap] * gain;
}

// The block has been written already, so a tap without delay reads the block itself.
void read_taps(ubr_reflections_t* r, uint32_t frames) {
  const uint32_t length = r->delay_line_length;
  for (uint32_t k = 0; k < r->reflection_count; ++k) {
    const float* line = r->delay_lines + size_t{k / SHOEBOX_WALLS} * length;
    const uint32_t delay = static_cast<uint32_t>(r->scene.delay[k]);
    const uint32_t back = r->write_index < delay ? length : 0;
    read_tap(line, length, checked_index(checked_sub(r->write_index + back, delay), length),
             r->scene.gain[k], frames, r->reflection_buffers[k]);
  }
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
  if (r->reflections_mode == 0) return UBR_OK;
  if (!r->reflections_encoder || !ambisonics) return UBR_MISSING;
  if (r->reflections_mode > REFLECTIONS_MAX_MODE) return UBR_INVALID;
  if (num_loudspeakers(*r) > ambisonics->num_channels) return UBR_INVALID;
  uint32_t longest = 0;
  if (const uint32_t code = place_in_room(r, &longest)) return code;
  if (const uint32_t code = make_delay_lines(r, longest, max_frame_size)) return code;
  if (const uint32_t code = make_block_buffers(r, max_frame_size)) return code;
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
  // Deliberate: stored before it is looked at, so that an unknown mode stops the reflections.
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
  read_inputs(r, input, frames);
  decode(r, frames);
  write_delay_lines(r, frames);
  read_taps(r, frames);
  encoder_process_dynamic(r->reflections_encoder, r->reflection_buffers, output, frames, 1);
  r->write_index = (r->write_index + frames) % r->delay_line_length;
  return UBR_OK;
}

uint32_t ubr_reset_reflections(ubr_reflections_t* r, uint32_t frames) {
  if (!r) return UBR_MISSING;
  if (r->reflections_mode == 0 || !r->delay_lines) return UBR_OK;
  std::fill_n(r->delay_lines, size_t{r->num_delay_lines} * r->delay_line_length, 0.0f);
  r->write_index = checked_sub(r->delay_line_length, frames);
  if (!r->reflection_buffers) return UBR_OK;
  ubr_reset_float_matrix(r->reflection_buffers, r->reflection_count, std::min(frames, r->stride));
  return UBR_OK;
}
