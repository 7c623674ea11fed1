// Writes what hosts read about the plug-ins, from the library's tables and preset files:
//
//   make_bundle FOLDER VERSION PRESET...
//
// puts manifest.ttl, orvane.ttl and presets.ttl into FOLDER. A PRESET is a file of presets/.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "lv2/turtle.h"
#include "tools/render/failure.h"

namespace {

void write(const std::filesystem::path& path, const std::string& text) {
  std::ofstream file(path);
  file << text;
  file.close();
  if (!file) throw render::Failure(path, "cannot be written");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fputs("make_bundle FOLDER VERSION PRESET...\n", stderr);
    return 2;
  }
  try {
    const std::filesystem::path folder = argv[1];
    std::vector<lv2_plugin::Preset> presets;
    for (int i = 3; i < argc; ++i) presets.push_back(lv2_plugin::preset_read(argv[i]));
    write(folder / "manifest.ttl", lv2_plugin::manifest_turtle(presets));
    write(folder / "orvane.ttl", lv2_plugin::plugins_turtle(argv[2]));
    write(folder / "presets.ttl", lv2_plugin::presets_turtle(presets));
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "make_bundle: %s\n", failure.what());
  }
  return 1;
}
