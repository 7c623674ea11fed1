# SPDX-License-Identifier: Apache-2.0
"""Tables of measurements, in Markdown."""
import re
from pathlib import Path


def machine(context):
    """Processor, compiler and instruction set, in a line."""
    cpuinfo = Path("/proc/cpuinfo")
    model = re.search(r"^model name\s*: (.*)$", cpuinfo.read_text() if cpuinfo.exists() else "",
                      re.M)
    return (f"{model[1] if model else 'unknown processor'}, compiler {context['compiler']}, "
            f"kernels {context['kernels']}, load {context['load_avg'][0]:.1f}")


def unit(results):
    """The time of the reference kernel at its least disturbed, in a line."""
    return f"1 unit = {min(m['reference_us'] for m in results.values()):.1f} us"


def row(cells):
    return f"| {' | '.join(cells)} |"


def table(head, rows):
    return "\n".join([row(head), "|---" + "|---:" * (len(head) - 1) + "|", *map(row, rows)])


def cell(measures, name, form):
    return form(measures[name]) if name in measures else ""


def significant(value):
    """Three digits, without an exponent."""
    return f"{value:.2f}" if value < 10 else f"{value:.1f}" if value < 100 else f"{value:.0f}"


def scenes(results):
    """Measures by scene and frames, of everything whose name ends in its frames."""
    grouped = {}
    for name, measures in results.items():
        scene, _, frames = name.rpartition("/")
        if frames.isdigit() and not name.startswith("change/"):
            grouped.setdefault(scene, {})[frames] = measures
    return grouped


def block_lengths(results):
    """Frames of the blocks that were measured, the longest first."""
    return sorted({f for by_frames in scenes(results).values() for f in by_frames}, key=int, reverse=True)


def calls(results):
    return {name: m for name, m in results.items() if name.startswith("change/")}


def times(results):
    """Two tables: blocks and stages by their frames; start and parameters."""
    lengths = block_lengths(results)
    head = ["units per block of", *lengths, *(f"x real time, {f}" for f in lengths), "heap, MB"]
    rows = []
    for scene, by_frames in scenes(results).items():
        blocks = [by_frames.get(f, {}) for f in lengths]
        rows.append([scene, *(cell(b, "units", significant) for b in blocks),
                     *(cell(b, "realtime", "{:.0f}".format) for b in blocks),
                     cell(blocks[0], "heap_bytes", lambda n: f"{n / 1e6:.2f}")])
    changes = [[name, significant(m["units"]), significant(m["us"]), f"{m['allocations']:.0f}"]
               for name, m in calls(results).items()]
    return join(unit(results), table(head, rows) if rows else "",
                table(["between blocks", "units", "us", "allocations"], changes) if changes else "")


def instructions(results):
    """The same two tables, in thousands of instructions."""
    def thousands(m):
        return cell(m, "instructions", lambda n: significant(n / 1e3))
    lengths = block_lengths(results)
    rows = [[scene, *(thousands(by_frames.get(f, {})) for f in lengths)]
            for scene, by_frames in scenes(results).items()]
    changes = [[name, thousands(m)] for name, m in calls(results).items()]
    return join(table(["thousand instructions per block of", *lengths], rows) if rows else "",
                table(["between blocks", "thousand instructions"], changes) if changes else "")


def programs(results, threads):
    """A table of whole programs."""
    head = ["x real time", "1 thread", f"{threads} threads", "faster by", "processor s, 1 thread"]
    return table(head, [[name, f"{m['realtime']:.0f}", f"{m['realtime_threads']:.0f}",
                         significant(m["realtime_threads"] / m["realtime"]), significant(m["processor_s"])]
                        for name, m in results.items()])


def join(*parts):
    return "\n\n".join(part for part in parts if part)
