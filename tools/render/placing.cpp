// SPDX-License-Identifier: Apache-2.0
#include "tools/render/placing.h"

#include <algorithm>

namespace render {
namespace {

using enum Speaker;

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

bool holds(const Layout& layout, const std::vector<Speaker>& labels) {
  return std::all_of(labels.begin(), labels.end(),
                     [&](Speaker label) { return contains(layout.rows, label); });
}

}  // namespace

std::optional<Placed> labels_place_in(const Layout& layout, std::vector<Speaker> labels) {
  std::vector<std::string> notices;
  for (const Substitute& s : kSubstitutes) {
    if (holds(layout, labels)) break;
    if (contains(layout.rows, s.left) || contains(labels, s.for_left)) continue;
    if (!contains(labels, s.left)) continue;
    std::replace(labels.begin(), labels.end(), s.left, s.for_left);
    std::replace(labels.begin(), labels.end(), s.right, s.for_right);
    notices.emplace_back(s.notice);
  }
  if (!holds(layout, labels)) return std::nullopt;
  return Placed{&layout, labels, notices};
}

std::optional<Placed> labels_place(const std::vector<Speaker>& labels) {
  std::vector<const Layout*> by_size;
  for (const Layout& layout : layouts()) by_size.push_back(&layout);
  std::stable_sort(by_size.begin(), by_size.end(), [](const Layout* a, const Layout* b) {
    return a->rows.size() < b->rows.size();
  });
  for (const Layout* layout : by_size) {
    if (auto placed = labels_place_in(*layout, labels)) return placed;
  }
  return std::nullopt;
}

}  // namespace render
