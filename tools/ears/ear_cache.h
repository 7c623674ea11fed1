// SPDX-License-Identifier: Apache-2.0
// Fitted tables on disk, by what the fitted file holds.
#ifndef ORVANE_TOOLS_EARS_EAR_CACHE_H_
#define ORVANE_TOOLS_EARS_EAR_CACHE_H_

#include <filesystem>
#include <optional>
#include <string>

#include "tools/ears/ears.h"

namespace ears {

// Where the tables of the file at `path` are kept; nothing where there is no home for a cache.
// Throws Failure when the file cannot be read.
std::optional<std::filesystem::path> ear_cache_place(const std::string& path);

// What is kept there; nothing where it is not whole.
std::optional<Ears> ear_cache_read(const std::filesystem::path& place);

// Replaces it. Does nothing where it cannot.
void ear_cache_write(const std::filesystem::path& place, const Ears& ears);

}  // namespace ears

#endif  // ORVANE_TOOLS_EARS_EAR_CACHE_H_
