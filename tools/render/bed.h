// SPDX-License-Identifier: Apache-2.0
// A bed on its way to the effect: frames at the effect's rate, in the order of the effect's inputs.
#ifndef ORVANE_TOOLS_RENDER_BED_H_
#define ORVANE_TOOLS_RENDER_BED_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/render/channel_map.h"

namespace render {

class Bed {
 public:
  Bed() = default;
  virtual ~Bed() = default;
  Bed(const Bed&) = delete;
  Bed& operator=(const Bed&) = delete;

  virtual const Layout& layout() const = 0;

  // What is wrong with the sound, complete when all has been read.
  virtual std::vector<std::string> warnings() const { return {}; }

  // Length as far as it is known, else 0; a frame more or less after resampling.
  virtual uint64_t expected_frames() const = 0;

  // Whether it will not be longer than that.
  virtual bool is_length_certain() const { return true; }

  // Fills `bed` with interleaved frames; fewer than `count` only at the end. Throws Failure.
  virtual size_t read(float* bed, size_t count) = 0;
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_BED_H_
