#!/bin/sh
# An installed tree serves a C program: headers compile as strict C11, and pkg-config and the CMake
# package both name the library, wherever the tree was put.
#   $1 build tree   $2 C compiler   $3 C source
set -eu
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT

cmake --install "$1" --prefix "$prefix" >/dev/null
package=$(dirname "$(find "$prefix" -name orvane.pc)")
flags=$(PKG_CONFIG_PATH=$package pkg-config --cflags --libs orvane)
# The flags are a list of words.
# shellcheck disable=SC2086
"$2" -std=c11 -Wall -Wextra -Wpedantic -Werror "$3" -o "$prefix/program" $flags
LD_LIBRARY_PATH=$(dirname "$package") "$prefix/program"

cat >"$prefix/CMakeLists.txt" <<EOF
cmake_minimum_required(VERSION 3.25)
project(installed_use LANGUAGES C)
find_package(orvane REQUIRED)
add_executable(installed_use $3)
target_link_libraries(installed_use PRIVATE orvane::orvane)
EOF
cmake -G Ninja -S "$prefix" -B "$prefix/build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_C_COMPILER="$2" >/dev/null
cmake --build "$prefix/build" >/dev/null
"$prefix/build/installed_use"
