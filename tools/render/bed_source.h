// The bed as the effect wants it: the file's frames at the effect's rate, in the effect's order.
#ifndef ORVANE_TOOLS_RENDER_BED_SOURCE_H_
#define ORVANE_TOOLS_RENDER_BED_SOURCE_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "tools/render/audio_reader.h"
#include "tools/render/channel_map.h"
#include "tools/render/resampler.h"

namespace render {

class BedSource {
 public:
  // Keeps references to both, which must outlive it.
  BedSource(AudioReader& reader, const ChannelPlan& plan);
  BedSource(const BedSource&) = delete;
  BedSource& operator=(const BedSource&) = delete;

  // Length at the effect's rate; a frame more or less after resampling.
  uint64_t expected_frames() const;

  // Fills `bed` with interleaved frames; fewer than `count` only at the end. Throws Failure.
  size_t read(float* bed, size_t count);

 private:
  AudioReader& reader_;
  const ChannelPlan& plan_;
  std::optional<Resampler> resampler_;  // none where the file has the effect's rate
  std::vector<float> file_frames_;
};

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_BED_SOURCE_H_
