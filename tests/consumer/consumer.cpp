// SPDX-License-Identifier: Apache-2.0
// The same block and the same line as consumer.c, through the C++ class.
#include <orvane/effect.h>

#include <cstdio>
#include <orvane/renderer.hpp>
#include <vector>

int main() {
  const orvane_layout_t* layout = orvane_find_layout(0x3F);
  if (!layout || orvane_uuid.timeLow == 0) return 2;
  orvane::Result<orvane::Renderer> renderer = orvane::Renderer::create(*layout);
  if (!renderer) return 1;

  constexpr size_t kFrames = ORVANE_MAX_FRAME_SIZE;
  std::vector<float> silence(kFrames), click(kFrames), left(kFrames), right(kFrames);
  click[0] = 1.0f;
  std::vector<std::span<const float>> inputs(renderer->num_inputs(), silence);
  inputs[0] = click;
  const std::span<float> ears[] = {left, right};
  if (!renderer->process(inputs, ears)) return 1;

  // What cannot be done is an error, and touches nothing.
  const std::vector<std::span<const float>> too_few(inputs.begin(), inputs.begin() + 5);
  const std::span<float> uneven[] = {left, std::span(right).first(kFrames - 1)};
  const orvane::Result<orvane::Renderer> none = orvane::Renderer::create({.num_inputs = 0});
  if (none || none.error() != orvane::Error::invalid) return 3;
  if (renderer->process(too_few, ears).error() != orvane::Error::invalid) return 3;
  if (renderer->process(inputs, uneven).error() != orvane::Error::invalid) return 3;

  std::printf("%d %d", ORVANE_VERSION, orvane_version());
  for (size_t i = 140; i < 180; ++i) {
    std::printf(" %.9g %.9g", static_cast<double>(left[i]), static_cast<double>(right[i]));
  }
  std::printf("\n");
  return 0;
}
