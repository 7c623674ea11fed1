#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Changes the library in one place at a time and tells which tests notice: those that catch most, and changes that none does.

Works in a copy of the checkout, FOLDER, which it makes if it is not there. The changes are drawn from a seed: the same ones every time from the
same sources. scripts/mutants runs it.
"""

import argparse
import collections
import json
import random
import re
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
FOLDERS = ("ambisonics", "effect", "numerics", "renderer", "room")
TIMEOUT_S = 120
CHANGES = [
    (r" \+ ", " - "), (r" - ", " + "), (r" \* ", " / "), (r" \+= ", " -= "), (r" < ", " <= "), (r" <= ", " < "),
    (r" > ", " >= "), (r" >= ", " > "), (r" == ", " != "), (r" != ", " == "), (r" && ", " || "), (r" \|\| ", " && "),
    (r"\bif \(", "if (!"), (r"\b0\.5f\b", "0.4f"), (r"\b1\.0f\b", "0.9f"), (r"\b1\b", "2"), (r"\b0\b", "1"),
    (r"^  +\w[\w:>.\[\]-]*\(.*\);$", "  ;"), (r"^  +[\w:>.\[\]-]+ = .*;$", "  ;"),
]  # fmt: skip


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder", type=Path)
    parser.add_argument("--count", type=int, default=100)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--minutes", type=float, default=1e9, help="begin no change after this time")
    parser.add_argument("--filter", default="*", help="as of --gtest_filter")
    return parser.parse_args()


def places(folder):
    """(file, line number, changed line) of every change that there is."""
    found = []
    for name in sorted(path for part in FOLDERS for path in (folder / part).rglob("*.cpp")):
        if name.name.endswith("_table.cpp"):
            continue
        for number, line in enumerate(name.read_text().splitlines()):
            if line.lstrip().startswith(("//", "#", "static_assert", "template", "case ")) or "constexpr" in line:
                continue
            code, comment, rest = line.partition("  //")
            for pattern, other in CHANGES:
                for match in re.finditer(pattern, code):
                    changed = code[: match.start()] + match.expand(other) + code[match.end() :]
                    if other == "if (!":  # negates the whole condition
                        end = _closing(changed, match.start() + 3)
                        if end is None:
                            continue
                        changed = f"{changed[: match.start()]}if (!({code[match.end() : end - 1]})){changed[end + 1 :]}"
                    found.append((name, number, changed + comment + rest))
    return found


def _closing(text, start):
    """Where the parenthesis that opens at `start` ends."""
    depth = 0
    for i in range(start, len(text)):
        depth += {"(": 1, ")": -1}.get(text[i], 0)
        if depth == 0:
            return i
    return None


def build(folder):
    command = ["cmake", "--build", folder / "build/release", "--target", "orvane_tests"]
    return subprocess.run(command, capture_output=True, check=False).returncode == 0


def failures(folder, wanted):
    """Names of the tests that fail; ["crash"] where the program does not come to its end."""
    report = folder / "build/tests.json"
    report.unlink(missing_ok=True)
    command = [folder / "build/release/tests/orvane_tests", f"--gtest_filter={wanted}", f"--gtest_output=json:{report}"]
    try:
        subprocess.run(command, capture_output=True, timeout=TIMEOUT_S, check=False)
        suites = json.loads(report.read_text())["testsuites"]
    except (OSError, subprocess.TimeoutExpired, ValueError):
        return ["crash"]
    return [f"{test['classname'].split('/')[-1]}.{test['name'].split('/')[0]}" for suite in suites
            for test in suite["testsuite"] if test.get("failures")]  # without the prefix and the index of their values


def try_change(folder, place, wanted):
    """None where the change does not build."""
    name, number, line = place
    text = name.read_text()
    lines = text.splitlines()
    lines[number] = line
    name.write_text("\n".join(lines) + "\n")
    try:
        return sorted(set(failures(folder, wanted))) if build(folder) else None
    finally:
        name.write_text(text)


def main():
    arguments = parse_arguments()
    folder, begin = arguments.folder.resolve(), time.monotonic()
    if not folder.exists():
        subprocess.run(["git", "-C", ROOT, "worktree", "add", "--detach", folder], check=True)
    subprocess.run(["cmake", "--preset", "release"], cwd=folder, check=True, stdout=subprocess.DEVNULL)
    if not build(folder) or failures(folder, arguments.filter):
        sys.exit("the tests do not pass as they are")
    caught, tried, missed = collections.Counter(), 0, []
    alone = collections.Counter()
    chosen = random.Random(arguments.seed).sample(places(folder), arguments.count)
    for place in chosen:
        if time.monotonic() - begin > 60.0 * arguments.minutes:
            break
        found = try_change(folder, place, arguments.filter)
        if found is None:
            continue
        tried += 1
        where = f"{place[0].relative_to(folder)}:{place[1] + 1}: {place[2].strip()}"
        print(f"{where}\n    {len(found)}: {', '.join(found[:6])}", flush=True)
        caught.update(found)
        if len(found) == 1:
            alone.update(found)
        if not found:
            missed.append(where)
    print(f"\n{tried - len(missed)} of {tried} changes are noticed; by how many changes each test fails, and by how many alone:")
    for name, count in caught.most_common():
        print(f"{count:4} {alone[name]:4}  {name}")
    print("\nnoticed by none:", *missed, sep="\n")


if __name__ == "__main__":
    main()
