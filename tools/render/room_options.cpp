// SPDX-License-Identifier: Apache-2.0
#include "tools/render/room_options.h"

#include <CLI/CLI.hpp>
#include <utility>

#include "tools/render/failure.h"
#include "tools/render/presets.h"
#include "tools/render/text.h"

namespace render {

const char kRoomOptionsHelp[] = R"(Rooms:
  Without options the effect is as it starts on a device: with reverberation,
  without reflections. Room, walls and listener are heard in the reflections
  only, so they need --reflections (cost and detail grow with its number). WALL
  is front, back, left, right, ceiling or floor. What several options set is settled
  by the last of them in the order of the list above: add --dry to any command
  to hear it without a room. --parameters lists all names, ranges and defaults.
)";

namespace {

using Read = std::function<void(std::string_view text)>;

// Calls `read` with the text of an option; a bad one is a wrong command line.
void add_text(CLI::App* app, const std::string& name, const std::string& type,
              const std::string& help, const Read& read) {
  const auto use = [=](const std::string& text) {
    try {
      read(text);
    } catch (const BadText& bad) {
      throw CLI::ValidationError(name, bad.what());
    }
  };
  app->add_option_function<std::string>(name, use, help)->type_name(type);
}

// As add_text, for an option that may be given several times or have several texts with commas
// between them.
void add_assignments(CLI::App* app, const std::string& name, const std::string& type,
                     const std::string& help, const std::string& family, Settings* settings) {
  const auto use = [=](std::string_view text) {
    for (const std::string_view part : text_split(text, ',')) {
      settings->set_assignment(family, part);
    }
  };
  add_text(app, name, type, help, use);
  app->get_option(name)->multi_option_policy(CLI::MultiOptionPolicy::Join)->delimiter(',');
}

// Reads numbers into consecutive parameters.
Read read_numbers(Settings* settings, int32_t first, char separator, const std::string& type) {
  return [=](std::string_view text) {
    const std::vector<std::string_view> parts = text_split(text, separator);
    if (parts.size() != 3) throw BadText(std::string(text) + " is not " + type);
    for (int32_t i = 0; i < 3; ++i) {
      settings->set(parameter(first + i), parts[static_cast<size_t>(i)]);
    }
  };
}

void add_presets(CLI::App* app, Settings* settings) {
  std::string names;
  for (const std::string& name : preset_names()) names += (names.empty() ? "" : "|") + name;
  add_text(app, "--preset", names.empty() ? "NAME" : names, "A room that comes with this program",
           [=](std::string_view name) { preset_read(preset_find(std::string(name)), settings); });
  add_text(app, "--preset-file", "FILE", "A room from a file of NAME = VALUE lines",
           [=](std::string_view path) { preset_read(std::string(path), settings); });
}

void add_room(CLI::App* app, Settings* settings) {
  add_text(app, "--room", "LxWxH", "Size in metres, for instance 5x4x2.5",
           read_numbers(settings, kRoomLength, 'x', "LxWxH"));
  add_text(app, "--listener", "X,Y,Z",
           "Place in metres ahead and to the left of the middle, above the floor",
           read_numbers(settings, kListener, ',', "X,Y,Z"));
  add_assignments(app, "--material", "WALL=NUMBER",
                  "What a wall is made of, " + parameter_ends(parameter(kMaterial)), "material.",
                  settings);
  add_assignments(app, "--absorption", "WALL=A",
                  "What a wall swallows, " + parameter_ends(parameter(kAbsorption)), "absorption.",
                  settings);
  add_text(app, "--reflections", parameter_ends(parameter(kReflectionsMode)),
           "Early reflections, in more and more detail",
           [=](std::string_view text) { settings->set(parameter(kReflectionsMode), text); });
  add_assignments(app, "--reverb", "NAME=VALUE", "For instance decay=0.4,level=0.1", "reverb.",
                  settings);
  add_assignments(app, "--param", "ID=VALUE", "Any of --parameters by number or name", "",
                  settings);
}

}  // namespace

void room_options_add(CLI::App* app, Settings* settings) {
  add_presets(app, settings);
  add_room(app, settings);
  const auto switch_off = [=](int32_t id) { settings->set(parameter(id), "0"); };
  app->add_flag_callback(
      "--no-reverb", [=] { switch_off(kReverbEnable); }, "No reverberation");
  app->add_flag_callback(
      "--dry",
      [=] {
        switch_off(kReverbEnable);
        switch_off(kReflectionsMode);
      },
      "Neither reverberation nor reflections");
  app->add_flag_callback(
      "--parameters", [] { throw CLI::CallForVersion(parameters_text(), 0); },
      "List the effect's parameters and exit");
}

}  // namespace render
