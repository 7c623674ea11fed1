// SPDX-License-Identifier: Apache-2.0
#include "tools/render/channel_map.h"

#include <algorithm>

#include "tools/render/decibels.h"
#include "tools/render/failure.h"
#include "tools/render/placing.h"

namespace render {
namespace {

using enum Speaker;

constexpr double kFilmLfeGainDb = 10.0;  // of in-band gain in film playback, SMPTE RP 200

std::string count_text(size_t channels) {
  return std::to_string(channels) + (channels == 1 ? " channel" : " channels");
}

// The labels of `channels` in a usual order, of `requested` or of the layout with so many.
std::vector<Speaker> usual_labels(const std::string& file, size_t channels, FileOrder order,
                                  const Layout* requested) {
  if (requested && requested->rows.size() != channels) {
    throw Failure(file, count_text(channels) + ", but --layout " + requested->name + " has " +
                            std::to_string(requested->rows.size()));
  }
  if (requested) return channel_order(*requested, order);
  if (channels == 1) return {kFrontCenter};
  if (channels == 2) return {kFrontLeft, kFrontRight};
  if (const Layout* layout = layout_usual(channels)) return channel_order(*layout, order);
  throw Failure(file, "has no channel map (" + count_text(channels) +
                          "): say what they are with --layout or --channels");
}

// The labels that --channels gives.
ChannelLabels told_labels(const std::string& file, size_t channels, const ChannelRequest& request) {
  if (const auto order = file_order_find(request.channels)) {
    return usual_labels(file, channels, *order, layout_find(request.layout));
  }
  ChannelLabels labels = labels_read(request.channels, ',');
  if (labels.speakers.size() != channels) {
    throw Failure(file, count_text(channels) + ", but --channels names " +
                            std::to_string(labels.speakers.size()));
  }
  return labels;
}

// Labels that leave some channels open, as WAVE masks do for which they have no name, and where
// the others are in the order of the requested layout.
bool agrees(const std::vector<Speaker>& labels, const std::vector<Speaker>& usual) {
  return std::equal(labels.begin(), labels.end(), usual.begin(), usual.end(),
                    [](Speaker a, Speaker b) { return a == b || a == kUnknown; });
}

bool is_partial(const ChannelLabels& labels) {
  for (size_t i = 0; i < labels.speakers.size(); ++i) {
    if (labels.speakers[i] == kUnknown && labels.names[i].empty()) return true;
  }
  return false;
}

// What the channels are: as the options say where there are no labels or --relabel, else the
// labels.
ChannelLabels settle_labels(const std::string& file, const ChannelLabels& labels,
                            const ChannelRequest& request, std::vector<std::string>* notices) {
  const size_t channels = labels.speakers.size();
  const Layout* requested = layout_find(request.layout);
  const bool missing = labels_are_missing(labels);
  if (missing && request.relabel) {
    throw Failure(file, "has no channel map, so --relabel has no effect");
  }
  if (!request.channels.empty()) {
    const ChannelLabels told = told_labels(file, channels, request);
    const bool same = told.speakers == labels.speakers;
    if (!missing && !same && !request.relabel && !agrees(labels.speakers, told.speakers)) {
      throw Failure(file, "its channel map says " + labels_text(labels) +
                              ": --relabel puts --channels in its place");
    }
    if (same && !missing) {
      throw Failure(file, "its channel map says the same, so --channels has no effect");
    }
    return told;
  }
  if (missing || request.relabel) {
    const std::vector<Speaker> usual = usual_labels(file, channels, FileOrder::kWave, requested);
    if (usual == labels.speakers) {
      throw Failure(file, "its channel map says the same, so --relabel has no effect");
    }
    if (!requested && channels > 2) {
      notices->push_back("has no channel map; taken as " + labels_text(usual) +
                         " (--channels and --layout say otherwise)");
    }
    return usual;
  }
  if (requested && is_partial(labels) && requested->rows.size() == channels) {
    const std::vector<Speaker> usual = channel_order(*requested, FileOrder::kWave);
    if (agrees(labels.speakers, usual)) return usual;
  }
  return labels;
}

void check_labels(const std::string& file, const ChannelLabels& labels) {
  for (size_t i = 0; i < labels.speakers.size(); ++i) {
    const std::string channel = "channel " + std::to_string(i + 1);
    const Speaker speaker = labels.speakers[i];
    if (!labels.names[i].empty()) {
      throw Failure(file, channel + " is " + labels.names[i] +
                              ", for which no layout has a loudspeaker: --channels says what to " +
                              "take it as");
    }
    if (speaker == kUnknown) {
      throw Failure(file, channel + " of " + std::to_string(labels.speakers.size()) +
                              " has no label: say what they are with --layout or --channels");
    }
    if (std::count(labels.speakers.begin(), labels.speakers.begin() + static_cast<ptrdiff_t>(i),
                   speaker) > 0) {
      throw Failure(file, std::string(speaker_name(speaker)) +
                              " is there twice: say what the channels are with --channels");
    }
  }
}

Placed place_labels(const std::string& file, const ChannelLabels& labels,
                    const ChannelRequest& request) {
  const Layout* requested = layout_find(request.layout);
  const auto placed =
      requested ? labels_place_in(*requested, labels.speakers) : labels_place(labels.speakers);
  if (placed) return *placed;
  if (requested) {
    throw Failure(file, "has " + labels_text(labels) + ", which " + requested->name +
                            " does not hold: leave --layout out, or put it in place of the " +
                            "labels with --relabel");
  }
  throw Failure(file, "no layout has loudspeakers for all of " + labels_text(labels));
}

// The input route and gain of each channel.
void route(ChannelPlan* plan, const std::vector<Speaker>& labels, const ChannelRequest& request) {
  std::vector<Speaker> inputs = plan->layout->rows;
  if (request.input_order == InputOrder::kDevice) {
    inputs = channel_order(*plan->layout, FileOrder::kAndroid);
  }
  const float lfe_gain = static_cast<float>(
      decibels_to_factor(request.is_film ? kFilmLfeGainDb : request.lfe_gain_db));
  for (const Speaker speaker : inputs) {
    const auto found = std::find(labels.begin(), labels.end(), speaker);
    plan->file_channels.push_back(
        found == labels.end() ? kNoChannel : static_cast<size_t>(found - labels.begin()));
    plan->gains.push_back(speaker_is_lfe(speaker) ? lfe_gain : 1.0f);
  }
}

void check_effects(const std::string& file, const ChannelPlan& plan,
                   const ChannelRequest& request) {
  if (request.input_order == InputOrder::kDevice &&
      channel_order(*plan.layout, FileOrder::kAndroid) == plan.layout->rows) {
    throw Failure(file, "is " + plan.layout->name + ", for which --order device has no effect");
  }
  if (request.lfe_gain_db != 0.0 &&
      std::none_of(plan.labels.begin(), plan.labels.end(), speaker_is_lfe)) {
    throw Failure(file, "has no LFE channel, so --lfe-gain has no effect");
  }
}

// The channels of a field go in as they are.
ChannelPlan field_plan(const std::string& file, const ChannelLabels& labels,
                       const ChannelRequest& request) {
  if (request.is_ambisonic && labels.are_ambisonic) {
    throw Failure(file, "is marked as ambisonics, so --ambisonics has no effect");
  }
  if (!request.layout.empty() || !request.channels.empty()) {
    throw Failure(file, "is marked as ambisonics, which has no --layout and no --channels");
  }
  if (request.lfe_gain_db != 0.0 || request.input_order != InputOrder::kLabel) {
    throw Failure(file, "is ambisonics, so --lfe-gain and --order have no effect");
  }
  const size_t channels = labels.speakers.size();
  ChannelPlan plan;
  plan.layout = ambisonics_find(channels);
  if (!plan.layout) {
    throw Failure(file, count_text(channels) + ", but ambisonics has 4, 9, 16 or 25");
  }
  if (request.is_ambisonic && !labels_are_missing(labels)) {
    plan.notices.push_back("its channel map, " + labels_text(labels) +
                           ", is overridden by --ambisonics");
  }
  plan.labels = std::vector<Speaker>(channels);
  plan.gains = std::vector<float>(channels, 1.0f);
  for (size_t channel = 0; channel < channels; ++channel) plan.file_channels.push_back(channel);
  return plan;
}

}  // namespace

void channel_request_check(const ChannelRequest& request) {
  if (request.is_ambisonic && (!request.layout.empty() || !request.channels.empty())) {
    throw BadText("--ambisonics goes without --layout and --channels");
  }
  if (request.relabel && request.layout.empty() && request.channels.empty()) {
    throw BadText("--relabel needs --layout or --channels");
  }
  if (request.channels.empty() || file_order_find(request.channels)) return;
  const ChannelLabels labels = labels_read(request.channels, ',');
  for (const std::string& name : labels.names) {
    if (name.empty()) continue;
    throw BadText("--channels: there is no channel " + name +
                  ": take names as in FL,FR,FC,LFE, or " + file_order_choices());
  }
}

size_t channel_request_count(const ChannelRequest& request) {
  if (!request.channels.empty() && !file_order_find(request.channels)) {
    return labels_read(request.channels, ',').speakers.size();
  }
  const Layout* layout = layout_find(request.layout);
  return layout ? layout->rows.size() : 0;
}

ChannelPlan channel_plan_make(const std::string& file, const ChannelLabels& labels,
                              const ChannelRequest& request) {
  if (request.is_ambisonic || labels.are_ambisonic) return field_plan(file, labels, request);
  ChannelPlan plan;
  const ChannelLabels settled = settle_labels(file, labels, request, &plan.notices);
  check_labels(file, settled);
  const Placed placed = place_labels(file, settled, request);
  plan.layout = placed.layout;
  plan.labels = placed.labels;
  plan.notices.insert(plan.notices.end(), placed.notices.begin(), placed.notices.end());
  route(&plan, placed.labels, request);
  check_effects(file, plan, request);
  return plan;
}

void channel_plan_reorder(const ChannelPlan& plan, const float* file_frames, float* effect_frames,
                          size_t frames) {
  const size_t inputs = plan.file_channels.size(), channels = plan.labels.size();
  for (size_t input = 0; input < inputs; ++input) {
    const size_t channel = plan.file_channels[input];
    for (size_t frame = 0; frame < frames; ++frame) {
      effect_frames[frame * inputs + input] =
          channel == kNoChannel ? 0.0f
                                : plan.gains[input] * file_frames[frame * channels + channel];
    }
  }
}

}  // namespace render
