# SPDX-License-Identifier: Apache-2.0
"""Runs orvane-bench and collects what it measured.

A result maps the name of each benchmark to its measures, by name: `us`, `units`, `reference_us`,
`allocations`, for blocks `realtime` and `heap_bytes`, and under callgrind `instructions`.
"""
import json
import os
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
from pathlib import Path

PROGRAM = "build/release/bench/orvane-bench"
NAME_SUFFIX = "/iterations:1/manual_time"
REPETITIONS = 5  # of everything, in random order: a busy moment spoils one of them, not a benchmark
TIMED = {"us": "real_time"} | {
    name: name for name in ("units", "reference_us", "allocations", "realtime", "heap_bytes")}


def run_program(prefix, flags, name_filter):
    """The program's report, as Google Benchmark writes it; progress goes to standard error."""
    with tempfile.NamedTemporaryFile(suffix=".json") as report:
        command = [*prefix, PROGRAM, *flags, f"--benchmark_filter={name_filter}",
                   f"--benchmark_out={report.name}", "--benchmark_out_format=json"]
        subprocess.run(command, check=True, stdout=sys.stderr)
        return json.load(report)


def repetitions_of(report):
    """The lists of repetitions of every benchmark, by its name, in the program's order. A
    failure ends the program.
    """
    by_name = {}
    for entry in sorted(report["benchmarks"], key=lambda e: e["family_index"]):
        if entry["run_type"] != "iteration":
            continue
        name = entry["name"].removesuffix(NAME_SUFFIX)
        if entry.get("error_occurred"):
            sys.exit(f"{name}: {entry['error_message']}")
        by_name.setdefault(name, []).append(entry)
    return by_name


def add_cost_per_frame(results):
    """For every block, the cost of a frame relative to that in blocks of 1024."""
    for name, measures in results.items():
        scene, _, frames = name.rpartition("/")
        longest = results.get(f"{scene}/1024")
        if longest and frames.isdigit() and "units" in measures:
            measures["per_frame_over_1024"] = (
                measures["units"] / int(frames) / (longest["units"] / 1024))


def time_all(name_filter, avx2):
    """Times everything that matches, on one processor; returns (results, context).

    A measure is the median of the repetitions; `units` is itself a median over calls.
    """
    pin = ["taskset", "--cpu-list", str(max(os.sched_getaffinity(0)))]
    flags = [f"--benchmark_repetitions={REPETITIONS}",
             "--benchmark_enable_random_interleaving=true", *(["--avx2"] if avx2 else [])]
    report = run_program(pin, flags, name_filter)
    results = {}
    for name, entries in repetitions_of(report).items():
        results[name] = {measure: statistics.median(entry[key] for entry in entries)
                         for measure, key in TIMED.items() if key in entries[0]}
    add_cost_per_frame(results)
    return results, report["context"]


def count_instructions(name_filter):
    """Instructions per call of everything that matches; returns (results, context)."""
    if not shutil.which("valgrind"):
        sys.exit("no valgrind: scripts/setup --checks installs it")
    with tempfile.TemporaryDirectory() as folder:
        callgrind = ["valgrind", "--quiet", "--tool=callgrind", "--collect-atstart=no",
                     f"--callgrind-out-file={folder}/out"]
        report = run_program(callgrind, [], name_filter)
        names = repetitions_of(report)
        results = {}
        for dump in Path(folder).iterdir():
            text = dump.read_text()
            request = re.search(r"^desc: Trigger: Client Request: (\d+) (\S+)$", text, re.M)
            if request:
                total = int(re.search(r"^(?:totals|summary): (\d+)", text, re.M)[1])
                results[request[2]] = {"instructions": total / int(request[1])}
    if results.keys() != names.keys():
        sys.exit("callgrind did not count: orvane-bench was built without valgrind's headers; "
                     "remove build/release/bench and try again")
    return {name: results[name] for name in names}, report["context"]
