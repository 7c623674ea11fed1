// SPDX-License-Identifier: Apache-2.0
#include "tools/render/presets.h"

#include <algorithm>
#include <filesystem>

#include "tools/render/failure.h"
#include "tools/render/program_path.h"
#include "tools/render/text.h"

#ifndef ORVANE_DATA_DIR_FROM_PROGRAM
#define ORVANE_DATA_DIR_FROM_PROGRAM "../share/orvane"
#endif

namespace render {
namespace {

namespace fs = std::filesystem;

constexpr char kExtension[] = ".preset";

fs::path preset_folder() {
  return program_path_find({"presets", ORVANE_DATA_DIR_FROM_PROGRAM "/presets"});
}

}  // namespace

void preset_read(const std::string& path, Settings* settings) {
  text_file_read(path, [=](std::string_view line) { settings->set_assignment("", line); });
}

std::string preset_find(const std::string& name) {
  const std::vector<std::string> names = preset_names();
  if (std::find(names.begin(), names.end(), name) == names.end()) {
    throw BadText("there is no preset " + name + ": it may be " + text_choices(names));
  }
  return (preset_folder() / (name + kExtension)).string();
}

std::vector<std::string> preset_names() {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(preset_folder(), error)) {
    if (entry.path().extension() == kExtension) names.push_back(entry.path().stem().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace render
