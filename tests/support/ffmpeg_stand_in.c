// SPDX-License-Identifier: Apache-2.0
// A program for Windows in the place of ffmpeg and ffprobe, by the name that it has: a "film" holds
// the float samples of a 5.1 bed at 48 kHz and nothing else. It is strict about its arguments.
#include <fcntl.h>
#include <io.h>
#include <stdio.h>
#include <string.h>
#include <wchar.h>

static FILE* open_argument(const wchar_t* argument, const wchar_t* mode) {
  static const wchar_t protocol[] = L"file:";
  const size_t length = wcslen(protocol);
  if (!wcscmp(argument, L"pipe:0")) return stdin;
  FILE* const file = wcsncmp(argument, protocol, length) ? NULL : _wfopen(argument + length, mode);
  if (!file) fprintf(stderr, "%ls: there is no such film\n", argument);
  return file;
}

static void copy(FILE* from, FILE* to) {
  char bytes[3000];
  for (size_t size; (size = fread(bytes, 1, sizeof bytes, from)) > 0;) fwrite(bytes, 1, size, to);
}

int wmain(int argc, wchar_t** argv) {
  _setmode(0, _O_BINARY);
  _setmode(1, _O_BINARY);
  const wchar_t* film = NULL;
  for (int i = 1; i + 1 < argc && !film; ++i) {
    if (!wcscmp(argv[i], L"-i")) film = argv[i + 1];
  }
  if (!film) return 2;
  if (wcsstr(argv[0], L"ffprobe")) {
    if (!open_argument(film, L"rb")) return 1;
    puts(
        "streams.stream.0.index=0\nstreams.stream.0.codec_type=\"audio\"\n"
        "streams.stream.0.codec_name=\"pcm_f32le\"\nstreams.stream.0.channels=6\n"
        "streams.stream.0.channel_layout=\"5.1\"\nstreams.stream.0.sample_rate=\"48000\"\n"
        "format.format_long_name=\"Stand-in\"");
    return 0;
  }
  const wchar_t* const last = argv[argc - 1];
  const int reads = !wcscmp(last, L"pipe:1");
  FILE* const from = reads ? open_argument(film, L"rb") : stdin;
  FILE* const to = reads ? stdout : open_argument(last, L"wb");
  if (!from || !to) return 1;
  copy(from, to);
  return fflush(to) ? 1 : 0;
}
