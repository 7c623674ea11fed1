// SPDX-License-Identifier: Apache-2.0
#include "tools/ears/ear_cache.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <type_traits>

#include "tools/render/failure.h"
#include "tools/render/files.h"
#include "tools/render/text.h"

namespace ears {
namespace {

namespace fs = std::filesystem;

// Changes whenever the fit or the layout below does.
constexpr std::array<char, 16> kMagic = {"orvane-ears-1"};

static_assert(std::is_trivially_copyable_v<FitReport>);

constexpr size_t kFileBytes =
    sizeof(kMagic) + sizeof(FitReport) + kNumEars * kTableSize * sizeof(float);

// FNV-1a of 64 bits: files are the user's own, so that nobody gains by a collision.
uint64_t hash_file(const std::string& path) {
  std::ifstream file(render::file_path(path), std::ios::binary);
  if (!file) throw render::Failure(path, "cannot be read");
  uint64_t hash = 0xcbf29ce484222325u;
  std::array<char, 65536> buffer;
  while (file.read(buffer.data(), buffer.size()), file.gcount() > 0) {
    for (std::streamsize i = 0; i < file.gcount(); ++i) {
      hash ^= static_cast<unsigned char>(buffer[static_cast<size_t>(i)]);
      hash *= 0x100000001b3u;
    }
  }
  return hash;
}

fs::path cache_home() {
  const char* const cache = std::getenv("XDG_CACHE_HOME");
  if (cache && *cache) return cache;
  const char* const home = std::getenv("HOME");
  return home && *home ? fs::path(home) / ".cache" : fs::path();
}

bool is_finite(const std::vector<float>& table) {
  return std::all_of(table.begin(), table.end(), [](float tap) { return std::isfinite(tap); });
}

template <typename T>
void read_bytes(std::ifstream* file, T* values, size_t count) {
  file->read(reinterpret_cast<char*>(values), static_cast<std::streamsize>(count * sizeof(T)));
}

template <typename T>
void write_bytes(std::ofstream* file, const T* values, size_t count) {
  file->write(reinterpret_cast<const char*>(values),
              static_cast<std::streamsize>(count * sizeof(T)));
}

}  // namespace

std::optional<fs::path> ear_cache_place(const std::string& path) {
  const uint64_t hash = hash_file(path);
  const fs::path home = cache_home();
  if (home.empty()) return std::nullopt;
  return home / "orvane" / "ears" /
         render::text_format("%016llx", static_cast<unsigned long long>(hash));
}

std::optional<Ears> ear_cache_read(const fs::path& place) {
  std::error_code error;
  if (fs::file_size(place, error) != kFileBytes || error) return std::nullopt;
  std::ifstream file(place, std::ios::binary);
  std::array<char, 16> magic = {};
  Ears ears;
  ears.is_cached = true;
  read_bytes(&file, magic.data(), magic.size());
  read_bytes(&file, &ears.report, 1);
  for (std::vector<float>& table : ears.tables.ears) {
    table.resize(kTableSize);
    read_bytes(&file, table.data(), table.size());
    if (!file || !is_finite(table)) return std::nullopt;
  }
  if (magic != kMagic) return std::nullopt;
  return ears;
}

void ear_cache_write(const fs::path& place, const Ears& ears) {
  std::error_code error;
  fs::create_directories(place.parent_path(), error);
  fs::path temporary = place;
  temporary += render::text_format(".%lld", static_cast<long long>(getpid()));
  {
    std::ofstream file(temporary, std::ios::binary);
    write_bytes(&file, kMagic.data(), kMagic.size());
    write_bytes(&file, &ears.report, 1);
    for (const std::vector<float>& table : ears.tables.ears) {
      write_bytes(&file, table.data(), table.size());
    }
    file.close();
    if (file) {
      fs::rename(temporary, place, error);
      if (!error) return;
    }
  }
  fs::remove(temporary, error);
}

}  // namespace ears
