// SPDX-License-Identifier: Apache-2.0
#include "tools/render/header_labels.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "tools/render/files.h"

namespace render {
namespace {

constexpr size_t kLongestComment = size_t{1} << 20;  // bytes of a FLAC comment block that are read
constexpr size_t kLongestLayout = size_t{1} << 16;   // of a channel layout
constexpr int kMostBlocks = 4096;                    // of a header; more are no header

// Fewer bytes at the end of the file.
std::string bytes_at(int fd, uint64_t offset, size_t size) {
  std::string bytes(size, '\0');
  const int64_t done = file_read_at(fd, bytes.data(), size, offset);
  bytes.resize(done > 0 ? static_cast<size_t>(done) : 0);
  return bytes;
}

// Zero beyond the end.
uint64_t big_endian(std::string_view bytes, size_t offset, size_t size) {
  if (offset + size > bytes.size()) return 0;
  uint64_t value = 0;
  for (size_t i = 0; i < size; ++i) value = value << 8 | static_cast<uint8_t>(bytes[offset + i]);
  return value;
}

uint64_t little_endian(std::string_view bytes, size_t offset) {
  if (offset + 4 > bytes.size()) return 0;
  uint64_t value = 0;
  for (size_t i = 4; i-- > 0;) value = value << 8 | static_cast<uint8_t>(bytes[offset + i]);
  return value;
}

// The mask of a "WAVEFORMATEXTENSIBLE_CHANNEL_MASK=0x60F" among Vorbis comments; 0 for none.
uint32_t mask_of_comments(std::string_view block) {
  constexpr std::string_view kKey = "WAVEFORMATEXTENSIBLE_CHANNEL_MASK=0X";
  size_t at = 4 + little_endian(block, 0);
  const uint64_t count = little_endian(block, at);
  at += 4;
  for (uint64_t i = 0; i < count && at + 4 <= block.size(); ++i) {
    const uint64_t size = little_endian(block, at);
    at += 4;
    if (size > block.size() - at) return 0;
    std::string comment(block.substr(at, size));
    at += size;
    for (char& c : comment) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    uint32_t mask = 0;
    if (!comment.starts_with(kKey)) continue;
    std::from_chars(comment.data() + kKey.size(), comment.data() + comment.size(), mask, 16);
    return mask;
  }
  return 0;
}

std::optional<ChannelLabels> flac_labels(int fd, size_t channels) {
  uint64_t offset = 4;
  for (int i = 0; i < kMostBlocks; ++i) {
    const std::string head = bytes_at(fd, offset, 4);
    if (head.size() < 4) break;
    const auto type = static_cast<uint8_t>(head[0]);
    const size_t size = big_endian(head, 1, 3);
    if ((type & 0x7F) == 4) {
      const uint32_t mask =
          mask_of_comments(bytes_at(fd, offset + 4, std::min(size, kLongestComment)));
      ChannelLabels labels = labels_from_wave_mask(mask, channels);
      if (!labels_are_missing(labels)) return labels;
    }
    if (type & 0x80) break;  // the last block
    offset += 4 + size;
  }
  const std::vector<Speaker> order = flac_order(channels);
  if (order.empty()) return std::nullopt;
  return order;
}

// Apple's AudioChannelLayoutTag, as in CoreAudioBaseTypes.h: the number above the channel count.
constexpr struct {
  uint32_t number;
  std::string_view channels;
} kCafLayouts[] = {
    {100, "FC"},
    {101, "FL,FR"},
    {102, "FL,FR"},
    {103, "FL,FR"},
    {108, "FL,FR,BL,BR"},
    {113, "FL,FR,FC"},
    {114, "FC,FL,FR"},
    {115, "FL,FR,FC,BC"},
    {116, "FC,FL,FR,BC"},
    {117, "FL,FR,FC,BL,BR"},
    {118, "FL,FR,BL,BR,FC"},
    {119, "FL,FC,FR,BL,BR"},
    {120, "FC,FL,FR,BL,BR"},
    {121, "FL,FR,FC,LFE,BL,BR"},
    {122, "FL,FR,BL,BR,FC,LFE"},
    {123, "FL,FC,FR,BL,BR,LFE"},
    {124, "FC,FL,FR,BL,BR,LFE"},
    {125, "FL,FR,FC,LFE,BL,BR,BC"},
    {126, "FL,FR,FC,LFE,BL,BR,FLC,FRC"},
    {127, "FC,FLC,FRC,FL,FR,BL,BR,LFE"},
    {128, "FL,FR,FC,LFE,SL,SR,BL,BR"},
    {131, "FL,FR,BC"},
    {132, "FL,FR,BL,BR"},
    {192, "FL,FR,FC,LFE,SL,SR,BL,BR,TFL,TFR,TBL,TBR"},
    {194, "FL,FR,FC,LFE,BL,BR,TSL,TSR"},
    {195, "FL,FR,FC,LFE,BL,BR,TFL,TFR,TBL,TBR"},
    {196, "FL,FR,FC,LFE,SL,SR,BL,BR,TSL,TSR"},
};

constexpr uint32_t kUseDescriptions = 0, kUseBitmap = 1;  // numbers of a tag
constexpr uint32_t kDiscreteInOrder = 147, kUnknownLayout = 0xFFFF;
constexpr uint32_t kLeftSurround = 5, kRightSurround = 6, kRearSurroundLeft = 33;

// Apple's AudioChannelLabel. Left surround is the back pair unless there is a rear one beside it.
constexpr struct {
  uint32_t label;
  std::string_view name;
} kCafLabels[] = {
    {1, "FL"},   {2, "FR"},   {3, "FC"},   {4, "LFE"},  {5, "BL"},   {6, "BR"},   {7, "FLC"},
    {8, "FRC"},  {9, "BC"},   {10, "SL"},  {11, "SR"},  {12, "TC"},  {13, "TFL"}, {14, "TFC"},
    {15, "TFR"}, {16, "TBL"}, {17, "TBC"}, {18, "TBR"}, {33, "BL"},  {34, "BR"},  {37, "LFE2"},
    {42, "FC"},  {49, "TSL"}, {51, "TSR"}, {52, "TBL"}, {53, "TBC"}, {54, "TBR"}, {55, "SL"},
    {56, "SR"},  {57, "BFL"}, {58, "BFR"}, {59, "BFC"}, {60, "TSL"}, {61, "TSR"},
};

std::string described(uint32_t label, bool has_rear) {
  if (has_rear && label == kLeftSurround) return "SL";
  if (has_rear && label == kRightSurround) return "SR";
  for (const auto& known : kCafLabels) {
    if (known.label == label) return std::string(known.name);
  }
  return "label " + std::to_string(label) + " of its channel layout";
}

// The file says what the channels are, and not in words that are known here.
ChannelLabels labels_of_tag(uint32_t number, size_t channels) {
  ChannelLabels labels(std::vector<Speaker>(channels, Speaker::kUnknown));
  labels.names.assign(channels, "layout tag " + std::to_string(number));
  return labels;
}

ChannelLabels labels_of_descriptions(std::string_view layout, size_t channels) {
  constexpr size_t kFirst = 12, kSize = 20;  // bytes
  if (layout.size() < kFirst + channels * kSize) return labels_of_tag(kUseDescriptions, channels);
  std::vector<uint32_t> labels;
  for (size_t i = 0; i < channels; ++i) {
    labels.push_back(static_cast<uint32_t>(big_endian(layout, kFirst + i * kSize, 4)));
  }
  const bool has_rear = std::find(labels.begin(), labels.end(), kRearSurroundLeft) != labels.end();
  std::string names;
  for (const uint32_t label : labels) {
    if (!names.empty()) names += ',';
    names += described(label, has_rear);
  }
  return labels_read(names, ',');
}

ChannelLabels labels_of_layout(std::string_view layout, size_t channels) {
  const uint32_t number = static_cast<uint32_t>(big_endian(layout, 0, 2));
  const uint64_t count = number == kUseDescriptions ? big_endian(layout, 8, 4) : channels;
  if (number == kUseDescriptions && count == channels) {
    return labels_of_descriptions(layout, channels);
  }
  if (number == kUseBitmap) {
    return labels_from_wave_mask(static_cast<uint32_t>(big_endian(layout, 4, 4)), channels);
  }
  for (const auto& known : kCafLayouts) {
    if (known.number != number || big_endian(layout, 2, 2) != channels) continue;
    return labels_read(known.channels, ',');
  }
  if (number == kDiscreteInOrder || number == kUnknownLayout) return std::vector<Speaker>(channels);
  return labels_of_tag(number, channels);
}

std::optional<ChannelLabels> caf_labels(int fd, size_t channels) {
  uint64_t offset = 8;
  for (int i = 0; i < kMostBlocks; ++i) {
    const std::string head = bytes_at(fd, offset, 12);
    const uint64_t size = big_endian(head, 4, 8);
    if (head.size() < 12 || size > uint64_t{1} << 62) break;  // -1: data up to the end
    if (head.starts_with("chan")) {
      return labels_of_layout(bytes_at(fd, offset + 12, std::min<uint64_t>(size, kLongestLayout)),
                              channels);
    }
    offset += 12 + size;
    if (offset > uint64_t{1} << 62) break;
  }
  return std::nullopt;
}

// The same layout as in a CAF file, in chunks of even length.
std::optional<ChannelLabels> aiff_labels(int fd, size_t channels) {
  uint64_t offset = 12;
  for (int i = 0; i < kMostBlocks; ++i) {
    const std::string head = bytes_at(fd, offset, 8);
    if (head.size() < 8) break;
    const uint64_t size = big_endian(head, 4, 4);
    if (head.starts_with("CHAN")) {
      return labels_of_layout(bytes_at(fd, offset + 8, std::min<uint64_t>(size, kLongestLayout)),
                              channels);
    }
    offset += 8 + size + size % 2;
  }
  return std::nullopt;
}

}  // namespace

std::vector<Speaker> flac_order(size_t channels) {
  constexpr std::string_view kOrders[] = {"FC",
                                          "FL,FR",
                                          "FL,FR,FC",
                                          "FL,FR,BL,BR",
                                          "FL,FR,FC,BL,BR",
                                          "FL,FR,FC,LFE,BL,BR",
                                          "FL,FR,FC,LFE,BC,SL,SR",
                                          "FL,FR,FC,LFE,BL,BR,SL,SR"};
  if (channels < 1 || channels > std::size(kOrders)) return {};
  return labels_read(kOrders[channels - 1], ',').speakers;
}

std::optional<ChannelLabels> header_labels_read(int fd, size_t channels) {
  const std::string magic = bytes_at(fd, 0, 4);
  if (magic == "fLaC") return flac_labels(fd, channels);
  if (magic == "caff") return caf_labels(fd, channels);
  if (magic == "FORM") return aiff_labels(fd, channels);
  return std::nullopt;
}

}  // namespace render
