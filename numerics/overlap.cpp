// SPDX-License-Identifier: Apache-2.0
#include "numerics/overlap.h"

#include <algorithm>
#include <bit>

namespace {

struct row_range_t {
  uintptr_t begin, last;
};

row_range_t row_range(const float* row, uint32_t frames) {
  const auto begin = reinterpret_cast<uintptr_t>(row);
  return {begin, begin + frames * sizeof(float) - 1};
}

bool meet(const row_range_t& a, const row_range_t& b) {
  return a.begin <= b.last && b.begin <= a.last;
}

bool row_overlaps(const float* row, const channels_t<const float>& channels, uint32_t frames) {
  const row_range_t a = row_range(row, frames);
  for (uint32_t i = 0; i < channels.count; ++i) {
    if (meet(a, row_range(channels.rows[i], frames))) return true;
  }
  return false;
}

// From the first sample of all rows to the last one.
template <typename Sample>
row_range_t hull(const channels_t<Sample>& channels, uint32_t frames) {
  row_range_t all = row_range(channels.rows[0], frames);
  for (uint32_t i = 1; i < channels.count; ++i) {
    const row_range_t row = row_range(channels.rows[i], frames);
    all = {std::min(all.begin, row.begin), std::max(all.last, row.last)};
  }
  return all;
}

// Memory in pieces that are no shorter than a row: a row lies in one or in two of them, and rows
// that overlap have a piece in common. Pieces far apart share an entry; then rows are compared.
class TouchedPieces {
 public:
  explicit TouchedPieces(uint32_t frames)
      : shift_(static_cast<uint32_t>(std::bit_width(frames * sizeof(float) - 1))) {}

  void add(const row_range_t& row) { at(row.begin) = at(row.last) = true; }
  bool may_hold(const row_range_t& row) { return at(row.begin) || at(row.last); }

 private:
  bool& at(uintptr_t address) { return touched_[(address >> shift_) % kEntries]; }

  static constexpr uint32_t kEntries = 1024;
  uint32_t shift_;
  bool touched_[kEntries] = {};
};

}  // namespace

bool channels_overlap(channels_t<const float> in, channels_t<float> out, uint32_t frames) {
  if (frames == 0 || in.count == 0 || out.count == 0) return false;
  if (!meet(hull(in, frames), hull(out, frames))) return false;
  TouchedPieces touched(frames);
  for (uint32_t i = 0; i < in.count; ++i) touched.add(row_range(in.rows[i], frames));
  for (uint32_t o = 0; o < out.count; ++o) {
    if (touched.may_hold(row_range(out.rows[o], frames)) && row_overlaps(out.rows[o], in, frames)) {
      return true;
    }
  }
  return false;
}
