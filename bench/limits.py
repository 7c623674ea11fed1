# SPDX-License-Identifier: Apache-2.0
"""What bench/limits.json allows: measure -> name or pattern of benchmarks -> highest value."""
import fnmatch
import json
import re
from pathlib import Path

LIMITS = json.loads(Path(__file__).with_name("limits.json").read_text())
COUNTED = {"instructions"}


def name_filter(counted):
    """Matches the benchmarks that have a limit of their own, on instructions or on the rest."""
    names = {name for measure, limits in LIMITS.items() if (measure in COUNTED) == counted
             for name in limits if "*" not in name}
    if not counted:
        names |= {re.sub("/[0-9]+$", "/1024", name) for name in LIMITS["per_frame_over_1024"]}
    escaped = (re.sub(r"([.+])", r"\\\1", name) for name in sorted(names))  # POSIX: \- is no escape
    return f"^({'|'.join(escaped)})/iterations"


def check(results, counted):
    """Prints a line per limit; returns how many are exceeded. A limit on nothing is exceeded."""
    exceeded = 0
    for measure, limits in LIMITS.items():
        if (measure in COUNTED) != counted:
            continue
        for pattern, limit in limits.items():
            names = fnmatch.filter(results, pattern) or [pattern]
            for name in names:
                exceeded += not check_one(measure, name, results.get(name, {}).get(measure), limit)
    print(f"\n{exceeded} limits exceeded" if exceeded else "\nevery limit kept")
    return exceeded


def check_one(measure, name, value, limit):
    kept = value is not None and value <= limit
    shown = "not measured" if value is None else number(value)
    excess = "" if kept or not value or not limit else f", {value / limit:.2f} times the limit"
    verdict = "kept" if kept else "EXCEEDED"
    print(f"{verdict:8} {measure:19} {name:44} {shown} of {number(limit)}{excess}")
    return kept


def number(value):
    return f"{value:,.2f}" if value < 1000 else f"{value:,.0f}"
