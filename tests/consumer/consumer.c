// SPDX-License-Identifier: Apache-2.0
// Renders a block from C, and prints what Python, C++ or another program may compare: the version
// and the ears of one sample that sounds at the front left.
#include <orvane/effect.h>
#include <orvane/renderer.h>
#include <stdio.h>

int main(void) {
  static ubr_t renderer;
  static float silence[ORVANE_MAX_FRAME_SIZE], click[ORVANE_MAX_FRAME_SIZE] = {1.0f};
  static float left[ORVANE_MAX_FRAME_SIZE], right[ORVANE_MAX_FRAME_SIZE];
  const orvane_layout_t* layout = orvane_find_layout(0x3F);
  const float* inputs[6] = {click, silence, silence, silence, silence, silence};
  float* const outputs[2] = {left, right};
  if (!layout || layout->num_channels != 6 || orvane_uuid.timeLow == 0) return 2;

  uint32_t code = ubr_init(&renderer, UBR_INPUT_SOURCES, layout->num_channels,
                           UBR_MODE_BINAURAL_TRACKED, ORVANE_MAX_FRAME_SIZE, ORVANE_MAX_ORDER);
  for (uint32_t i = 0; code == UBR_OK && i < layout->num_channels; ++i) {
    const orvane_loudspeaker_t* speaker = &layout->loudspeakers[i];
    code = ubr_set_source_type(&renderer, i,
                               speaker->is_lfe ? ENCODER_SOURCE_LFE : ENCODER_SOURCE_LOUDSPEAKER);
    if (code == UBR_OK) {
      code = ubr_set_source_position(&renderer, i, speaker->x, speaker->y, speaker->z);
    }
  }
  if (code == UBR_OK) {
    code = ubr_process(&renderer, inputs, layout->num_channels, outputs, 2, ORVANE_MAX_FRAME_SIZE);
  }
  ubr_cleanup(&renderer);
  if (code != UBR_OK) return 1;

  printf("%d %d", ORVANE_VERSION, orvane_version());
  for (int i = 140; i < 180; ++i) printf(" %.9g %.9g", (double)left[i], (double)right[i]);
  printf("\n");
  return 0;
}
