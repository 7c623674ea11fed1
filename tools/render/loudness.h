// SPDX-License-Identifier: Apache-2.0
// Loudness and true peak after Rec. ITU-R BS.1770-4, measured by libebur128.
#ifndef ORVANE_TOOLS_RENDER_LOUDNESS_H_
#define ORVANE_TOOLS_RENDER_LOUDNESS_H_

#include <ebur128.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/render/speakers.h"

namespace render {

struct Loudness {
  std::optional<double> lufs;       // integrated; none for silence and below its gate
  std::optional<double> peak_dbtp;  // true peak of the loudest channel; none for silence
};

// "-23.0 LUFS, true peak -1.2 dBTP"
std::string loudness_text(const Loudness& loudness);

class LoudnessMeter {
 public:
  // For interleaved frames of these channels; LFEs do not count. Throws std::bad_alloc.
  LoudnessMeter(const std::vector<Speaker>& channels, int sample_rate_hz);

  void add(const float* frames, size_t count);
  Loudness loudness() const;

 private:
  struct Release {
    void operator()(ebur128_state* state) const { ebur128_destroy(&state); }
  };
  std::unique_ptr<ebur128_state, Release> state_;
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_LOUDNESS_H_
