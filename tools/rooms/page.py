# SPDX-License-Identifier: Apache-2.0
"""The tables and the plot of docs/rooms.md."""

import re

import matplotlib

matplotlib.use("Agg")
matplotlib.rcParams["svg.hashsalt"] = "rooms"  # the same file from the same figures

import matplotlib.pyplot as plt
from . import design, figures, measures

DOCUMENT = figures.ROOT / "docs" / "rooms.md"
PLOT = figures.ROOT / "docs" / "rooms.svg"
BEGIN, END = "<!-- made by tools/rooms -->", "<!-- end of what tools/rooms makes -->"
COLOURS = ("#0060a8", "#1a8a3c", "#d98200", "#c23b22")
DIGITS = 1
NUMBER = re.compile(r"-?\d+(?:\.\d+)?")


def heading(wanted):
    """Comment lines at the top of a preset's file."""
    return [
        f"# {wanted.title}, aimed at {wanted.decay_s:g} s to -60 dB and direct sound"
        f" {wanted.direct_to_reverberant_db:g} dB above the rest.",
        "# Found by tools/rooms, see docs/rooms.md.",
    ]


def tables(rooms):
    """Markdown lines: single figures of every preset beside their targets, then figures per octave."""
    measured = {name: figures.measure(room) for name, room in rooms.items()}
    singles = {name: figures.single_figures(room, measured[name]) for name, room in rooms.items()}
    lines = ["| | " + " | ".join(rooms) + " |", "|---|" + "---|" * len(rooms)]
    for label, text in SINGLE_FIGURES.items():
        cells = (text(design.DESIGNS[name], found) for name, found in singles.items())
        lines.append(f"| {label} | " + " | ".join(cells) + " |")
    octaves = " | ".join(f"{hz:g}" for hz in measures.OCTAVES_HZ)
    lines += ["", f"| per octave (Hz) | {octaves} |", "|---|" + "---|" * len(measures.OCTAVES_HZ)]
    for name, room in rooms.items():
        found, (edt, t20), (tail_edt, tail_t20) = measured[name], figures.decays(room), figures.tail_decays(room)
        rows = {
            "direct to all else (dB), wanted": [None] + list(design.DESIGNS[name].lead_db[design.LEVEL_OCTAVES]),
            "direct to all else (dB)": found.direct_to_reverberant_octaves,
            "EDT of the tail alone (s)": tail_edt,
            "T20 of the tail alone (s)": tail_t20,
            "EDT of reflections and tail (s)": edt,
            "T20 of reflections and tail (s)": t20,
            "colour of a loudspeaker, worst (dB)": found.single,
            "colour of a phantom centre (dB)": found.phantom,
            "left over right ear of the tail (dB)": found.balance,
            "coherence of the reflections": found.reflections_coherence,
        }
        for label, values in rows.items():
            digits = 2 if "(s)" in label or "coherence" in label else DIGITS
            lines.append(f"| {name}: {label} | " + " | ".join(_cell(value, digits) for value in values) + " |")
    return lines


def _cell(value, digits):
    return "" if value is None else f"{value + 0.0:.{digits}f}"  # 0.0 takes the sign of a zero away


SINGLE_FIGURES = {
    "direct to all else (dB), wanted": lambda wanted, found: f"{wanted.lead_db[figures.MEAN_OCTAVES].mean():.1f}",
    "direct to all else (dB)": lambda wanted, found: f"{found['direct_to_all']:.1f}",
    "direct to early reflections (dB)": lambda wanted, found: f"{found['direct_to_reflections']:.1f}",
    "direct to tail (dB)": lambda wanted, found: f"{found['direct_to_tail']:.1f}",
    "decay of the tail (s), wanted": lambda wanted, found: f"{wanted.decay_s:g}",
    "EDT of the tail alone (s)": lambda wanted, found: f"{found['tail_edt']:.2f}",
    "T20 of the tail alone (s)": lambda wanted, found: f"{found['tail_t20']:.2f}",
    "EDT of reflections and tail (s)": lambda wanted, found: f"{found['edt']:.2f}",
    "T20 of reflections and tail (s)": lambda wanted, found: f"{found['t20']:.2f}",
    "reflections re direct sound, white impulse (dB), aimed at": lambda wanted, found: f"{wanted.reflections_db:g}",
    "reflections re direct sound, white impulse (dB)": lambda wanted, found: f"{found['reflections']:.1f}",
    "C80, white impulse (dB)": lambda wanted, found: f"{found['c80']:.1f}",
    "last reflection to first pulse of the tail (ms)": lambda wanted, found: f"{found['gap']:.1f}",
    "the same of all loudspeakers (ms)": lambda wanted, found: f"{found['gap_least']:.1f} to {found['gap_largest']:.1f}",
    "echo density 80 ms after the direct sound": lambda wanted, found: f"{found['density']:.2f}",
    "coherence of the early reflections": lambda wanted, found: f"{found['coherence']:.2f}",
    "loudness of a bed re dry (LU)": lambda wanted, found: f"{found['loudness']:.1f}",
}


def draw(rooms):
    """How each room dies away, and its levels per octave."""
    figure, axes = plt.subplots(1, 2, figsize=(11.0, 3.8), layout="constrained")
    for (name, room), colour in zip(rooms.items(), COLOURS):
        seconds, level = figures.fading(room)
        axes[0].plot(1e3 * seconds, level, color=colour, label=name, linewidth=1.0)
        lead = figures.measure(room).direct_to_reverberant_octaves
        axes[1].semilogx(measures.OCTAVES_HZ, lead, color=colour, marker="o", label=name)
    axes[0].set(title=f"Energy per {1e3 * figures.FADING_STEP_S:g} ms, front centre", xlabel="ms after the direct sound")
    axes[0].set(ylabel="dB re direct", ylim=(-70.0, 2.0), xlim=(0.0, 600.0))
    axes[1].set(title="Direct sound over all else, front centre", xlabel="octave (Hz)", ylabel="dB", ylim=(0.0, None))
    axes[1].set_xticks(measures.OCTAVES_HZ, [f"{hz:g}" for hz in measures.OCTAVES_HZ], minor=False)
    axes[1].minorticks_off()
    axes[0].legend(frameon=False)
    for axis in axes:
        axis.grid(alpha=0.25, linewidth=0.6)
        axis.spines[["top", "right"]].set_visible(False)
    figure.savefig(PLOT, metadata={"Date": None})
    plt.close(figure)


def write(rooms):
    """Replaces what lies between the marks of the page, and the plot."""
    head, rest = DOCUMENT.read_text().split(BEGIN)
    tail = rest.split(END)[1]
    DOCUMENT.write_text("\n".join([head + BEGIN, *tables(rooms), END + tail]))
    draw(rooms)


def problems(rooms):
    """Complaints about lines that the page shows otherwise, by more than the last digit of a figure."""
    shown = DOCUMENT.read_text().split(BEGIN)[1].split(END)[0].strip().splitlines()
    made = tables(rooms)
    missing = [f"{DOCUMENT.name} has {len(shown)} lines for {len(made)}"] if len(shown) != len(made) else []
    return missing + [f"{DOCUMENT.name} does not show: {b}" for a, b in zip(shown, made) if not _agree(a, b)]


def _agree(shown, made):
    """Whether two lines have the same words, and figures that another processor may round so."""
    if NUMBER.sub("#", shown) != NUMBER.sub("#", made):
        return False
    pairs = zip(NUMBER.findall(shown), NUMBER.findall(made))
    return all(abs(float(a) - float(b)) < 1.5 * 10.0 ** -len(b.partition(".")[2]) if "." in b else a == b for a, b in pairs)
