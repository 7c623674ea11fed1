#!/bin/sh
# The presets android-arm64 and android-x86_64 build, with a stand-in for the NDK, a library that exports what it
# should, needs nothing but libc, libm and liblog, and passes orvane-selftest. That for ARM, loaded under the emulator,
# renders the same samples as the build of the preset arm64, which has to be there.
set -eu
# SPDX-License-Identifier: Apache-2.0
cd "$(dirname "$0")/.."
stand_in=$PWD/build/ndk_stand_in
sysroot=$stand_in/sysroot

# What an NDK has of the log, and what its user brings: Highway.
rm -rf "$stand_in" build/android-arm64 build/android-x86_64
mkdir -p "$sysroot/usr/include" "$sysroot/usr/lib" "$stand_in/highway"
ln -s /usr/include/android/android "$sysroot/usr/include/android"
ln -s /usr/include/hwy "$stand_in/highway/hwy"

# build PRESET PROCESSOR READELF_PREFIX
build() {
  preset=$1 processor=$2 tools=$3
  echo 'int __android_log_print(int prio, const char* tag, const char* fmt, ...) { return 0; }' |
    clang --target="$processor-linux-gnu" -fuse-ld=lld -shared -fPIC -nostdlib -Wl,-soname,liblog.so \
      -o "$sysroot/usr/lib/liblog.so" -x c -
  cmake --preset "$preset" -DHWY_ROOT="$stand_in/highway" -DORVANE_WARNINGS_AS_ERRORS=ON
  cmake --build --preset "$preset"
  # libc here is Debian's, of which one symbol lies in its loader.
  tests/check_exports.sh "build/$preset/liborvane.so" . "${tools}nm" "${tools}readelf" \
    liblog libc libm ld-linux-aarch64
}

export ANDROID_NDK_HOME=$PWD/tests/ndk_stand_in NDK_STAND_IN_SYSROOT=$sysroot
build android-x86_64 x86_64 ""
LD_LIBRARY_PATH=$sysroot/usr/lib build/android-x86_64/orvane-selftest build/android-x86_64/liborvane.so
build android-arm64 aarch64 aarch64-linux-gnu-
qemu-aarch64 -L /usr/aarch64-linux-gnu -E LD_LIBRARY_PATH="$sysroot/usr/lib" build/android-arm64/orvane-selftest \
  build/android-arm64/liborvane.so

emulate() { qemu-aarch64 -E LD_LIBRARY_PATH="$sysroot/usr/lib" "build/arm64/$@"; }
emulate orvane-render identify --layout 7.1 --bed "$stand_in/bed.wav"
for preset in arm64 android-arm64; do
  emulate orvane-render "$stand_in/bed.wav" "$stand_in/$preset.wav" --preset living-room \
    --pose 30,10,0 --library "build/$preset/liborvane.so"
done
cmp "$stand_in/arm64.wav" "$stand_in/android-arm64.wav"
