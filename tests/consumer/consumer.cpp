// SPDX-License-Identifier: Apache-2.0
// The same block and the same line as consumer.c, through the C++ class.
#include <orvane/effect.h>

#include <cstdio>
#include <orvane/renderer.hpp>
#include <vector>

constexpr size_t kFrames = ORVANE_MAX_FRAME_SIZE;

// With the omnidirectional channel alone as responses, both ears hear the same at once.
bool hears_without_a_head(const orvane_layout_t& layout) {
  orvane::Result<orvane::Renderer> renderer = orvane::Renderer::create(layout, kFrames / 2);
  if (!renderer || !renderer->grow(kFrames) || renderer->max_frame_size() != kFrames) return false;
  std::vector<float> response(orvane::Renderer::kResponseSize);
  response[0] = 1.0f;
  const std::span<const float> too_short = std::span(response).first(9);
  if (renderer->set_responses(too_short).error() != orvane::Error::invalid ||
      renderer->set_responses({}, response).error() != orvane::Error::invalid ||
      !renderer->set_responses(response) || !renderer->set_listener({0.0f, 0.0f, 0.0f}) ||
      !renderer->set_reverb(UBR_REVERB_ENABLE, 0.0f)) {
    return false;
  }
  std::vector<float> silence(kFrames), click(kFrames), left(kFrames), right(kFrames);
  click[0] = 1.0f;
  std::vector<const float*> inputs(renderer->num_inputs(), silence.data());
  inputs[0] = click.data();
  float* const ears[] = {left.data(), right.data()};
  return renderer->process(inputs.data(), ears, kFrames) && left == right && left[0] > 0.1f;
}

int main() {
  const orvane_layout_t* layout = orvane_find_layout(0x3F);
  if (!layout || orvane_uuid.timeLow == 0) return 2;
  orvane::Result<orvane::Renderer> renderer = orvane::Renderer::create(*layout);
  if (!renderer) return 1;

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

  if (!hears_without_a_head(*layout)) return 4;

  std::printf("%d %d", ORVANE_VERSION, orvane_version());
  for (size_t i = 140; i < 180; ++i) {
    std::printf(" %.9g %.9g", static_cast<double>(left[i]), static_cast<double>(right[i]));
  }
  std::printf("\n");
  return 0;
}
