// SPDX-License-Identifier: Apache-2.0
#include "tools/render/wav_header.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <vector>

#include "tools/render/failure.h"

namespace render {
namespace {

constexpr char kW64Guid[] = "riff\x2E\x91\xCF\x11\xA5\xD6\x28\xDB\x04\xC1";
constexpr uint32_t kOpen32 = 0xFFFFFF00;  // sizes from here on stand for an open end
constexpr uint64_t kOpen64 = uint64_t{1} << 62;
constexpr size_t kMostFormatBytes = 4096;
constexpr uint16_t kPcm = 1, kFloat = 3, kExtensible = 0xFFFE;

// Of RIFF, EBU Tech 3285 and 3306, Rec. ITU-R BS.2088 and what editors add; W64 has some of them in
// small letters.
constexpr std::string_view kChunks[] = {
    "LIST", "list", "fact", "cue ", "smpl", "inst", "plst", "labl", "note", "ltxt", "bext", "iXML",
    "axml", "bxml", "sxml", "chna", "id3 ", "ID3 ", "JUNK", "junk", "FLLR", "PAD ", "PEAK", "fake",
    "acid", "strc", "umid", "cart", "levl", "link", "minf", "elm1", "regn", "DISP", "qlty", "mext",
    "aXML", "_PMX", "r64m", "ubxt", "dbmd", "afsp", "CSET", "slnt", "ovwf", "MD5 ", "mark", "summ",
};

template <typename Number>
Number number_at(const unsigned char* bytes) {
  Number number;
  std::memcpy(&number, bytes, sizeof(number));
  return number;
}

class HeaderReader {
 public:
  explicit HeaderReader(const ReadBytes& read) : read_(read) {}

  WavHeader run() {
    const auto magic = take<12>();
    const std::string_view name(reinterpret_cast<const char*>(magic.data()), 4);
    is_w64_ = name == "riff";
    header_.format = is_w64_ ? "W64" : name == "RIFF" ? "WAV" : name;
    if (is_w64_) take<28>();  // the rest of the first chunk's name, its size, the form's name
    while (read_chunk()) {
    }
    if (header_.channels == 0) throw BadText("the samples come before their format");
    return header_;
  }

 private:
  template <size_t kSize>
  std::array<unsigned char, kSize> take() {
    std::array<unsigned char, kSize> bytes;
    if (!read_(bytes.data(), bytes.size())) throw BadText("ends within the header");
    return bytes;
  }

  void skip(uint64_t size) {
    std::array<unsigned char, 512> bytes;
    while (size > 0) {
      const size_t part = static_cast<size_t>(std::min<uint64_t>(size, bytes.size()));
      if (!read_(bytes.data(), part)) throw BadText("ends within the header");
      size -= part;
    }
  }

  // False when the samples begin.
  bool read_chunk() {
    char name[4];
    uint64_t size = 0;
    if (is_w64_) {
      const auto head = take<24>();
      std::memcpy(name, head.data(), 4);
      size = number_at<uint64_t>(head.data() + 16);
      size = size < 24 ? 0 : size - 24;
    } else {
      const auto head = take<8>();
      std::memcpy(name, head.data(), 4);
      size = number_at<uint32_t>(head.data() + 4);
    }
    const std::string_view chunk(name, 4);
    if (chunk == "data") {
      settle_length(size);
      return false;
    }
    uint64_t left = size;
    has_long_size_ |= chunk == "ds64";
    if (chunk == "fmt ") left -= read_format(size);
    if (chunk == "ds64") left -= read_long_size(size);
    skip(left + (alignment() - size % alignment()) % alignment());
    return true;
  }

  size_t alignment() const { return is_w64_ ? 8 : 2; }

  void settle_length(uint64_t size) {
    if (is_w64_) {
      if (size > 0 && size < kOpen64) header_.data_bytes = size;
    } else if (long_size_ > 0) {
      if (long_size_ < kOpen64) header_.data_bytes = long_size_;
    } else if (size > 0 && size < kOpen32) {
      header_.data_bytes = size;
      header_.may_wrap = header_.format == "WAV" && !has_long_size_;
    }
    header_.alignment_bytes = alignment();
  }

  uint64_t read_long_size(uint64_t size) {
    if (size < 24) throw BadText("its ds64 chunk is too short");
    const auto bytes = take<24>();
    long_size_ = number_at<uint64_t>(bytes.data() + 8);
    return bytes.size();
  }

  uint64_t read_format(uint64_t size) {
    if (size < 16 || size > kMostFormatBytes) throw BadText("its format chunk has no known size");
    std::vector<unsigned char> bytes(size);
    if (!read_(bytes.data(), bytes.size())) throw BadText("ends within the header");
    uint16_t tag = number_at<uint16_t>(bytes.data());
    header_.channels = number_at<uint16_t>(bytes.data() + 2);
    header_.sample_rate_hz = static_cast<int>(number_at<uint32_t>(bytes.data() + 4));
    const uint16_t frame_bytes = number_at<uint16_t>(bytes.data() + 12);
    if (tag == kExtensible && size >= 40) {
      header_.mask = number_at<uint32_t>(bytes.data() + 20);
      tag = number_at<uint16_t>(bytes.data() + 24);
    }
    if (header_.channels == 0 || header_.sample_rate_hz <= 0) {
      throw BadText("its header has no channels or no sample rate");
    }
    header_.sample = sample_of(tag, frame_bytes / header_.channels);
    return size;
  }

  static std::optional<RawSample> sample_of(uint16_t tag, size_t bytes) {
    if (tag == kFloat && bytes == 4) return RawSample::kFloat32;
    if (tag == kFloat && bytes == 8) return RawSample::kFloat64;
    if (tag != kPcm) return std::nullopt;
    if (bytes == 1) return RawSample::kUint8;
    if (bytes == 2) return RawSample::kInt16;
    if (bytes == 3) return RawSample::kInt24;
    if (bytes == 4) return RawSample::kInt32;
    return std::nullopt;
  }

  const ReadBytes& read_;
  WavHeader header_;
  bool is_w64_ = false, has_long_size_ = false;
  uint64_t long_size_ = 0;  // of a ds64 chunk
};

}  // namespace

bool wav_header_begins(std::string_view bytes) {
  if (bytes.size() < 12) return false;
  if (bytes.starts_with(std::string_view(kW64Guid, 12))) return true;
  const std::string_view name = bytes.substr(0, 4);
  return (name == "RIFF" || name == "RF64" || name == "BW64") && bytes.substr(8, 4) == "WAVE";
}

bool wav_chunk_is_known(std::string_view bytes) {
  return bytes.size() == 4 &&
         std::find(std::begin(kChunks), std::end(kChunks), bytes) != std::end(kChunks);
}

WavHeader wav_header_read(const ReadBytes& read) { return HeaderReader(read).run(); }

}  // namespace render
