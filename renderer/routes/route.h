// SPDX-License-Identifier: Apache-2.0
// For the renderer's own use: the routes that a block of sources can take. The plain route is the
// definition: it renders every block, stage by stage. The others are shortcuts through the same
// sound, each in one file that states when it fits; deleting that file and its row in the table
// removes it. tests/route_test.cpp holds all of them against the plain order in double precision.
#ifndef ORVANE_RENDERER_ROUTES_ROUTE_H_
#define ORVANE_RENDERER_ROUTES_ROUTE_H_

#include <stdint.h>

#include "renderer/stages.h"
#include "renderer/ubr.h"

struct route_t {
  const char* name;

  // Whether the route can and may render this block. Asked once for every block that no earlier
  // route takes; may note in `memory` what it has seen. Allocates nothing.
  bool (*fits)(const ubr_t& renderer, const block_t& block, void* memory);

  // Renders the block that fits, and leaves every module as the plain route would. Returns the
  // block's code. Allocates nothing.
  uint32_t (*render)(const ubr_t& renderer, const block_t& block, void* memory);

  // Both null for a route that keeps nothing between blocks. init leaves `*memory` null where the
  // route can never fit, and returns UBR_OK or UBR_NO_MEMORY; cleanup accepts null and half-made
  // memory.
  uint32_t (*init)(const ubr_t& renderer, void** memory);
  void (*cleanup)(void* memory);
};

extern const route_t kAtRestRoute, kTurningRoute, kPlainRoute;

// All routes, in the order in which they are asked.
extern const route_t* const kRoutes[];
extern const uint32_t kNumRoutes;

// Makes what the routes keep between blocks, once all modules but the reverb are built. Returns
// UBR_OK or UBR_NO_MEMORY; a renderer without room records has nowhere to keep it and needs
// nothing.
uint32_t routes_init(ubr_t* renderer);

// Frees it; renderers without it are accepted.
void routes_cleanup(ubr_t* renderer);

// What route `index` keeps; null where it keeps nothing.
void* routes_memory(const ubr_t& renderer, uint32_t index);

// Renders one block of sources by the first route that fits.
uint32_t routes_render(const ubr_t& renderer, const block_t& block);

// The plain order of stages, for both types of input.
uint32_t plain_render_sources(const ubr_t& renderer, const block_t& block);
uint32_t plain_render_ambisonics(const ubr_t& renderer, const block_t& block);

#endif  // ORVANE_RENDERER_ROUTES_ROUTE_H_
