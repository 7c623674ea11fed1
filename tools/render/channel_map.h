// Which layout a file is, and which of its channels feeds which input of the effect.
#ifndef ORVANE_TOOLS_RENDER_CHANNEL_MAP_H_
#define ORVANE_TOOLS_RENDER_CHANNEL_MAP_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/render/speakers.h"

namespace render {

// A bed that the effect accepts: one of orvane_layouts.
struct Layout {
  std::string name;           // as in --layout
  uint32_t mask;              // given to the effect
  std::vector<Speaker> rows;  // what each input of the effect is placed as
};

const std::vector<Layout>& layouts();

// Null where `name` is no layout.
const Layout* layout_find(const std::string& name);

// "5.1, 5.1.2, 5.1.4, 7.1, 7.1.4 or 22.2"
std::string layout_choices();

// What the inputs of the effect receive. They differ for 22.2 only, whose inputs the effect places
// in the order of its own table, while a device delivers them in the order of the mask's bits.
enum class InputOrder {
  kLabel,   // each channel at the direction of its name
  kDevice,  // the mask's order, heard as a device would play it
};

// Channel order of a file without labels. They differ for 22.2 only.
enum class FileOrder {
  kFfmpeg,   // LFE 2, top sides, then bottom centre, left, right at the end
  kAndroid,  // the bits of the platform's mask
  kBs2051,   // Rec. ITU-R BS.2051, system H
};

// The speakers of `layout` in that order.
std::vector<Speaker> channel_order(const Layout& layout, FileOrder order);

struct ChannelRequest {
  std::string layout;  // empty: from the file's labels
  InputOrder input_order = InputOrder::kLabel;
  FileOrder file_order = FileOrder::kFfmpeg;
  double lfe_gain_db = 0.0;
};

struct ChannelPlan {
  const Layout* layout = nullptr;
  std::vector<size_t> file_channels;  // effect input -> channel of the file
  std::vector<float> gains;           // of each effect input, a factor
  std::vector<std::string> notices;   // what was assumed on the way
};

// Settles the layout of `file`, whose channels are labelled `labels` (kUnknown where they are not),
// and the route of each channel. Throws Failure when the labels and the request do not settle it.
ChannelPlan channel_plan_make(const std::string& file, const std::vector<Speaker>& labels,
                              const ChannelRequest& request);

// Interleaved file frames into interleaved effect frames.
void channel_plan_reorder(const ChannelPlan& plan, const float* file_frames, float* effect_frames,
                          size_t frames);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_CHANNEL_MAP_H_
