#include "renderer/resting.h"

#include <stddef.h>
#include <string.h>

#include "base/checked.h"
#include "base/memory.h"
#include "base/result.h"
#include "numerics/mix_channels.h"

namespace {

size_t source_bytes(const ubr_resting_t& r) { return r.num_sources * sizeof(encoder_source_t); }

// Types beyond the last are silent.
bool is_audible(const encoder_source_t& source) { return source.type <= ENCODER_SOURCE_LFE; }

void remember_scene(ubr_resting_t* r, const encoder_t& encoder, uint32_t transform_size) {
  memcpy(r->sources, encoder.sources, source_bytes(*r));
  r->transform_size = transform_size;
  r->is_folded = false;
}

// `rotator` may be null. The off-degree weights of the matrix are zero but for rounding.
void rotate_beam(const float* beam, const rotator_t* rotator, uint32_t num_channels, float* gains) {
  if (!rotator) {
    memcpy(gains, beam, num_channels * sizeof(float));
    return;
  }
  const float* rows[AMBISONICS_MAX_CHANNELS];
  for (uint32_t c = 0; c < num_channels; ++c) {
    rows[c] = rotator->current_matrix + size_t{c} * rotator->padded_channels;
  }
  mix_channels({beam, 1, 0}, {rows, num_channels}, {&gains, 1}, num_channels, false);
}

// Weights of an audible source in the field that would enter the binauralizer.
void find_gains(const encoder_source_t& source, const rotator_t* rotator, uint32_t num_channels,
                float* gains) {
  if (source.type == ENCODER_SOURCE_LFE) {
    memset(gains, 0, num_channels * sizeof(float));
    gains[0] = 1.0f;
  } else {
    const bool follows_head = source.type == ENCODER_SOURCE_HEAD_LOCKED;
    rotate_beam(source.beam, follows_head ? nullptr : rotator, num_channels, gains);
  }
}

void fold(ubr_resting_t* r, const rotator_t* rotator, const binauralizer_t& binauralizer) {
  r->hrirs.num_sources = 0;
  for (uint32_t s = 0; s < r->num_sources; ++s) {
    if (!is_audible(r->sources[s])) continue;
    float* const gains = r->gains + size_t{r->hrirs.num_sources++} * AMBISONICS_MAX_CHANNELS;
    find_gains(r->sources[s], rotator, binauralizer.num_sh_channels, gains);
  }
  r->hrirs.size = r->transform_size;
  binauralizer_fold_hrirs(binauralizer, r->gains, r->hrirs);
  r->is_folded = true;
}

}  // namespace

bool resting_is_offered(uint32_t num_sources, uint32_t num_channels) {
  return num_sources < num_channels;
}

uint32_t resting_init(ubr_resting_t* r, uint32_t num_sources) {
  r->num_sources = checked_index(num_sources, kMaxFoldedSources + 1);
  r->sources = alloc_zeroed<encoder_source_t>(num_sources);
  r->gains = alloc_zeroed<float>(num_sources, uint32_t{AMBISONICS_MAX_CHANNELS});
  r->audible = alloc_zeroed<const float*>(num_sources);
  r->hrirs.spectra = alloc_aligned<float>(count_folded_floats(num_sources));
  return r->sources && r->gains && r->audible && r->hrirs.spectra ? UBR_OK : UBR_NO_MEMORY;
}

void resting_forget(ubr_resting_t* r) {
  r->transform_size = 0;
  r->is_folded = false;
}

bool resting_prepare(ubr_resting_t* r, const encoder_t& encoder, const rotator_t* rotator,
                     const binauralizer_t& binauralizer, uint32_t frames) {
  const uint32_t size = binauralizer_transform_size(binauralizer, frames);
  if (size == 0 || size != r->transform_size ||
      memcmp(r->sources, encoder.sources, source_bytes(*r)) != 0) {
    remember_scene(r, encoder, size);
    return false;
  }
  if (!r->is_folded) fold(r, rotator, binauralizer);
  return true;
}

void resting_process(ubr_resting_t* r, binauralizer_t* binauralizer, const float* const* inputs,
                     float* omni, float* const* ears, uint32_t frames) {
  uint32_t count = 0;
  for (uint32_t s = 0; s < r->num_sources; ++s) {
    if (is_audible(r->sources[s])) r->audible[count++] = inputs[s];
  }
  if (omni) {
    float* const field[] = {omni};
    mix_channels({r->gains, AMBISONICS_MAX_CHANNELS, 1}, {r->audible, count}, {field, 1}, frames,
                 false);
  }
  binauralizer_process_folded(binauralizer, r->hrirs, r->audible, ears, frames);
}

void resting_cleanup(ubr_resting_t* r) {
  if (!r) return;
  release(r->sources, r->gains, r->audible);
  release_aligned(r->hrirs.spectra);
  *r = {};
}
