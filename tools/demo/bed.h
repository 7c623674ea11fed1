// A 7.1 bed in memory, on its way to a file.
#ifndef ORVANE_TOOLS_DEMO_BED_H_
#define ORVANE_TOOLS_DEMO_BED_H_

#include <cstddef>
#include <string>
#include <vector>

#include "tools/render/speakers.h"

namespace demo {

constexpr int kRateHz = 48000;  // of the recordings, the beds and their renderings

class Bed {
 public:
  // Silence.
  explicit Bed(size_t frames);

  // Puts `samples` into the channel of a loudspeaker that 7.1 has, from the frame `start` on.
  void place(render::Speaker speaker, size_t start, const std::vector<float>& samples);

  // With a channel map. Throws render::Failure.
  void write(const std::string& path) const;

 private:
  std::vector<float> samples_;  // interleaved
};

}  // namespace demo

#endif  // ORVANE_TOOLS_DEMO_BED_H_
