#!/bin/sh
# Programs in C11 and C++20 use the library in each way that there is, with g++ and with clang++, and all of them hear
# the same: the installed CMake package, its archive, pkg-config, the archive through pkg-config, add_subdirectory and
# FetchContent, there with the headers of Highway alone. The preset release has to be built.
set -eu
# SPDX-License-Identifier: Apache-2.0
cd "$(dirname "$0")/.."
source=$PWD
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
cmake --install build/release --prefix "$prefix" >/dev/null
libraries=$(dirname "$(find "$prefix" -name liborvane.so)")
export PKG_CONFIG_PATH="$libraries/pkgconfig"

# What each program printed.
lines=$work/lines
heard() {
  printf '%s\n' "$1"
  shift
  LD_LIBRARY_PATH=$libraries "$@" >>"$lines"
}

by_cmake() {
  use=$1
  shift
  cmake -G Ninja -S tests/consumer -B "$work/$use" -DUSE="$use" -DCMAKE_C_COMPILER="$cc" \
    -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_PREFIX_PATH="$prefix" "$@" >"$work/log" || { cat "$work/log"; exit 1; }
  cmake --build "$work/$use" >"$work/log" || { cat "$work/log"; exit 1; }
  heard "$use, $cc" "$work/$use/consumer_c"
  heard "$use, $cxx" "$work/$use/consumer_cpp"
}

# The flags are lists of words.
# shellcheck disable=SC2046,SC2086
by_pkg_config() {
  strict="-Wall -Wextra -Wpedantic -Wconversion -Werror"
  "$cc" -std=c11 $strict tests/consumer/consumer.c -o "$work/c" $(pkg-config --cflags --libs orvane)
  "$cxx" -std=c++20 $strict tests/consumer/consumer.cpp -o "$work/cpp" $(pkg-config --cflags --libs orvane)
  heard "pkg-config, $cc" "$work/c"
  heard "pkg-config, $cxx" "$work/cpp"
  "$cc" -std=c11 $strict tests/consumer/consumer.c -o "$work/c" \
    $(pkg-config --cflags --libs --static orvane | sed 's/-lorvane/-l:liborvane.a/')
  heard "pkg-config --static, $cc" "$work/c"
}

for compilers in "gcc g++" "clang clang++"; do
  cc=${compilers% *} cxx=${compilers#* }
  by_cmake package
  by_cmake archive
  by_pkg_config
  rm -rf "$work/package" "$work/archive"
done
[ "$(sort -u "$lines" | wc -l)" = 1 ] || { echo "they hear something else:"; sort -u "$lines"; exit 1; }

cc=gcc cxx=g++
by_cmake subdirectory -DORVANE_SOURCE="$source" -DORVANE_LOG=none
cc=clang cxx=clang++
mkdir "$work/highway"  # as in a project that carries its headers
cp -r "$(pkg-config --variable=includedir libhwy)/hwy" "$work/highway/"
by_cmake fetched -DORVANE_SOURCE="$source" -DORVANE_LOG=stderr -DHWY_ROOT="$work/highway"
python3 - "$lines" <<END
import sys
lines = [[float(word) for word in line.split()] for line in open(sys.argv[1])]
assert all(line[0] == line[1] == lines[0][0] for line in lines), "versions"
worst = max(abs(a - b) for line in lines for a, b in zip(lines[0], line))
assert worst < 1e-6 and max(map(abs, lines[0][2:])) > 0.01, worst
END
echo "every consumer hears the same"
