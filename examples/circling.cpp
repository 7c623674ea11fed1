// SPDX-License-Identifier: Apache-2.0
// A source that circles a head at rest once, ahead, left, behind, right: the renderer from
// C++.
//
//   circling OUT.wav
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <orvane/renderer.hpp>

#include "example_bed.h"

namespace {

constexpr uint32_t kFrames = 4 * RATE_HZ;

// Moves the source to where it is at `first`, then renders the block and writes it.
bool render_block(orvane::Renderer& renderer, uint32_t first, FILE* file) {
  const float azimuth = 6.2831853f * static_cast<float>(first) / kFrames;
  if (!renderer.set_source_position(0, {std::cos(azimuth), std::sin(azimuth), 0.0f})) return false;

  std::array<float, BLOCK_FRAMES> source, left, right;
  for (uint32_t i = 0; i < BLOCK_FRAMES; ++i) {
    source[i] = bed_sample((first + i) / TURN_FRAMES, first + i);
  }
  const std::span<const float> inputs[] = {source};
  const std::span<float> ears[] = {left, right};
  if (!renderer.process(inputs, ears)) return false;
  for (uint32_t i = 0; i < BLOCK_FRAMES; ++i) {
    const float frame[] = {left[i], right[i]};
    if (std::fwrite(frame, sizeof(frame), 1, file) != 1) return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  FILE* const file = argc == 2 ? std::fopen(argv[1], "wb") : nullptr;
  if (!file) {
    std::fputs("usage: circling OUT.wav\n", stderr);
    return 2;
  }
  wav_put_header(file, kFrames);
  // One source in the default room, whose tail is heard.
  orvane::Result<orvane::Renderer> renderer =
      orvane::Renderer::create({.mode = UBR_MODE_BINAURAL, .max_frame_size = BLOCK_FRAMES});
  bool good = renderer && renderer->set_source(0, ENCODER_SOURCE_LOUDSPEAKER, {1.0f, 0.0f, 0.0f});
  for (uint32_t first = 0; good && first < kFrames; first += BLOCK_FRAMES) {
    good = render_block(*renderer, first, file);
  }
  good = std::fclose(file) == 0 && good;
  return good ? 0 : 1;
}
