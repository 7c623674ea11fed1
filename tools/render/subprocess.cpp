// SPDX-License-Identifier: Apache-2.0
#include "tools/render/subprocess.h"

#include <cstdio>

#include "tools/render/text.h"

namespace render {
namespace {

bool g_verbose = false;

}  // namespace

void subprocess_set_verbose(bool verbose) { g_verbose = verbose; }

std::string command_text(const std::vector<std::string>& command) {
  constexpr std::string_view kPlain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_./:=,+@%";
  std::string text;
  for (const std::string& word : command) {
    if (!text.empty()) text += ' ';
    if (!word.empty() && word.find_first_not_of(kPlain) == std::string::npos) {
      text += word;
      continue;
    }
    text += '\'';
    for (const char c : word) text += c == '\'' ? std::string("'\\''") : std::string(1, c);
    text += '\'';
  }
  return text;
}

void subprocess_show(const std::vector<std::string>& command) {
  if (g_verbose) std::fprintf(stderr, "%s\n", command_text(command).c_str());
}

std::vector<std::string> Subprocess::errors() const {
  std::vector<std::string> lines;
  const std::string text = error_text();
  for (const std::string_view line : text_split(text, '\n')) {
    if (!line.empty()) lines.emplace_back(line);
  }
  return lines;
}

}  // namespace render
