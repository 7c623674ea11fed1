// SPDX-License-Identifier: Apache-2.0
// Reading and writing the small texts of options, trajectories and presets.
#ifndef ORVANE_TOOLS_RENDER_TEXT_H_
#define ORVANE_TOOLS_RENDER_TEXT_H_

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#ifdef _WIN32  // where MinGW's printf() is not the system's
#define ORVANE_PRINTF gnu_printf
#else
#define ORVANE_PRINTF printf
#endif

namespace render {

// Without the white space at both ends.
std::string_view text_trim(std::string_view text);

// The trimmed parts between the separators; always at least one.
std::vector<std::string_view> text_split(std::string_view text, char separator);

// Nothing unless the trimmed text is one finite decimal number, whatever the locale.
std::optional<double> text_number(std::string_view text);

// As text_number for parts that are all numbers, `count` of them.
std::optional<std::vector<double>> text_numbers(std::string_view text, char separator,
                                                size_t count);

// "a, b or c"
std::string text_choices(const std::vector<std::string>& words);

// The extension of a path with its point, in small letters.
std::string text_extension(const std::string& path);

// As printf.
[[gnu::format(ORVANE_PRINTF, 1, 2)]] std::string text_format(const char* format, ...);

// Hands over the trimmed lines of a text file that are neither blank nor comments (#). A BadText
// that `use` throws becomes a Failure which names the file and the line.
void text_file_read(const std::string& path, const std::function<void(std::string_view)>& use);

// Throws Failure where the file cannot be written as a whole.
void text_file_write(const std::string& path, std::string_view text);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_TEXT_H_
