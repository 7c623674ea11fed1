// A C program that uses the renderer directly: one loudspeaker at the left is louder in the left
// ear.
#include <ambisonics/ambisonics_base.h>
#include <ambisonics/binauralizer.h>
#include <ambisonics/encoder.h>
#include <ambisonics/rotator.h>
#include <base/bounded_copy.h>
#include <base/result.h>
#include <numerics/float_matrix.h>
#include <numerics/pinv.h>
#include <platform/effect_abi.h>
#include <renderer/reflections.h>
#include <renderer/reverb.h>
#include <renderer/ubr.h>
#include <room/shoebox_scene.h>
#include <room/velvet_noise.h>
#include <stdio.h>

enum { kFrames = 512 };

static float energy(const float* samples) {
  float sum = 0.0F;
  for (int i = 0; i < kFrames; ++i) sum += samples[i] * samples[i];
  return sum;
}

int main(void) {
  static float input[kFrames];
  static float left[kFrames];
  static float right[kFrames];
  const float* inputs[] = {input};
  float* ears[] = {left, right};
  ubr_t renderer = {0};

  input[0] = 1.0F;
  if (ubr_init(&renderer, UBR_INPUT_SOURCES, 1, UBR_MODE_BINAURAL_TRACKED, kFrames, 4) ||
      ubr_set_source_type(&renderer, 0, ENCODER_SOURCE_LOUDSPEAKER) ||
      ubr_set_source_position(&renderer, 0, 0.0F, 1.0F, 0.0F) ||
      ubr_process(&renderer, inputs, 1, ears, 2, kFrames)) {
    puts("the renderer refused");
    return 1;
  }
  ubr_cleanup(&renderer);
  return energy(left) > 2.0F * energy(right) ? 0 : 1;
}
