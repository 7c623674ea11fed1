// SPDX-License-Identifier: Apache-2.0
#include "tools/render/text.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <fstream>

#include "tools/render/failure.h"
#include "tools/render/files.h"

namespace render {

std::string_view text_trim(std::string_view text) {
  constexpr std::string_view kSpace = " \t\r\n";
  const size_t begin = text.find_first_not_of(kSpace);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kSpace) - begin + 1);
}

std::vector<std::string_view> text_split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (size_t begin = 0; begin <= text.size();) {
    const size_t end = std::min(text.find(separator, begin), text.size());
    parts.push_back(text_trim(text.substr(begin, end - begin)));
    begin = end + 1;
  }
  return parts;
}

std::optional<double> text_number(std::string_view text) {
  text = text_trim(text);
  if (text.starts_with('+')) text.remove_prefix(1);
  double number = 0.0;
  const char* end = text.data() + text.size();
  const std::from_chars_result result = std::from_chars(text.data(), end, number);
  if (result.ec != std::errc() || result.ptr != end || !std::isfinite(number)) return std::nullopt;
  return number;
}

std::optional<std::vector<double>> text_numbers(std::string_view text, char separator,
                                                size_t count) {
  std::vector<double> numbers;
  for (const std::string_view part : text_split(text, separator)) {
    const std::optional<double> number = text_number(part);
    if (!number) return std::nullopt;
    numbers.push_back(*number);
  }
  if (numbers.size() != count) return std::nullopt;
  return numbers;
}

std::string text_choices(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) {
    if (!text.empty()) text += &word == &words.back() ? " or " : ", ";
    text += word;
  }
  return text;
}

std::string text_extension(const std::string& path) {
  std::string extension = file_path(path).extension().string();
  for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return extension;
}

std::string text_format(const char* format, ...) {
  va_list values;
  va_start(values, format);
  va_list again;
  va_copy(again, values);
  const int size = std::vsnprintf(nullptr, 0, format, values);
  std::string text(size > 0 ? static_cast<size_t>(size) : 0, '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  va_end(values);
  return text;
}

void text_file_read(const std::string& path, const std::function<void(std::string_view)>& use) {
  errno = 0;
  std::ifstream file(file_path(path));
  if (!file) throw Failure(path, errno);
  std::string line;
  for (size_t number = 1; std::getline(file, line); ++number) {
    if (number == 1 && line.starts_with("\xEF\xBB\xBF")) line.erase(0, 3);  // a byte order mark
    const std::string_view text = text_trim(line);
    if (text.empty() || text.starts_with('#')) continue;
    try {
      use(text);
    } catch (const BadText& bad) {
      throw Failure(path + ":" + std::to_string(number), bad.what());
    }
  }
}

void text_file_write(const std::string& path, std::string_view text) {
  std::ofstream file(file_path(path), std::ios::binary);
  file << text;
  file.close();
  if (!file) throw Failure(path, "cannot be written");
}

}  // namespace render
