// SPDX-License-Identifier: Apache-2.0
// Writes what hosts read about the plug-ins, from the library's tables and preset files:
//
//   make_bundle BUNDLE CHAINS VERSION PRESET...
//
// puts manifest.ttl, orvane.ttl and presets.ttl into the folder BUNDLE, and PipeWire's
// configurations orvane-LAYOUT.conf into the folder CHAINS. A PRESET is a file of presets/.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "lv2/filter_chain.h"
#include "lv2/ports.h"
#include "lv2/turtle.h"
#include "tools/render/text.h"

int main(int argc, char** argv) {
  if (argc < 4) {
    std::fputs("make_bundle BUNDLE CHAINS VERSION PRESET...\n", stderr);
    return 2;
  }
  try {
    const std::filesystem::path folder = argv[1], chains = argv[2];
    std::vector<lv2_plugin::Preset> presets;
    for (int i = 4; i < argc; ++i) presets.push_back(lv2_plugin::preset_read(argv[i]));
    render::text_file_write(folder / "manifest.ttl", lv2_plugin::manifest_turtle(presets));
    render::text_file_write(folder / "orvane.ttl", lv2_plugin::plugins_turtle(argv[3]));
    render::text_file_write(folder / "presets.ttl", lv2_plugin::presets_turtle(presets));
    for (const std::string_view name : lv2_plugin::kLayoutNames) {
      const std::string file = "orvane-" + std::string(name) + ".conf";
      render::text_file_write(chains / file,
                              lv2_plugin::filter_chain_text(*lv2_plugin::find_layout(name)));
    }
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "make_bundle: %s\n", failure.what());
  }
  return 1;
}
