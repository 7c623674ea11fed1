#!/usr/bin/env bash
# Every test that SECURITY.md names is there.
#   check_security.sh SECURITY.md TEST_PROGRAM
set -euo pipefail
# SPDX-License-Identifier: Apache-2.0

names=$(grep -oE '`[A-Za-z*/]+Test\.[A-Za-z*]+`' "$1" | tr -d '`')
while read -r name; do
  found=$("$2" --gtest_list_tests --gtest_filter="$name" | grep -c '^  ') ||
    { echo "$found tests are $name" >&2; exit 1; }
done <<<"$names"
