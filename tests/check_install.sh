#!/bin/sh
# An installed tree serves a C program: headers compile as strict C11, pkg-config names the library.
#   $1 build tree   $2 C compiler   $3 C source
set -eu
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT

cmake --install "$1" --prefix "$prefix" >/dev/null
package=$(dirname "$(find "$prefix" -name orvane.pc)")
flags=$(PKG_CONFIG_PATH=$package pkg-config --define-prefix --cflags --libs orvane)
# The flags are a list of words.
# shellcheck disable=SC2086
"$2" -std=c11 -Wall -Wextra -Wpedantic -Werror "$3" -o "$prefix/program" $flags
LD_LIBRARY_PATH=$(dirname "$package") "$prefix/program"
