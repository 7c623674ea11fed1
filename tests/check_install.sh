#!/bin/sh
# An installed tree serves programs wherever it was put: every header compiles alone as strict C11 and
# as C++20, the examples build through pkg-config and through the CMake package, render the same sound
# in both ways, the Python package works from there, and every program has a man page that reads without
# a warning.
#   $1 build tree   $2 C compiler   $3 C++ compiler   $4 folder of the examples
set -eu
# SPDX-License-Identifier: Apache-2.0
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
strict="-Wall -Wextra -Wpedantic -Werror"

cmake --install "$1" --prefix "$prefix" >/dev/null
package=$(dirname "$(find "$prefix" -name orvane.pc)")
export PKG_CONFIG_PATH="$package"
# What any platform may read, among them those of 32 bits that the effect's interface does not know.
everywhere="renderer/loudspeaker_layouts.h renderer/parameters.h"
# The flags are lists of words.
# shellcheck disable=SC2046,SC2086
for header in $(cd "$prefix/include/orvane" && find . -name '*.h'); do
  printf '#include <%s>\nint main(void) { return 0; }\n' "$header" >"$prefix/alone.c"
  "$2" -std=c11 $strict -fsyntax-only $(pkg-config --cflags orvane) "$prefix/alone.c"
  "$3" -std=c++20 $strict -fsyntax-only $(pkg-config --cflags orvane) -x c++ "$prefix/alone.c"
done
if "$2" -m32 -ffreestanding -fsyntax-only -x c /dev/null 2>/dev/null; then
  # shellcheck disable=SC2046,SC2086
  for header in $everywhere; do
    "$2" -m32 -ffreestanding -std=c11 $strict -fsyntax-only $(pkg-config --cflags orvane) -include "$header" \
      -x c /dev/null
  done
fi

# shellcheck disable=SC2046,SC2086
"$2" -std=c11 $strict "$4/renderer.c" -o "$prefix/renderer" $(pkg-config --cflags --libs orvane) -lm
LD_LIBRARY_PATH=$(dirname "$package") "$prefix/renderer" "$prefix/pkg_config.wav"
# shellcheck disable=SC2046,SC2086
"$3" -std=c++20 $strict "$4/circling.cpp" -o "$prefix/circling" $(pkg-config --cflags --libs orvane)
LD_LIBRARY_PATH=$(dirname "$package") "$prefix/circling" "$prefix/pkg_config_circling.wav"

cmake -G Ninja -S "$4" -B "$prefix/build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_C_COMPILER="$2" \
  -DCMAKE_CXX_COMPILER="$3" -DCMAKE_CXX_FLAGS="$strict" >/dev/null
cmake --build "$prefix/build" >/dev/null
"$prefix/build/renderer" "$prefix/renderer.wav"
"$prefix/build/effect_host" "$(find "$prefix" -name liborvane.so)" "$prefix/effect_host.wav"
"$prefix/build/circling" "$prefix/circling.wav"
cmp "$prefix/pkg_config.wav" "$prefix/renderer.wav"
cmp "$prefix/pkg_config_circling.wav" "$prefix/circling.wav"
cmp "$prefix/renderer.wav" "$prefix/effect_host.wav"
python3 - "$prefix/renderer.wav" "$prefix/circling.wav" <<END
import array, sys
def leans_left(file, turn, factor=1.2):
    wave = open(file, "rb").read()
    ears, rate = array.array("f", wave[44:]), int.from_bytes(wave[24:28], "little")
    begin, end = turn * rate, (turn + 1) * rate  # half seconds of two samples
    left, right = (sum(x * x for x in ears[begin + ear:end:2]) for ear in (0, 1))
    return left > factor * right
# Front and back pair from the head turned by 30 degrees to the left: who is louder in the left ear?
assert [leans_left(sys.argv[1], turn) for turn in (0, 1, 2, 4, 5)] == [True, False, False, True, False]
# The source is at the left for the second and third half second, at the right two seconds later.
assert [leans_left(sys.argv[2], turn) for turn in (1, 2, 5, 6)] == [True, True, False, False]
END

# The Python package finds the headers and the library that were installed with it.
PYTHONPATH=$prefix/lib/python3/dist-packages /usr/bin/python3 - "$prefix" <<END
import sys, orvane
assert orvane.LIBRARY_PATH.startswith(sys.argv[1]), orvane.LIBRARY_PATH
orvane.Renderer(parameters={"reverb.decay": 1}), orvane.Effect()
END

for program in "$prefix"/bin/*; do
  page=$prefix/share/man/man1/$(basename "$program").1.gz
  complaints=$(man --warnings --local-file "$page" 2>&1 >/dev/null)
  [ -z "$complaints" ] || { echo "$page: $complaints"; exit 1; }
done
