# SPDX-License-Identifier: Apache-2.0
"""Line and branch coverage per folder of the library, from gcovr's JSON report.

    report.py REPORT

Names every branch that no test takes; a branch that none can take is excused in its source by a
comment GCOVR_EXCL_BR_LINE with the reason. Exit status 1 below the minimums.
"""
import collections
import json
import sys
from pathlib import Path

MIN_LINES, MIN_BRANCHES = 95.0, 90.0  # per cent, of the whole library


class Count:
    def __init__(self):
        self.hit = self.total = 0

    def add(self, was_hit):
        self.hit += was_hit
        self.total += 1

    def percent(self):
        return 100.0 * self.hit / self.total if self.total else 100.0

    def __str__(self):
        return f"{self.percent():6.1f} % of {self.total:5}"


def executable_lines(report):
    """Pairs of a file's name and one of its lines, as gcovr describes it."""
    for file in report["files"]:
        for line in file["lines"]:
            if not line.get("gcovr/noncode"):
                yield file["file"], line


def branches(line):
    return [branch for branch in line["branches"] if not branch.get("gcovr/excluded")]


def print_gaps(report):
    """A line for each line of code with branches that were never taken."""
    for name, line in executable_lines(report):
        missed = sum(branch["count"] == 0 for branch in branches(line))
        if missed or line["count"] == 0:
            text = Path(name).read_text().splitlines()[line["line_number"] - 1].strip()
            gap = "never run" if line["count"] == 0 else f"{missed} of {len(branches(line))}"
            print(f"{name}:{line['line_number']}: {gap}: {text}")


def main():
    report = json.loads(Path(sys.argv[1]).read_text())
    lines, taken = collections.defaultdict(Count), collections.defaultdict(Count)
    for name, line in executable_lines(report):
        for folder in (name.split("/")[0], "library"):
            lines[folder].add(line["count"] > 0)
            for branch in branches(line):
                taken[folder].add(branch["count"] > 0)
    print_gaps(report)
    print()
    for folder in (*sorted(lines.keys() - {"library"}), "library"):
        print(f"{folder:12} lines {lines[folder]}   branches {taken[folder]}")
    kept = lines["library"].percent() >= MIN_LINES and taken["library"].percent() >= MIN_BRANCHES
    if not kept:
        print(f"below {MIN_LINES:g} % of lines or {MIN_BRANCHES:g} % of branches")
    return 0 if kept else 1


if __name__ == "__main__":
    sys.exit(main())
