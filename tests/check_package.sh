#!/bin/sh
# The Debian packages are sound, complete and as they were: lintian finds nothing, the library has the interface of
# tests/liborvane.abi, and with what apt finds for them from nothing, unpacked into an empty root, every program runs,
# and so does what the packages' own tests do. Nothing is installed on this machine. Needs root, for chroot.
set -eu
# SPDX-License-Identifier: Apache-2.0
cd "$(dirname "$0")/.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
root=$work/root

scripts/package
version=$(dpkg-parsechangelog --show-field Version)
header=$(sed -n 's/#define ORVANE_VERSION_[A-Z]* \([0-9]*\)$/\1/p' orvane/version.h | paste -sd .)
[ "$version" = "$header" ] || { echo "debian/changelog has version $version, orvane/version.h $header"; exit 1; }
grep -q "^ -- $(sed -n 's/^Maintainer: //p' debian/control)  " debian/changelog
lintian --allow-root --fail-on error,warning build/deb/*.changes

mkdir "$work/unpacked"
for package in build/deb/liborvane0*.deb build/deb/liborvane-dev*.deb; do dpkg-deb -x "$package" "$work/unpacked"; done
library=$(find "$work/unpacked" -name 'liborvane.so.*.*')
abi=tests/liborvane.abi
set -- --headers-dir "$work/unpacked/usr/include/orvane" --drop-private-types
if [ "${ORVANE_NEW_ABI:-}" ]; then  # what it is to be from now on
  abidw "$@" --debug-info-dir "$work/unpacked/usr/lib/debug" --no-corpus-path --no-comp-dir-path --no-show-locs \
    --out-file "$abi" "$library"
fi
abidiff --headers-dir2 "$work/unpacked/usr/include/orvane" --drop-private-types --no-added-syms \
  --debug-info-dir2 "$work/unpacked/usr/lib/debug" "$abi" "$library"

rm build/deb/*dbgsym*
set -- "$PWD"/build/deb/*.deb
mkdir -p "$work/archives/partial" "$root/tmp"
: >"$work/status"
[ -n "$(apt-cache policy libsndfile1 | grep -v '(none)' | grep Candidate)" ] || apt-get update -q
apt-get -qq -y --no-install-recommends --download-only -o Dir::State::status="$work/status" \
  -o Dir::Cache::archives="$work/archives" -o APT::Sandbox::User=root install "$@"
for archive in "$work"/archives/*.deb "$@"; do dpkg-deb -x "$archive" "$root"; done

for program in "$root"/usr/bin/orvane-*; do
  name=$(basename "$program")
  chroot "$root" "/usr/bin/$name" --version
  for section in EXAMPLES 'SEE ALSO'; do zgrep -q "^.SH *\"*$section" "$root/usr/share/man/man1/$name.1.gz"; done
  bash -n "$root/usr/share/bash-completion/completions/$name"
  grep -q -- --version "$root/usr/share/zsh/vendor-completions/_$name"
done
test -f "$(find "$root" -path '*/lv2/orvane.lv2/orvane.so')"
# What debian/tests/render does; the root has no shell, and no /proc by which a program finds its presets.
chroot "$root" /usr/bin/orvane-render identify --layout 7.1.4 --bed /tmp/bed.wav
chroot "$root" /usr/bin/orvane-render /tmp/bed.wav /tmp/bed_ears.wav --pose 30,0,0 | grep '^layout *7.1.4'

# The example of C, built here from the packages' own files: the root has no compiler.
package_config=$(dirname "$(find "$root" -name orvane.pc)")
# The flags are a list of words.
# shellcheck disable=SC2046
cc -std=c11 examples/renderer.c -o "$root/renderer" \
  $(PKG_CONFIG_PATH=$package_config pkg-config --cflags --libs orvane) -lm
chroot "$root" /renderer /tmp/ears.wav
[ "$(stat -c %s "$root/tmp/ears.wav")" = $((44 + 8 * 6 * 24000)) ]

# Debian's alternatives are set by scripts that do not run here.
libraries=$(dirname "$(find "$root/usr/lib" -name 'libblas.so.3' | head -n 1)")
LD_LIBRARY_PATH="${libraries#"$root"}:${libraries#"$root"}/../lapack" chroot "$root" /usr/bin/python3 - <debian/tests/python
echo "the packages are complete"
