# SPDX-License-Identifier: Apache-2.0
"""Finds, measures and shows the presets' rooms: see docs/rooms.md.

    /usr/bin/python3 tools/rooms search [NAME ...]   finds presets and writes their files
    /usr/bin/python3 tools/rooms document            measures all and writes the page's tables and plots
    /usr/bin/python3 tools/rooms check               exit status 1 where the page shows other figures

scripts/validate holds the presets to their targets.
"""

import argparse
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "python"), str(ROOT / "tools")]

from rooms import design, page, room, search  # noqa: E402, after the path


def search_presets(names):
    """Finds presets anew and writes them, with their targets as a comment."""
    for name in names or design.DESIGNS:
        wanted = design.DESIGNS[name]
        preset = room.write_order(search.Search(wanted).run())
        lines = [f"{parameter} = {value:g}" for parameter, value in preset.items()]
        (room.PRESETS / f"{name}.preset").write_text("\n".join([*page.heading(wanted), *lines, ""]))
        print(f"{name}: {preset}", flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("what", choices=("search", "document", "check"))
    parser.add_argument("names", nargs="*", choices=[[], *design.DESIGNS], metavar="NAME")
    arguments = parser.parse_args()
    if arguments.what == "search":
        search_presets(arguments.names)
        return 0
    rooms = room.presets(design.DESIGNS)
    if arguments.what == "document":
        page.write(rooms)
        return 0
    problems = page.problems(rooms)
    for problem in problems:
        print(f"error: {problem}", file=sys.stderr)
    print("the page is not as it should be" if problems else "the page is as it should be")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
