// SPDX-License-Identifier: Apache-2.0
// The beds that the effect renders, and the orders in which files have their channels.
#ifndef ORVANE_TOOLS_RENDER_LAYOUTS_H_
#define ORVANE_TOOLS_RENDER_LAYOUTS_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/render/speakers.h"

namespace render {

// A bed that the effect accepts: one of orvane_layouts.
struct Layout {
  std::string name;              // as in --layout
  uint32_t mask;                 // given to the effect
  std::vector<Speaker> rows;     // what each input of the effect is placed as
  uint32_t ambisonic_order = 0;  // of a field, whose rows are no loudspeakers; else 0
};

const std::vector<Layout>& layouts();

// The field of so many channels, ACN and SN3D, of order 1 to 4; null for other numbers.
const Layout* ambisonics_find(size_t channels);

// Null where `name` is no layout.
const Layout* layout_find(const std::string& name);

// What a file of so many channels without labels is taken as; null where that is anybody's guess.
const Layout* layout_usual(size_t channels);

// "5.1, 5.1.2, 5.1.4, 7.1, 7.1.4 or 22.2"
std::string layout_choices();

// Orders in which the channels of a layout come where nothing labels them.
enum class FileOrder {
  kWave,     // the bits of a WAVE mask; 22.2 as FFmpeg has it, with LFE2, top sides, bottom last
  kFilm,     // L R C LFE Ls Rs Lrs Rrs Ltf Rtf Ltr Rtr; 22.2 as kWave
  kAndroid,  // the bits of the platform's mask
  kBs2051,   // Rec. ITU-R BS.2051: system H for 22.2, else as kFilm
};

// By name: android, bs2051, film, wave.
std::optional<FileOrder> file_order_find(const std::string& name);

// "android, bs2051, film or wave"
std::string file_order_choices();

// The speakers of `layout` in that order.
std::vector<Speaker> channel_order(const Layout& layout, FileOrder order);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_LAYOUTS_H_
