#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs the commands that README.md and docs/*.md show, in their order, in a scratch copy of the project.

Commands are the blocks fenced as `sh`, and the code spans that begin as one of kSpan does, but for forms with words in
capitals. Blocks fenced as `console` need what a build machine lacks, a device or its tool chain; a block after a line
`<!-- not run: REASON -->` is not run either. All these are listed. orvane-live plays to a JACK server without hardware,
and is told to end after some seconds. Exit status 1 when a command fails.
"""

import contextlib
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time

kRoot = pathlib.Path(__file__).resolve().parent.parent
kSpan = re.compile(r"(scripts/|\.ci/|tests/check_|(cmake|ctest) --preset |(build/release/)?orvane-\w+ )")
kForm = re.compile(r"\b[A-Z]{2,}\b")
kTimeoutS = 1200
kServer = f"orvane-docs-{os.getpid()}"
# Interrupts what plays until it is told to end; its exit status stays.
kLiveWrapper = """#!/bin/sh
exec timeout --preserve-status --signal=INT 5 build/release/orvane-live "$@"
"""

# Beginnings of commands that are not run here, and why not.
kNotRun = {
    ".ci/run": "runs this",
    "scripts/bench": "takes minutes and a quiet machine",
    "scripts/mutants": "takes an hour",
    "ctest --preset arm64": ".ci/run runs all tests of that preset",
    "tests/check_consumers.sh": "a step of .ci/run",
    "scripts/web": "serves the page until it is ended; .ci/run builds and tests it",
    "scripts/package": "tests/check_package.sh runs it",
}


def commands(text):
    """Yields (command, whether it is a span, why not to run it or None), in their order."""
    pieces = re.split(r"^```(\w*)\n(.*?)^```$", text, flags=re.M | re.S)
    for prose, language, block in zip(pieces[0::3], pieces[1::3] + [None], pieces[2::3] + [None]):
        for span in re.findall(r"`([^`]+)`", prose):
            yield " ".join(span.split()), True, None
        comment = re.search(r"<!-- not run: (.*) -->\n$", prose)
        if comment:
            yield block.strip(), False, comment[1]
        elif language == "console":
            yield block.strip(), False, "needs a device or a tool chain that is not here"
        elif language == "sh":
            yield block.strip(), False, None


def reason_not_to_run(command, ci_lines):
    if command in ci_lines:
        return ".ci/run runs it"
    return next((why for start, why in kNotRun.items() if command.startswith(start)), None)


def copy_project(scratch):
    names = subprocess.run(["git", "ls-files", "-z"], cwd=kRoot, check=True, capture_output=True, text=True).stdout
    for name in filter(None, names.split("\0")):
        (scratch / name).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(kRoot / name, scratch / name)


@contextlib.contextmanager
def jack_server():
    """A server that waits for its clients, however busy the machine is."""
    limits = dict(re.findall(r"ORVANE_(\w+) = (\d+),", (kRoot / "base/limits.h").read_text()))
    command = ["jackd", "-n", kServer, "-r", "-S", "-t", "5000", "-d", "dummy",
               "-r", limits["SAMPLE_RATE"], "-p", limits["MAX_FRAME_SIZE"]]
    server = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        yield
    finally:
        server.terminate()
        server.wait()


def wrap_live(scratch):
    wrapper = scratch / "bin/orvane-live"
    wrapper.parent.mkdir()
    wrapper.write_text(kLiveWrapper)
    wrapper.chmod(0o755)


def run(command, scratch):
    environment = dict(os.environ, PATH=f"{scratch}/bin:{scratch}/build/release:{os.environ['PATH']}",
                       JACK_DEFAULT_SERVER=kServer, CCACHE_BASEDIR=str(scratch))
    if "cmake --install" in command:
        environment["DESTDIR"] = str(scratch / "installed")  # stays in the copy, whatever the prefix
    result = subprocess.run(["bash", "-euo", "pipefail", "-c", command], cwd=scratch, env=environment, text=True,
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=kTimeoutS)
    if result.returncode:
        print(result.stdout[-4000:])
    return result.returncode == 0


def main():
    ci_lines = (kRoot / ".ci/run").read_text().splitlines()
    failed, skipped, seen = [], [], set()
    with tempfile.TemporaryDirectory() as folder, jack_server():
        scratch = pathlib.Path(folder)
        copy_project(scratch)
        wrap_live(scratch)
        for page in [scratch / "README.md", *sorted(scratch.glob("docs/*.md"))]:
            for command, is_span, reason in commands(page.read_text()):
                if is_span and (not kSpan.match(command) or kForm.search(command)):
                    continue
                if command in seen:
                    continue
                seen.add(command)
                where = f"{page.relative_to(scratch)}: {command}"
                reason = reason or reason_not_to_run(command, ci_lines)
                if reason:
                    skipped.append(f"{where}\n    ({reason})")
                    continue
                start = time.monotonic()
                if not run(command, scratch):
                    failed.append(where)
                print(f"{time.monotonic() - start:4.0f} s  {where}", flush=True)
    print("\nnot run:", *skipped, sep="\n")
    if failed:
        sys.exit("\n".join(["", "failed:", *failed]))


main()
