// SPDX-License-Identifier: Apache-2.0
// The log of hosts without Android's log library.
#include <stdarg.h>
#include <stdio.h>

#include "platform/log.h"

void orvane_log_line(char letter, const char* format, ...) {
  if (letter == 'I') return;
  char text[256];
  va_list arguments;
  va_start(arguments, format);
  (void)vsnprintf(text, sizeof(text), format, arguments);
  va_end(arguments);
  (void)fprintf(stderr, "%c orvane: %s\n", letter, text);
}
