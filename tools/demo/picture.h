// The demo's picture: where the voices are heard, and how the room dies away.
#ifndef ORVANE_TOOLS_DEMO_PICTURE_H_
#define ORVANE_TOOLS_DEMO_PICTURE_H_

#include <string>
#include <vector>

#include "tools/demo/hearing.h"

namespace demo {

// Draws an SVG file of the voices as heard and of `response`, both ears (interleaved) of a room
// after an impulse. Throws render::Failure.
void picture_draw(const std::vector<HeardVoice>& heard, const std::vector<float>& response,
                  const std::string& path);

}  // namespace demo

#endif  // ORVANE_TOOLS_DEMO_PICTURE_H_
