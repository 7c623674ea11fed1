// SPDX-License-Identifier: Apache-2.0
// clang-format off
#include <windows.h>
#include <shellapi.h>
// clang-format on
#include <fcntl.h>
#include <io.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "tools/render/program_start.h"
#include "tools/render/wide_text.h"

namespace render {
namespace {

// The arguments that C hands over are in the system's code page, which has not every letter.
std::vector<std::string> arguments() {
  int count = 0;
  wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> arguments;
  for (int i = 0; i < count; ++i) arguments.push_back(wide_to_utf8(words[i]));
  LocalFree(words);
  return arguments;
}

UINT g_code_page = 0;  // of the user's console, which stays when the program has ended

void restore_code_page() { SetConsoleOutputCP(g_code_page); }

}  // namespace

void program_start(int* argc, char*** argv) {
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) _setmode(fd, _O_BINARY);
  g_code_page = GetConsoleOutputCP();
  std::atexit(restore_code_page);
  SetConsoleOutputCP(CP_UTF8);
  const HANDLE console = GetStdHandle(STD_ERROR_HANDLE);
  DWORD mode = 0;
  if (GetConsoleMode(console, &mode)) {  // for the line that shows how far the work is
    SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
  }
  static std::vector<std::string> words = arguments();
  static std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  *argc = static_cast<int>(pointers.size());
  pointers.push_back(nullptr);
  *argv = pointers.data();
}

}  // namespace render
