#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Checks that every source, script and page names its licence in a line that tools read; exit status 1 if one does not.

    check_licence.py          tells which do not
    check_licence.py --add    gives them the line
"""
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
LINE = "SPDX-License-Identifier: " + "Apache-2.0"

# By the end of a file's name, or the whole of it: what a comment begins and ends with.
COMMENTS = {
    **dict.fromkeys((".c", ".cpp", ".h", ".hpp", ".inc", ".js", ".mjs", ".ts", ".bp"), ("// ", "")),
    **dict.fromkeys((".py", ".sh", ".cmake", ".in", ".mk", ".dict", "CMakeLists.txt", ".toml"), ("# ", "")),
    **dict.fromkeys((".css", ".map"), ("/* ", " */")),
    **dict.fromkeys((".html", ".jinja", ".xml"), ("<!-- ", " -->")),
}
FIRST = re.compile(r"#!|<\?xml|<!doctype", re.IGNORECASE)  # lines before which nothing may stand


def comment_of(path, text):
    for end, comment in COMMENTS.items():
        if path.name.endswith(end):
            return comment
    return ("# ", "") if text.startswith("#!") else None


def with_line(text, comment):
    """The text with the line: first, or behind what has to be first; behind the usage of a shell script."""
    lines = text.splitlines(keepends=True)
    place = 1 if lines and FIRST.match(lines[0]) else 0
    if text.startswith("#!") and "sh" in lines[0].split("/")[-1]:
        place = next((i + 1 for i, line in enumerate(lines) if line.startswith("set ")), place)
    lines.insert(place, comment[0] + LINE + comment[1] + "\n")
    return "".join(lines)


def main():
    files = subprocess.run(["git", "-C", ROOT, "ls-files", "-z"], check=True, capture_output=True, text=True).stdout
    missing = []
    for name in files.rstrip("\0").split("\0"):
        path = ROOT / name
        if name.startswith("fuzz/corpus/") or not path.is_file():
            continue
        try:
            text = path.read_text("utf-8")
        except UnicodeDecodeError:
            continue
        comment = comment_of(path, text)
        if comment is None or LINE in text:
            continue
        missing.append(name)
        if "--add" in sys.argv:
            path.write_text(with_line(text, comment), "utf-8")
    if missing and "--add" not in sys.argv:
        sys.exit("no licence is named in " + ", ".join(missing) + "; tests/check_licence.py --add names it")


main()
