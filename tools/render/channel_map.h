// SPDX-License-Identifier: Apache-2.0
// Which layout a file is, and which of its channels feeds which input of the effect.
#ifndef ORVANE_TOOLS_RENDER_CHANNEL_MAP_H_
#define ORVANE_TOOLS_RENDER_CHANNEL_MAP_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/render/channel_labels.h"
#include "tools/render/layouts.h"
#include "tools/render/speakers.h"

namespace render {

// What the inputs of the effect receive. They differ for 22.2 only, whose inputs the effect places
// in the order of its own table, while a device delivers them in the order of the mask's bits.
enum class InputOrder {
  kLabel,   // each channel at the direction of its name
  kDevice,  // the mask's order, heard as a device would play it
};

struct ChannelRequest {
  std::string layout = {};    // empty: the smallest that holds the labels
  std::string channels = {};  // names with commas, or a FileOrder; empty: from the file's labels
  bool relabel = false;       // these two take the place of labels that say otherwise
  InputOrder input_order = InputOrder::kLabel;
  double lfe_gain_db = 0.0;
  bool is_ambisonic = false;  // AmbiX: a field of full order, ACN and SN3D
  bool is_film = false;       // LFE channels as film playback has them, where there are any
};

// Throws BadText for what is wrong whatever the file.
void channel_request_check(const ChannelRequest& request);

// How many channels it names; 0 where it does not settle that.
size_t channel_request_count(const ChannelRequest& request);

constexpr size_t kNoChannel = static_cast<size_t>(-1);  // an input that no channel feeds

struct ChannelPlan {
  const Layout* layout = nullptr;
  std::vector<Speaker> labels;        // what each channel of the file plays, one of the layout's
  std::vector<size_t> file_channels;  // effect input -> channel of the file, or kNoChannel
  std::vector<float> gains;           // of each effect input, a factor
  std::vector<std::string> notices;   // what was assumed on the way
};

// Settles the layout of `file` and the route of each channel: the smallest layout that holds all
// labels, or request.layout. Throws Failure when labels and request do not settle it, contradict
// each other, or when a part of the request has no effect.
ChannelPlan channel_plan_make(const std::string& file, const ChannelLabels& labels,
                              const ChannelRequest& request);

// Interleaved file frames into interleaved effect frames.
void channel_plan_reorder(const ChannelPlan& plan, const float* file_frames, float* effect_frames,
                          size_t frames);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_CHANNEL_MAP_H_
