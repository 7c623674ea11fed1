// SPDX-License-Identifier: Apache-2.0
// The same sink from PipeWire's filter chain: its configuration for one plug-in, as text.
#ifndef ORVANE_LV2_FILTER_CHAIN_H_
#define ORVANE_LV2_FILTER_CHAIN_H_

#include <string>

#include "renderer/loudspeaker_layouts.h"

namespace lv2_plugin {

// A drop-in for pipewire.conf.d: a sink of the layout's channels whose ears go to the default
// output.
std::string filter_chain_text(const orvane_layout_t& layout);

}  // namespace lv2_plugin

#endif  // ORVANE_LV2_FILTER_CHAIN_H_
