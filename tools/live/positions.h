// SPDX-License-Identifier: Apache-2.0
// PipeWire's names of channels.
#ifndef ORVANE_TOOLS_LIVE_POSITIONS_H_
#define ORVANE_TOOLS_LIVE_POSITIONS_H_

#include <string>
#include <string_view>

#include "renderer/loudspeaker_layouts.h"

namespace live {

// The library says "back" where PipeWire says "rear", and abbreviates likewise.
inline std::string position_name(uint32_t channel) {
  std::string name = orvane_channel_names[channel].abbreviation;
  switch (channel) {
    case ORVANE_BACK_LEFT:
    case ORVANE_BACK_RIGHT:
    case ORVANE_BACK_CENTRE:
      name[0] = 'R';
      return name;
    case ORVANE_TOP_BACK_LEFT:
    case ORVANE_TOP_BACK_CENTRE:
    case ORVANE_TOP_BACK_RIGHT:
      name[1] = 'R';
      return name;
    default:
      return name;
  }
}

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_POSITIONS_H_
