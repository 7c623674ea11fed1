#!/bin/sh
# The packages in build/deb, installed on this machine as a user does it: each is tried, and nothing of them is left
# when they are gone. It changes the machine while it runs, so it runs only when told that it may.
#
#   tests/check_package_install.sh --change-this-machine
set -eu
# SPDX-License-Identifier: Apache-2.0
cd "$(dirname "$0")/.."
[ "${1:-}" = --change-this-machine ] || { sed -n '2,5s/^# \{0,1\}//p' "$0" >&2; exit 2; }

work=$(mktemp -d)
export HOME="$work" AUTOPKGTEST_TMP="$work" DEBIAN_FRONTEND=noninteractive
fail() { printf '%s\n' "$*" >&2; exit 1; }
as_root() { if [ "$(id -u)" = 0 ]; then "$@"; else sudo --preserve-env=DEBIAN_FRONTEND "$@"; fi; }
apt() {
  as_root apt-get -qq -y -o DPkg::Lock::Timeout=120 -o Dpkg::Use-Pty=0 "$@" >"$work/apt.log" 2>&1 ||
    { cat "$work/apt.log" >&2; exit 1; }
}
# What an installation of packages adds to this machine.
added_by() {
  apt-get -s --no-install-recommends install "$@" >"$work/plan" || { cat "$work/plan" >&2; exit 1; }
  awk '$1 == "Inst" && $3 !~ /^\[/ { print $2 }' "$work/plan"
}
files() { as_root find /etc /opt /srv /usr /var -xdev \( -path /var/cache -o -path /var/log -o -path /var/tmp \
  -o -path /var/lib/apt -o -path /var/lib/dpkg -o -path "$PWD" \) -prune -o -print | sort; }

added=
# The names are a list of words.
# shellcheck disable=SC2086
leave() {
  [ -z "$added" ] || apt purge $added
  rm -rf "$work"
}
trap leave EXIT
trap 'exit 1' HUP INT TERM

# What they are tried with comes first, so that what it leaves behind is not taken for theirs.
apt-cache policy libsndfile1 | grep -v "(none)" | grep -q Candidate || apt update
tools=$(added_by man-db lilv-utils zsh gcc libc6-dev pkg-config)
added=$tools
# shellcheck disable=SC2086
[ -z "$tools" ] || apt install --no-install-recommends $tools
files >"$work/before"

version=$(sed -n '1s/.*(\(.*\)).*/\1/p' debian/changelog)
packages="liborvane0 liborvane-dev orvane-tools orvane-lv2 python3-orvane"
set --
for package in $packages; do set -- "$@" "./build/deb/${package}_${version}"_*.deb; done
theirs=$(added_by "$@")
added="$tools $theirs"
apt install --no-install-recommends "$@"
for package in $packages; do
  [ "$(dpkg-query -W -f '${db:Status-Status} ${Version}' "$package")" = "installed $version" ] || fail "$package is missing"
  [ -s "/usr/share/doc/$package/copyright" ] || fail "$package has no copyright file"
done

for test in $(sed -n 's/^Tests: //p' debian/tests/control); do
  "debian/tests/$test" || fail "debian/tests/$test fails"
done

for program in $(dpkg -L orvane-tools | sed -n 's:^/usr/bin/::p'); do
  "$program" --version
  # A system may be told to unpack no man pages.
  grep -qs '^path-exclude.*/man' /etc/dpkg/dpkg.cfg.d/* || MANWIDTH=80 man "$program" | grep -q '^EXAMPLES' ||
    fail "$program has no man page with examples"
done

# Bash by the file that it would load, zsh by the keys that a user presses.
offered=$(bash -c '. /usr/share/bash-completion/completions/orvane-render
  COMP_WORDS=(orvane-render identify --layout "") COMP_CWORD=3; _orvane_render; printf "%s\n" "${COMPREPLY[@]}"')
echo "$offered" | grep -qx 7.1.4 || fail "bash completes layouts to $offered"
layouts=$(tests/zsh_completion.zsh 'orvane-render identify --layout ') && code=0 || code=$?
if [ $code = 77 ]; then
  echo "NOT TRIED: what zsh completes, as there is no pseudo-terminal" >&2
else
  [ "$layouts" = "$offered" ] || fail "bash completes layouts to $offered, zsh to $layouts"
  tests/zsh_completion.zsh 'orvane-live --tra' | grep -qx -e --tracker || fail "zsh completes nothing for orvane-live"
fi

# shellcheck disable=SC2086
apt purge $theirs
added=$tools
files >"$work/after"
diff "$work/before" "$work/after" || fail "they leave that behind"
echo "the packages install, work, and leave nothing behind"
