// SPDX-License-Identifier: Apache-2.0
#include <iterator>

#include "base/memory.h"
#include "base/result.h"
#include "renderer/routes/route.h"

const route_t* const kRoutes[] = {&kAtRestRoute, &kTurningRoute, &kPlainRoute};
const uint32_t kNumRoutes = std::size(kRoutes);

uint32_t routes_init(ubr_t* renderer) {
  if (!renderer->reflections) return UBR_OK;
  void** const memory = renderer->reflections->route_memory = alloc_zeroed<void*>(kNumRoutes);
  if (!memory) return UBR_NO_MEMORY;
  for (uint32_t i = 0; i < kNumRoutes; ++i) {
    if (!kRoutes[i]->init) continue;
    if (const uint32_t code = kRoutes[i]->init(*renderer, &memory[i])) return code;
  }
  return UBR_OK;
}

void routes_cleanup(ubr_t* renderer) {
  if (!renderer->reflections || !renderer->reflections->route_memory) return;
  for (uint32_t i = 0; i < kNumRoutes; ++i) {
    if (kRoutes[i]->cleanup) kRoutes[i]->cleanup(renderer->reflections->route_memory[i]);
  }
  release(renderer->reflections->route_memory);
}

void* routes_memory(const ubr_t& renderer, uint32_t index) {
  const bool has_memory = renderer.reflections && renderer.reflections->route_memory;
  return has_memory ? renderer.reflections->route_memory[index] : nullptr;
}

uint32_t routes_render(const ubr_t& renderer, const block_t& block) {
  for (uint32_t i = 0; i < kNumRoutes; ++i) {
    void* const memory = routes_memory(renderer, i);
    if (kRoutes[i]->fits(renderer, block, memory)) {
      return kRoutes[i]->render(renderer, block, memory);
    }
  }
  return UBR_MISSING;  // not reached: the plain route fits every block
}
