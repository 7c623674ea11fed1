#!/bin/sh
# The preset android-arm64 builds, with a stand-in for the NDK, a library that exports what it
# should, needs nothing but libc, libm and liblog, and, loaded under the emulator, renders the same
# samples as the build of the preset arm64, which has to be there.
set -eu
cd "$(dirname "$0")/.."
stand_in=$PWD/build/ndk_stand_in
sysroot=$stand_in/sysroot

# What an NDK has of the log, and what its user brings: Highway.
rm -rf "$stand_in" build/android-arm64
mkdir -p "$sysroot/usr/include" "$sysroot/usr/lib" "$stand_in/highway"
ln -s /usr/include/android/android "$sysroot/usr/include/android"
ln -s /usr/include/hwy "$stand_in/highway/hwy"
echo 'int __android_log_print(int prio, const char* tag, const char* fmt, ...) { return 0; }' |
  clang --target=aarch64-linux-gnu -fuse-ld=lld -shared -fPIC -nostdlib -Wl,-soname,liblog.so \
    -o "$sysroot/usr/lib/liblog.so" -x c -

export ANDROID_NDK_HOME=$PWD/tests/ndk_stand_in NDK_STAND_IN_SYSROOT=$sysroot
cmake --preset android-arm64 -DHWY_ROOT="$stand_in/highway" -DORVANE_WARNINGS_AS_ERRORS=ON
cmake --build --preset android-arm64
# libc here is Debian's, of which one symbol lies in its loader.
tests/check_exports.sh build/android-arm64/liborvane.so . aarch64-linux-gnu-nm \
  aarch64-linux-gnu-readelf liblog libc libm ld-linux-aarch64

emulate() { qemu-aarch64 -E LD_LIBRARY_PATH="$sysroot/usr/lib" "build/arm64/$@"; }
emulate orvane-render identify --layout 7.1 --bed "$stand_in/bed.wav"
for preset in arm64 android-arm64; do
  emulate orvane-render "$stand_in/bed.wav" "$stand_in/$preset.wav" --preset living-room \
    --pose 30,10,0 --library "build/$preset/liborvane.so"
done
cmp "$stand_in/arm64.wav" "$stand_in/android-arm64.wav"
