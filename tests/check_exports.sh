#!/bin/sh
# The names that a library exports are exactly AELI and the functions that the headers mark
# ORVANE_API, AELI alone is data, of threads it imports a plain mutex, and only the libraries named
# after it are needed.
#   $1 library   $2 source root   $3 nm   $4 readelf   $5... allowed names of needed libraries
set -eu
# SPDX-License-Identifier: Apache-2.0
library=$1 source=$2 nm=$3 readelf=$4
shift 4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

{
  echo AELI
  cat "$source"/*/*.h | tr '\n' ' ' | grep -oE 'ORVANE_API [a-zA-Z0-9_* ]+\(' |
    grep -oE '[a-z0-9_]+\($' | tr -d '(' | grep -v '^__'
} | sort >"$work/declared"
"$nm" -D --defined-only "$library" >"$work/symbols"
awk '{print $3}' "$work/symbols" | sort >"$work/exported"
diff "$work/declared" "$work/exported" >"$work/difference" || {
  echo "declared (<) and exported (>) names differ:"
  cat "$work/difference"
  exit 1
}
data=$(awk '$2 !~ /^[TW]$/ {print $3}' "$work/symbols")
[ "$data" = AELI ] || { echo "exported data symbols: $data"; exit 1; }

threads=$("$nm" -D --undefined-only "$library" | awk '{sub(/@.*/, "", $2); print $2}' |
  grep -E '^(pthread|sem|mtx|cnd|thrd|syscall|futex)' | sort | tr '\n' ' ')
mutex='pthread_mutex_destroy pthread_mutex_init pthread_mutex_lock pthread_mutex_unlock '
[ "$threads" = "$mutex" ] || { echo "imported for threads: $threads"; exit 1; }

for needed in $("$readelf" -d "$library" | sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p'); do
  case " $* " in
    *" ${needed%%.so*} "*) ;;
    *) echo "unexpected dependency: $needed"; exit 1 ;;
  esac
done
