#!/bin/sh
# The Debian packages name all that they need: with what apt finds for them from nothing, unpacked into an
# empty root, every program runs there, and so do a C program built from the package's own files and the
# Python package, without a compiler. Nothing is installed on this machine. Needs root, for chroot.
set -eu
cd "$(dirname "$0")/.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
root=$work/root

cmake --preset deb
cmake --build --preset deb
rm -f build/deb/*.deb
cpack --preset deb
package=$PWD/$(echo build/deb/liborvane_*.deb)
python_package=$PWD/$(echo build/deb/python3-orvane_*.deb)
dpkg-deb --info "$package"
dpkg-deb --info "$python_package"

[ "$(dpkg-deb -f "$package" Section)" = sound ]
mkdir -p "$work/archives/partial" "$root/tmp"
: >"$work/status"
[ -n "$(apt-cache policy libsndfile1 | grep -v '(none)' | grep Candidate)" ] || apt-get update -q
apt-get -qq -y --no-install-recommends --download-only -o Dir::State::status="$work/status" \
  -o Dir::Cache::archives="$work/archives" -o APT::Sandbox::User=root install "$package" "$python_package"
for archive in "$work"/archives/*.deb "$package" "$python_package"; do dpkg-deb -x "$archive" "$root"; done

for program in "$root"/usr/bin/orvane-*; do
  name=$(basename "$program")
  chroot "$root" "/usr/bin/$name" --version
  test -f "$root/usr/share/man/man1/$name.1.gz"
done
chroot "$root" /usr/bin/orvane-render identify --layout 5.1 /tmp/who.wav
grep -q 'MIT Media Laboratory' "$root/usr/share/doc/liborvane/copyright"

package_config=$(dirname "$(find "$root" -name orvane.pc)")
# The flags are a list of words.
# shellcheck disable=SC2046
cc -std=c11 examples/renderer.c -o "$root/renderer" \
  $(PKG_CONFIG_PATH=$package_config pkg-config --cflags --libs orvane) -lm
chroot "$root" /renderer /tmp/ears.wav
[ "$(stat -c %s "$root/tmp/ears.wav")" = $((44 + 8 * 6 * 24000)) ]

# Debian's alternatives are set by scripts that do not run here.
libraries=$(dirname "$(find "$root/usr/lib" -name 'libblas.so.3' | head -n 1)")
LD_LIBRARY_PATH="${libraries#"$root"}:${libraries#"$root"}/../lapack" chroot "$root" /usr/bin/python3 - <<END
import numpy, orvane
with orvane.Renderer("7.1.4") as renderer, orvane.Effect("7.1.4") as effect:
    bed = numpy.random.default_rng(1).standard_normal((12, 4800)).astype(numpy.float32)
    assert numpy.array_equal(renderer.render(bed), effect.render(bed))
END
bundle=$(dirname "$(find "$root/usr/lib" -path '*orvane.lv2/manifest.ttl')")
chroot "$root" /usr/bin/python3 -c "import ctypes; ctypes.CDLL('${bundle#"$root"}/orvane.so').lv2_descriptor"
grep -q urn:orvane:headphones:7.1 "$root/usr/share/orvane/pipewire/orvane-7.1.conf"
grep -q 'ExecStart=/usr/bin/orvane-live --sink' "$root/usr/lib/systemd/user/orvane-sink.service"
echo "the packages are complete"
