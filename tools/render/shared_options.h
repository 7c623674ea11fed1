// SPDX-License-Identifier: Apache-2.0
// Command-line options that more than one program has.
#ifndef ORVANE_TOOLS_RENDER_SHARED_OPTIONS_H_
#define ORVANE_TOOLS_RENDER_SHARED_OPTIONS_H_

#include <CLI/CLI.hpp>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "tools/render/channel_map.h"
#include "tools/render/pose.h"
#include "tools/render/settings.h"

namespace render {

// Sections for the end of a help text.
extern const char kChannelsHelp[];  // how a file's channels are understood
extern const char kPoseHelp[];      // what a pose means

// An option that takes one of a few words; `target` keeps its value where the option is not given.
template <typename Target, typename Value>
CLI::Option* choice_option_add(CLI::App* app, const std::string& name, Target* target,
                               const std::map<std::string, Value>& choices,
                               const std::string& help) {
  std::string words;
  for (const auto& choice : choices) words += (words.empty() ? "" : "|") + choice.first;
  const auto choose = [=](const std::string& text) {
    const auto found = choices.find(text);
    if (found == choices.end()) throw CLI::ValidationError(name, text + " is not one of " + words);
    *target = found->second;
  };
  return app->add_option_function<std::string>(name, choose, help)->type_name(words);
}

// A level or gain.
CLI::Option* decibels_option_add(CLI::App* app, const std::string& name, double* decibels,
                                 const std::string& help);

// --layout.
CLI::Option* layout_option_add(CLI::App* app, std::string* layout, const std::string& help);

// --layout, --file-order and --order.
void channel_options_add(CLI::App* app, ChannelRequest* channels);

// --stream and --ambisonics: what is in a file.
CLI::Option* stream_option_add(CLI::App* app, std::optional<int>* stream);
CLI::Option* ambisonics_option_add(CLI::App* app, bool* is_ambisonic);

// --pose. `help` says whose or when.
CLI::Option* pose_option_add(CLI::App* app, std::optional<Pose>* pose, const std::string& help);

// --ears.
void ears_option_add(CLI::App* app, std::string* ears);

// --version.
void version_option_add(CLI::App* app);

// --library, --verbose and --version. `shows` is what --verbose does.
void program_options_add(CLI::App* app, std::string* library, bool* verbose,
                         const std::string& shows);

// Parses the command line and calls `check`, which may throw BadText. The exit status where
// the program has nothing more to do (help, version, a wrong command line); the text has then been
// printed. Throws Failure for a preset file.
std::optional<int> options_parse_line(CLI::App* app, int argc, char** argv,
                                      const std::function<void()>& check);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_SHARED_OPTIONS_H_
