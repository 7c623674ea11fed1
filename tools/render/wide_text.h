// SPDX-License-Identifier: Apache-2.0
// Between UTF-8, which the programs use, and UTF-16, in which Windows has its names.
#ifndef ORVANE_TOOLS_RENDER_WIDE_TEXT_H_
#define ORVANE_TOOLS_RENDER_WIDE_TEXT_H_

#include <windows.h>

#include <string>

namespace render {

inline std::wstring utf8_to_wide(const std::string& text) {
  const int size = static_cast<int>(text.size());
  std::wstring wide(text.size(), L'\0');  // never longer
  const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), size);
  wide.resize(static_cast<size_t>(length));
  return wide;
}

inline std::string wide_to_utf8(const std::wstring& wide) {
  const int size = static_cast<int>(wide.size());
  std::string text(3 * wide.size(), '\0');  // never longer
  const int length = WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, text.data(),
                                         static_cast<int>(text.size()), nullptr, nullptr);
  text.resize(static_cast<size_t>(length));
  return text;
}

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_WIDE_TEXT_H_
