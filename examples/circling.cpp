// A source that circles a resting head once, ahead, left, behind, right: the renderer's functions
// from C++.
//
//   circling OUT.wav
#include <renderer/ubr.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>

#include "example_bed.h"

namespace {

constexpr uint32_t kFrames = 4 * RATE_HZ;

struct Cleanup {
  void operator()(ubr_t* renderer) const {
    ubr_cleanup(renderer);  // frees what the record owns, also of one that is half built
    delete renderer;
  }
};
using Renderer = std::unique_ptr<ubr_t, Cleanup>;

// One source in the default room, whose tail is heard. Null when the renderer cannot be had.
Renderer make_renderer() {
  Renderer renderer(new ubr_t{});
  const uint32_t order = 4;
  if (ubr_init(renderer.get(), UBR_INPUT_SOURCES, 1, UBR_MODE_BINAURAL, BLOCK_FRAMES, order) ||
      ubr_set_source_type(renderer.get(), 0, ENCODER_SOURCE_LOUDSPEAKER)) {
    return nullptr;
  }
  return renderer;
}

// Moves the source to where it is at `first`, then renders the block and writes it.
bool render_block(ubr_t* renderer, uint32_t first, FILE* file) {
  const float azimuth = 6.2831853f * static_cast<float>(first) / kFrames;
  if (ubr_set_source_position(renderer, 0, std::cos(azimuth), std::sin(azimuth), 0.0f))
    return false;

  std::array<float, BLOCK_FRAMES> source, left, right;
  for (uint32_t i = 0; i < BLOCK_FRAMES; ++i) {
    source[i] = bed_sample((first + i) / TURN_FRAMES, first + i);
  }
  const float* const inputs[] = {source.data()};
  float* const ears[] = {left.data(), right.data()};
  if (ubr_process(renderer, inputs, 1, ears, 2, BLOCK_FRAMES)) return false;
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
  const Renderer renderer = make_renderer();
  bool good = renderer != nullptr;
  for (uint32_t first = 0; good && first < kFrames; first += BLOCK_FRAMES) {
    good = render_block(renderer.get(), first, file);
  }
  good = std::fclose(file) == 0 && good;
  return good ? 0 : 1;
}
