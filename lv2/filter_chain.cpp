// SPDX-License-Identifier: Apache-2.0
#include "lv2/filter_chain.h"

#include "base/limits.h"
#include "lv2/ports.h"
#include "tools/live/positions.h"
#include "tools/render/text.h"

namespace lv2_plugin {
namespace {

constexpr char kText[] =
    R"conf(# SPDX-License-Identifier: Apache-2.0
# "Headphones (orvane %s)": a sink of %u channels, made by PipeWire's filter chain from the plug-in
# %s. For ~/.config/pipewire/pipewire.conf.d, see docs/desktop.md.
context.modules = [
  { name = libpipewire-module-filter-chain
    flags = [ nofail ]
    args = {
      node.description = "Headphones (orvane %s)"
      media.name = "Headphones (orvane %s)"
      # The plug-in runs at this rate alone; PipeWire resamples where its graph has another.
      audio.rate = %d
      filter.graph = {
        nodes = [
          { type = lv2 name = orvane plugin = "%s"
            # Any control of the plug-in may stand here.
            control = { "yaw" = 0.0 "pitch" = 0.0 "roll" = 0.0 "reverb_enable" = 0.0 } }
        ]
        inputs = [%s ]
        outputs = [ "orvane:left" "orvane:right" ]
      }
      capture.props = {
        node.name = "orvane-headphones-%s" media.class = Audio/Sink
        audio.rate = %d audio.channels = %u audio.position = [%s ]
      }
      playback.props = {
        node.name = "orvane-headphones-%s.ears" node.passive = true
        audio.rate = %d audio.channels = 2 audio.position = [ FL FR ]
      }
    }
  }
]
)conf";

}  // namespace

std::string filter_chain_text(const orvane_layout_t& layout) {
  std::string inputs, positions;
  for (uint32_t i = 0; i < layout.num_channels; ++i) {
    const uint32_t channel = layout.loudspeakers[i].channel;
    inputs.append(" \"orvane:").append(orvane_channel_names[channel].abbreviation).append("\"");
    positions.append(" ").append(live::position_name(channel));
  }
  const Uri uri(layout.name);
  const int rate = ORVANE_SAMPLE_RATE;
  return render::text_format(kText, layout.name, layout.num_channels, uri.text, layout.name,
                             layout.name, rate, uri.text, inputs.c_str(), layout.name, rate,
                             layout.num_channels, positions.c_str(), layout.name, rate);
}

}  // namespace lv2_plugin
