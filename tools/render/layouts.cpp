// SPDX-License-Identifier: Apache-2.0
#include "tools/render/layouts.h"

#include <algorithm>

#include "ambisonics/ambisonics_base.h"
#include "renderer/loudspeaker_layouts.h"
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

// The smaller layouts in film mixes and in BS.2051: the sides come before the back.
const std::vector<Speaker> kFilmOrder = {
    kFrontLeft, kFrontRight, kFrontCenter, kLfe, kSideLeft, kSideRight, kBackLeft, kBackRight,
    kTopFrontLeft, kTopFrontRight, kTopSideLeft, kTopSideRight, kTopBackLeft, kTopBackRight};
// clang-format on

constexpr struct {
  const char* name;
  FileOrder order;
} kFileOrders[] = {{"android", FileOrder::kAndroid},
                   {"bs2051", FileOrder::kBs2051},
                   {"film", FileOrder::kFilm},
                   {"wave", FileOrder::kWave}};

// What a file without labels is taken as.
constexpr struct {
  size_t channels;
  const char* layout;
} kUsualLayouts[] = {{6, "5.1"}, {8, "7.1"}, {12, "7.1.4"}, {24, "22.2"}};

bool is_permutation_of(const std::vector<Speaker>& a, const std::vector<Speaker>& b) {
  return a.size() == b.size() && std::is_permutation(a.begin(), a.end(), b.begin());
}

}  // namespace

const std::vector<Layout>& layouts() {
  static const std::vector<Layout> all = [] {
    std::vector<Layout> made;
    for (const orvane_layout_t& layout : orvane_layouts) {
      made.push_back({layout.name, layout.mask, {}, 0});
      for (uint32_t i = 0; i < layout.num_channels; ++i) {
        made.back().rows.push_back(speaker_of(layout.loudspeakers[i].channel));
      }
    }
    return made;
  }();
  return all;
}

const Layout* ambisonics_find(size_t channels) {
  static const std::vector<Layout> all = [] {
    std::vector<Layout> made;
    for (uint32_t order = 1; order <= AMBISONICS_MAX_ORDER; ++order) {
      made.push_back({"ambisonics of order " + std::to_string(order), 0,
                      std::vector<Speaker>(size_t{order + 1} * (order + 1)), order});
    }
    return made;
  }();
  for (const Layout& field : all) {
    if (field.rows.size() == channels) return &field;
  }
  return nullptr;
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

const Layout* layout_usual(size_t channels) {
  for (const auto& usual : kUsualLayouts) {
    if (usual.channels == channels) return layout_find(usual.layout);
  }
  return nullptr;
}

std::optional<FileOrder> file_order_find(const std::string& name) {
  for (const auto& known : kFileOrders) {
    if (name == known.name) return known.order;
  }
  return std::nullopt;
}

std::string file_order_choices() {
  std::vector<std::string> names;
  for (const auto& known : kFileOrders) names.emplace_back(known.name);
  return text_choices(names);
}

std::vector<Speaker> channel_order(const Layout& layout, FileOrder order) {
  const bool is_big = is_permutation_of(layout.rows, kFfmpegOrder);
  if (is_big && order == FileOrder::kBs2051) return kBs2051Order;
  if (is_big && order != FileOrder::kAndroid) return kFfmpegOrder;
  const bool by_film = order == FileOrder::kFilm || order == FileOrder::kBs2051;
  std::vector<Speaker> speakers = layout.rows;
  std::sort(speakers.begin(), speakers.end(), [=](Speaker a, Speaker b) {
    if (!by_film) return a < b;
    return std::find(kFilmOrder.begin(), kFilmOrder.end(), a) <
           std::find(kFilmOrder.begin(), kFilmOrder.end(), b);
  });
  return speakers;
}

}  // namespace render
