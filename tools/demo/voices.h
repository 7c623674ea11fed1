// The demo's programme: seven spoken channel names, one after the other, each from its own
// loudspeaker of a 7.1 bed. The recordings come with Debian's alsa-utils.
#ifndef ORVANE_TOOLS_DEMO_VOICES_H_
#define ORVANE_TOOLS_DEMO_VOICES_H_

#include <cstddef>
#include <string>
#include <vector>

#include "tools/render/speakers.h"

namespace demo {

struct Voice {
  std::string name;         // as spoken, and as the recording's file name without ".wav"
  render::Speaker speaker;  // where it comes from
  double azimuth_deg;       // of that loudspeaker, positive to the left
  size_t start = 0;         // first frame in the bed
  std::vector<float> samples;
};

// The seven voices in the order of the programme, clockwise from the front left, with silence
// between them. Reads the recordings in `directory`; throws render::Failure.
std::vector<Voice> voices_read(const std::string& directory);

// Frames from the start of the bed to the end of the last silence.
size_t voices_length(const std::vector<Voice>& voices);

// Writes the movement of a head that faces each voice while it speaks and turns in the pauses, as a
// trajectory for orvane-render.
void voices_write_facing(const std::vector<Voice>& voices, const std::string& path);

// Writes the programme as a 7.1 file with a channel map; the LFE stays silent.
void voices_write_bed(const std::vector<Voice>& voices, const std::string& path);

}  // namespace demo

#endif  // ORVANE_TOOLS_DEMO_VOICES_H_
