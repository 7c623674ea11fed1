// SPDX-License-Identifier: Apache-2.0
// A bed that sounds from one loudspeaker after the other, to learn by listening what stands where.
#ifndef ORVANE_TOOLS_RENDER_IDENTIFY_H_
#define ORVANE_TOOLS_RENDER_IDENTIFY_H_

#include <ostream>
#include <vector>

#include "tools/render/bed.h"
#include "tools/render/options.h"

namespace render {

// Every channel in turn, in the order of a file's channels: three bursts of noise, or of a low tone
// from an LFE.
class IdentifyBed final : public Bed {
 public:
  // `channels` are the speakers of the layout in the order in which read() interleaves them.
  // References are kept to neither.
  IdentifyBed(const Layout& layout, const std::vector<Speaker>& channels);

  const Layout& layout() const override { return layout_; }
  uint64_t expected_frames() const override;
  size_t read(float* bed, size_t count) override;

 private:
  struct Turn {
    size_t channel;
    const std::vector<float>& slot;
  };

  Layout layout_;
  std::vector<float> noise_;  // of one slot
  std::vector<float> tone_;
  std::vector<Turn> turns_;
  uint64_t position_ = 0;  // frames read
};

// The whole job of `orvane-render identify`: prints what sounds when, and makes options.output: the
// bed rendered for headphones or, with options.bed_only, the bed. Throws Failure or Interrupted,
// and then leaves no output.
void identify_run(std::ostream& out, const Options& options);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_IDENTIFY_H_
