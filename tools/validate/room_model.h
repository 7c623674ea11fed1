// The reflections that a shoebox room should have, in double precision and independent of the
// library.
#ifndef ORVANE_TOOLS_VALIDATE_ROOM_MODEL_H_
#define ORVANE_TOOLS_VALIDATE_ROOM_MODEL_H_

#include <vector>

#include "tools/validate/geometry.h"

namespace validate {

struct Room {
  double size_m[3];      // length, width, height
  double absorption[6];  // front, back, left, right, ceiling, floor
  double listener_m[3];  // from the middle, the height from the floor
};

struct Echo {
  double delay_samples;
  double gain;
  Direction from;
};

// The six first-order echoes of a loudspeaker that stands one metre from the listener (image
// sources: J. B. Allen and D. A. Berkley, J. Acoust. Soc. Am. 65, 1979). Loudspeaker and listener
// have to be 0.1 m or more from every wall.
std::vector<Echo> room_echoes(const Room& room, const Direction& loudspeaker);

}  // namespace validate

#endif  // ORVANE_TOOLS_VALIDATE_ROOM_MODEL_H_
