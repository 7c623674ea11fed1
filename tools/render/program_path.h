// SPDX-License-Identifier: Apache-2.0
// Files that belong to this program, in the build tree as in an installation.
#ifndef ORVANE_TOOLS_RENDER_PROGRAM_PATH_H_
#define ORVANE_TOOLS_RENDER_PROGRAM_PATH_H_

#include <filesystem>
#include <initializer_list>

namespace render {

// This program's own file; empty where the system does not tell.
std::filesystem::path program_path();

// The first of `candidates`, relative to the program's own folder, that exists; empty if none does.
std::filesystem::path program_path_find(std::initializer_list<std::filesystem::path> candidates);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_PROGRAM_PATH_H_
