#!/bin/sh
# Systems and processors besides those that the tests run on. The compiler refuses processors that the library is not
# for. For musl the preset of that name builds a library that passes orvane-selftest, and a C program, linked statically
# with musl and the archive, hears what it hears through the library of the preset release, which has to be built.
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

cmake --preset musl
cmake --build --preset musl
build/musl/orvane-selftest build/musl/liborvane.so
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
musl-gcc -std=c11 -static -I. tests/consumer/consumer.c build/musl/liborvane.a -o "$work/musl"
gcc -std=c11 -I. tests/consumer/consumer.c -Lbuild/release -lorvane -Wl,-rpath,"$PWD/build/release" -o "$work/gnu"
"$work/musl" >"$work/heard"
"$work/gnu" >>"$work/heard"

# The first line of heard is one program's output, the second another's.
python3 - "$work/heard" <<END
import sys
one, other = ([float(word) for word in line.split()] for line in open(sys.argv[1]))
worst = max(abs(a - b) for a, b in zip(one, other, strict=True))
assert worst < 1e-6 and max(map(abs, one[2:])) > 0.01, worst
print(f"a program with musl hears the same within {worst:.1e}")
END
