# SPDX-License-Identifier: Apache-2.0
"""Measures the shared library and writes FOLDER/index.html and FOLDER/report.json.

Exit status 1 where a figure misses its limit. Run it as scripts/validate, or, with the Debian packages python3-cffi,
-numpy, -scipy, -matplotlib and -jinja2, as /usr/bin/python3 tools/validate FOLDER.
"""

import argparse
import datetime
import os
import platform
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "python"), str(ROOT / "tools")]


def parse_arguments():
    parser = argparse.ArgumentParser(prog="orvane-validate", description=__doc__.splitlines()[0])
    parser.add_argument("folder", metavar="FOLDER", type=Path, help="where to write; made if it does not exist")
    parser.add_argument("--library", metavar="PATH", type=Path, help="the liborvane.so to measure")
    return parser.parse_args()


def commit():
    """Of the checkout, with a mark where files differ from it."""
    command = ["git", "-C", ROOT, "describe", "--always", "--dirty", "--abbrev=12", "--exclude=*"]
    result = subprocess.run(command, capture_output=True, text=True, check=False)
    return result.stdout.strip() or "not a checkout"


def version():
    """Of the project, as orvane/version.h has it."""
    text = (ROOT / "orvane/version.h").read_text()
    return ".".join(re.findall(r"define ORVANE_VERSION_(?:MAJOR|MINOR|PATCH) +(\d+)", text))


def main():
    arguments = parse_arguments()
    if arguments.library:
        os.environ["ORVANE_LIBRARY"] = str(arguments.library)  # before the package loads it
    from validate import checks, subject
    from validate.limits import limits
    from validate.report import Report

    library = Path(subject.library_path).resolve()
    about = [
        ("library", library),
        ("version", version()),
        ("commit", commit()),
        ("built", f"{datetime.datetime.fromtimestamp(library.stat().st_mtime):%Y-%m-%d %H:%M}"),
        ("measured", f"{datetime.datetime.now():%Y-%m-%d %H:%M} on {platform.machine()}, {platform.system()}"),
    ]  # fmt: skip
    table = limits(subject.layouts)
    report = Report([check(subject, table) for check in checks.ALL], table, about,
                    subject.other_tables, subject.missing_tables)
    arguments.folder.mkdir(parents=True, exist_ok=True)
    (arguments.folder / "index.html").write_text(report.page())
    (arguments.folder / "report.json").write_text(report.json())
    print(f"{report.text()}; see {arguments.folder}/index.html")
    return 0 if report.passed else 1


if __name__ == "__main__":
    sys.exit(main())
