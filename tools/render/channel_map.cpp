#include "tools/render/channel_map.h"

#include <algorithm>
#include <optional>

#include "renderer/loudspeaker_layouts.h"
#include "tools/render/decibels.h"
#include "tools/render/failure.h"
#include "tools/render/text.h"

namespace render {
namespace {

using enum Speaker;

// The channels of 22.2 in two orders that files come in, and that are not the mask's.
// clang-format off
const std::vector<Speaker> kFfmpegOrder = {
    kFrontLeft, kFrontRight, kFrontCenter, kLfe, kBackLeft, kBackRight,
    kFrontLeftOfCenter, kFrontRightOfCenter, kBackCenter, kSideLeft, kSideRight, kTopCenter,
    kTopFrontLeft, kTopFrontCenter, kTopFrontRight, kTopBackLeft, kTopBackCenter, kTopBackRight,
    kLfe2, kTopSideLeft, kTopSideRight, kBottomFrontCenter, kBottomFrontLeft, kBottomFrontRight};

const std::vector<Speaker> kBs2051Order = {
    kFrontLeft, kFrontRight, kFrontCenter, kLfe, kBackLeft, kBackRight,
    kFrontLeftOfCenter, kFrontRightOfCenter, kBackCenter, kLfe2, kSideLeft, kSideRight,
    kTopFrontLeft, kTopFrontRight, kTopFrontCenter, kTopCenter, kTopBackLeft, kTopBackRight,
    kTopSideLeft, kTopSideRight, kTopBackCenter, kBottomFrontCenter, kBottomFrontLeft,
    kBottomFrontRight};
// clang-format on

bool contains(const std::vector<Speaker>& speakers, Speaker speaker) {
  return std::find(speakers.begin(), speakers.end(), speaker) != speakers.end();
}

// A pair of labels that stands for another pair where that other pair is missing.
struct Substitute {
  Speaker left, right;
  Speaker for_left, for_right;
  const char* notice;
};

constexpr Substitute kSubstitutes[] = {
    {kSideLeft, kSideRight, kBackLeft, kBackRight, "side channels are taken as the back pair"},
    {kTopFrontLeft, kTopFrontRight, kTopSideLeft, kTopSideRight,
     "top front channels are taken as the pair above"},
};

bool is_permutation_of(const std::vector<Speaker>& a, const std::vector<Speaker>& b) {
  return a.size() == b.size() && std::is_permutation(a.begin(), a.end(), b.begin());
}

const Layout* layout_of(const std::vector<Speaker>& labels) {
  for (const Layout& layout : layouts()) {
    if (is_permutation_of(layout.rows, labels)) return &layout;
  }
  return nullptr;
}

struct Labelled {
  const Layout* layout;
  std::vector<Speaker> labels;  // with the layout's own names
  std::vector<std::string> notices;
};

// Finds the layout that the labels name, if need be with substitutes.
std::optional<Labelled> match_labels(std::vector<Speaker> labels) {
  std::vector<std::string> notices;
  if (const Layout* layout = layout_of(labels)) return Labelled{layout, labels, notices};
  for (const Substitute& s : kSubstitutes) {
    if (!contains(labels, s.left) || contains(labels, s.for_left)) continue;
    std::replace(labels.begin(), labels.end(), s.left, s.for_left);
    std::replace(labels.begin(), labels.end(), s.right, s.for_right);
    notices.emplace_back(s.notice);
    if (const Layout* layout = layout_of(labels)) return Labelled{layout, labels, notices};
  }
  return std::nullopt;
}

// The route and the gain of each channel of a file whose channels are `labels`.
void route(ChannelPlan* plan, const std::vector<Speaker>& labels, const ChannelRequest& request) {
  std::vector<Speaker> inputs = plan->layout->rows;
  if (request.input_order == InputOrder::kDevice) {
    inputs = channel_order(*plan->layout, FileOrder::kAndroid);
  }
  const float lfe_gain = static_cast<float>(decibels_to_factor(request.lfe_gain_db));
  for (const Speaker speaker : inputs) {
    const auto found = std::find(labels.begin(), labels.end(), speaker);
    plan->file_channels.push_back(static_cast<size_t>(found - labels.begin()));
    plan->gains.push_back(speaker_is_lfe(speaker) ? lfe_gain : 1.0f);
  }
}

std::string count_text(size_t channels) {
  return std::to_string(channels) + (channels == 1 ? " channel" : " channels");
}

[[noreturn]] void fail_unsettled(const std::string& file, const std::vector<Speaker>& labels) {
  const bool fits = std::any_of(layouts().begin(), layouts().end(), [&](const Layout& layout) {
    return layout.rows.size() == labels.size();
  });
  if (!fits) {
    throw Failure(file, count_text(labels.size()) + " fit no layout: " + layout_choices());
  }
  const bool unlabelled = std::all_of(labels.begin(), labels.end(),
                                      [](Speaker speaker) { return speaker == kUnknown; });
  const std::string reason = unlabelled ? "has no channel map" : "its channel map is ambiguous";
  throw Failure(file, reason + " (" + count_text(labels.size()) +
                          "): say what it is with --layout " + layout_choices());
}

}  // namespace

const std::vector<Layout>& layouts() {
  static const std::vector<Layout> all = [] {
    std::vector<Layout> made;
    for (const orvane_layout_t& layout : orvane_layouts) {
      made.push_back({layout.name, layout.mask, {}});
      for (uint32_t i = 0; i < layout.num_channels; ++i) {
        made.back().rows.push_back(speaker_of(layout.loudspeakers[i].channel));
      }
    }
    return made;
  }();
  return all;
}

const Layout* layout_find(const std::string& name) {
  for (const Layout& layout : layouts()) {
    if (layout.name == name) return &layout;
  }
  return nullptr;
}

std::string layout_choices() {
  std::vector<std::string> names;
  for (const Layout& layout : layouts()) names.push_back(layout.name);
  return text_choices(names);
}

std::vector<Speaker> channel_order(const Layout& layout, FileOrder order) {
  const std::vector<Speaker>& other = order == FileOrder::kBs2051 ? kBs2051Order : kFfmpegOrder;
  if (order != FileOrder::kAndroid && is_permutation_of(layout.rows, other)) return other;
  std::vector<Speaker> speakers = layout.rows;
  std::sort(speakers.begin(), speakers.end());
  return speakers;
}

ChannelPlan channel_plan_make(const std::string& file, const std::vector<Speaker>& labels,
                              const ChannelRequest& request) {
  const Layout* requested = layout_find(request.layout);
  std::optional<Labelled> labelled = match_labels(labels);
  if (labelled && (!requested || labelled->layout == requested)) {
    ChannelPlan plan{labelled->layout, {}, {}, labelled->notices};
    route(&plan, labelled->labels, request);
    return plan;
  }
  if (!requested) fail_unsettled(file, labels);
  if (requested->rows.size() != labels.size()) {
    throw Failure(file, count_text(labels.size()) + ", but --layout " + requested->name + " has " +
                            std::to_string(requested->rows.size()));
  }
  ChannelPlan plan{requested, {}, {}, {}};
  if (labelled) {
    plan.notices.push_back("the channel map says " + labelled->layout->name + "; taken as " +
                           requested->name + " as told");
  }
  route(&plan, channel_order(*requested, request.file_order), request);
  return plan;
}

void channel_plan_reorder(const ChannelPlan& plan, const float* file_frames, float* effect_frames,
                          size_t frames) {
  const size_t channels = plan.file_channels.size();
  for (size_t frame = 0; frame < frames; ++frame) {
    for (size_t input = 0; input < channels; ++input) {
      effect_frames[frame * channels + input] =
          plan.gains[input] * file_frames[frame * channels + plan.file_channels[input]];
    }
  }
}

}  // namespace render
