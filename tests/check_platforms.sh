#!/bin/sh
# Systems and processors besides those that the tests run on. The compiler refuses processors that the library is not
# for. For musl, the C library, the preset of that name builds a library that passes orvane-selftest. For Windows the
# preset mingw builds one that passes it and the library's tests, under Wine, and an orvane-render that passes the tests
# of its parts and renders what the one of the preset release renders, which has to be built. C programs that use each
# of these libraries, the archives among them, hear what they hear through that preset's.
set -eu
# SPDX-License-Identifier: Apache-2.0
cd "$(dirname "$0")/.."

# answer TARGET: what a compiler for the target says to a source of the library, and to a C program that includes a header
answer() {
  clang --target="$1" -ffreestanding -fsyntax-only -std=c++20 -I. orvane/version.cpp 2>&1 || true
  clang --target="$1" -ffreestanding -fsyntax-only -std=c11 -I. -x c orvane/version.h 2>&1 || true
}

# refused REASON TARGET...
refused() {
  reason=$1
  shift
  for target; do
    count=$(answer "$target" | grep -c "error: \"liborvane is for $reason processors: ")
    [ "$count" = 2 ] || { echo "$target: not refused with the reason '$reason'"; answer "$target"; exit 1; }
    echo "$target: refused, not $reason"
  done
}

refused 64-bit i386-linux-gnu arm-linux-gnueabihf x86_64-linux-gnux32
refused little-endian s390x-linux-gnu powerpc64-linux-gnu aarch64_be-linux-gnu
[ -z "$(answer x86_64-linux-gnu)$(answer aarch64-linux-gnu)" ]

work=$(mktemp -d)
export WINEPREFIX="$PWD/build/wine" WINEDEBUG=-all  # where Wine keeps 0.7 GB, no longer than it is needed
trap 'for option in -k -w; do /usr/lib/wine/wineserver64 $option || true; done; rm -rf "$work" "$WINEPREFIX"' EXIT
program="-std=c11 -I. tests/consumer/consumer.c"  # a list of words
# shellcheck disable=SC2086
{
  gcc $program -Lbuild/release -lorvane -Wl,-rpath,"$PWD/build/release" -o "$work/gnu"
  "$work/gnu" >"$work/heard"

  cmake --preset musl
  cmake --build --preset musl
  build/musl/orvane-selftest build/musl/liborvane.so
  musl-gcc -static $program build/musl/liborvane.a -o "$work/musl"
  "$work/musl" >>"$work/heard"
}

check_windows() {
  cmake --fresh --preset mingw
  cmake --build --preset mingw
  # shellcheck disable=SC2086
  x86_64-w64-mingw32-gcc-posix $program build/mingw/liborvane.dll.a -o build/mingw/shared.exe
  # shellcheck disable=SC2086
  x86_64-w64-mingw32-gcc-posix -static $program build/mingw/liborvane.a \
    build/mingw-libraries/lib/libhwy.a -lpthread -o build/mingw/archive.exe
  unset DISPLAY
  /usr/lib/wine/wineserver64 -p  # stays, since its start takes longer than most of these programs
  windows() { timeout 300 /usr/lib/wine/wine64 "build/mingw/$@"; }
  windows orvane-selftest.exe build/mingw/orvane.dll
  windows shared.exe >>"$work/heard"
  windows archive.exe >>"$work/heard"
  windows tests/orvane_tests.exe --gtest_brief=1
  for target in lowest SSE4 AVX2; do
    (
      export ORVANE_TEST_TARGET=$target
      windows tests/orvane_tests.exe --gtest_brief=1 --gtest_filter='*MixChannels*:*Transform*:*Route*-*EveryLength*'
    ) || [ $? = 77 ]  # no such processor
  done
  windows tests/orvane_render_tests.exe --gtest_brief=1 2>/dev/null  # the library's lines about what it has to refuse
  timeout 300 tests/check_windows.py build/release/orvane-render build/mingw/orvane-render.exe
}

systems=1
status=0
scripts/windows-libraries || status=$?
case $status in
  0) check_windows; systems=3 ;;
  3) echo "Windows is left out: its libraries cannot be fetched" ;;
  *) exit 1 ;;
esac

python3 - "$work/heard" "$systems" <<END
import sys
first, *others = ([float(word) for word in line.split()] for line in open(sys.argv[1]))
assert len(others) == int(sys.argv[2]) and max(map(abs, first[2:])) > 0.01
worst = max(abs(a - b) for other in others for a, b in zip(first, other, strict=True))
assert worst < 1e-6, worst
print(f"programs on other systems hear the same within {worst:.1e}")
END
