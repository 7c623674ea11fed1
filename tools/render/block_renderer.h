// SPDX-License-Identifier: Apache-2.0
// An instance of the effect with the room and the head that the options ask for, block by block.
#ifndef ORVANE_TOOLS_RENDER_BLOCK_RENDERER_H_
#define ORVANE_TOOLS_RENDER_BLOCK_RENDERER_H_

#include <cstddef>
#include <cstdint>
#include <string>

#include "tools/render/effect_host.h"
#include "tools/render/layouts.h"
#include "tools/render/options.h"
#include "tools/render/trajectory.h"

namespace render {

class BlockRenderer {
 public:
  // Keeps references to `options` and to `trajectory`, which may be null. Throws Failure.
  BlockRenderer(const Options& options, const Layout& layout, const Trajectory* trajectory);

  // Gives a new instance the pose of the first sample: the effect fades over to a pose within one
  // block. To be called before anything is rendered, and only for the beginning of a bed.
  void settle_head();

  // Length of the block that begins at frame `position` of the bed.
  size_t block_at(uint64_t position) const;

  // Renders the `frames` interleaved frames of the bed from `position` on, at most block_at() of
  // them, into stereo. Throws Failure.
  void render(uint64_t position, float* bed, float* ears, size_t frames);

 private:
  const Options& options_;
  const Trajectory* trajectory_;
  size_t channels_;
  EffectHost effect_;
};

// The effect for a bed, or the library's renderer for a field, whose order the reflections that
// `settings` have may raise; both without those settings yet. Throws Failure.
EffectHost effect_make(const std::string& library, const Layout& layout, const Settings& settings,
                       const std::string& ears);

// Every multiple of so many frames is the beginning of a block.
size_t block_unit(const Options& options);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_BLOCK_RENDERER_H_
