# SPDX-License-Identifier: Apache-2.0
"""The tables and the plot of docs/rooms.md."""

import re

import matplotlib

matplotlib.use("Agg")
matplotlib.rcParams["svg.hashsalt"] = "rooms"  # the same file from the same figures

import matplotlib.pyplot as plt
import numpy as np

from measure.constants import LATENCY
from measure.levels import power_db

from . import design, figures, measures

DOCUMENT = figures.ROOT / "docs" / "rooms.md"
PLOT = figures.ROOT / "docs" / "rooms.svg"
BEGIN, END = "<!-- made by tools/rooms -->", "<!-- end of what tools/rooms makes -->"
COLOURS = ("#0060a8", "#1a8a3c", "#d98200", "#c23b22")
DRAWN_STEP_S = 0.005
DIGITS = 1
NUMBER = re.compile(r"-?\d+(?:\.\d+)?")


def heading(wanted):
    """Comment lines at the top of a preset's file."""
    return [
        f"# {wanted.title}: {wanted.decay_s:g} s to -60 dB, direct sound {wanted.direct_to_reverberant_db:g} dB above the rest.",
        "# Found by tools/rooms, see docs/rooms.md.",
    ]


def tables(rooms):
    """Markdown lines: single figures of every preset beside their targets, then figures per octave."""
    measured = {name: figures.measure(room) for name, room in rooms.items()}
    lines = ["| | " + " | ".join(rooms) + " |", "|---|" + "---|" * len(rooms)]
    for label, text in SINGLE_FIGURES.items():
        cells = (text(design.DESIGNS[name], found) for name, found in measured.items())
        lines.append(f"| {label} | " + " | ".join(cells) + " |")
    octaves = " | ".join(f"{hz:g}" for hz in measures.OCTAVES_HZ)
    lines += ["", f"| per octave (Hz) | {octaves} |", "|---|" + "---|" * len(measures.OCTAVES_HZ)]
    for name, room in rooms.items():
        early, t20 = figures.decays(room)
        found = measured[name]
        rows = {
            "direct to all else (dB)": found.direct_to_reverberant_octaves,
            "EDT (s)": early,
            "T20 (s)": t20,
            "colour of a loudspeaker, worst (dB)": found.single,
            "colour of a phantom centre (dB)": found.phantom,
            "left over right ear of the tail (dB)": found.balance,
            "coherence of the reflections": found.reflections_coherence,
        }
        for label, values in rows.items():
            digits = 2 if "(s)" in label or "coherence" in label else DIGITS
            lines.append(f"| {name}: {label} | " + " | ".join(f"{v + 0.0:.{digits}f}" for v in values) + " |")
    return lines


SINGLE_FIGURES = {
    "direct to all else at the centre (dB), wanted": lambda wanted, found: f"{wanted.direct_to_reverberant_db:g}",
    "reached, mean of 125 Hz to 4 kHz": lambda wanted, found: f"{found.direct_to_reverberant:.1f}",
    "T20 of the tail (s), wanted": lambda wanted, found: f"{wanted.decay_s:g}",
    "reflections re direct sound (dB)": lambda wanted, found: f"{found.reflections_level:.1f}",
    "C80 (dB)": lambda wanted, found: f"{found.clarity:.1f}",
    "last reflection to first pulse of the tail (ms)": lambda wanted, found: f"{found.gap_ms:.1f}",
    "echo density 80 ms after the direct sound": lambda wanted, found: f"{found.density_at(80):.2f}",
    "loudness of a bed re dry (LU)": lambda wanted, found: f"{found.loudness:.1f}",
}


def draw(rooms):
    """How each room dies away, and its levels per octave."""
    figure, axes = plt.subplots(1, 2, figsize=(11.0, 3.8), layout="constrained")
    step = int(DRAWN_STEP_S * measures.RATE)
    for (name, room), colour in zip(rooms.items(), COLOURS):
        response = room.of(room.full, figures.CENTRE)[:, LATENCY - step // 2 :]
        energy = np.sum(response**2, axis=0)
        energy = energy[: len(energy) // step * step].reshape(-1, step).sum(axis=1)
        level = power_db(energy / energy[0])
        axes[0].plot(np.arange(len(level)) * DRAWN_STEP_S * 1e3, level, color=colour, label=name, linewidth=1.0)
        lead = figures.measure(room).direct_to_reverberant_octaves
        axes[1].semilogx(measures.OCTAVES_HZ, lead, color=colour, marker="o", label=name)
    axes[0].set(title="Energy per 5 ms, front centre", xlabel="ms after the direct sound", ylabel="dB re direct")
    axes[0].set(ylim=(-70.0, 2.0), xlim=(0.0, 600.0))
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
