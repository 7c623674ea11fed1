#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Two rooms side by side: when their reflections arrive, and how they die away.

    room.py OUT.svg [PRESET PRESET]

The presets are the files that orvane-render --preset reads, by default living room and hall. Prints
early decay time, T20 and T30, each as the time to -60 dB.
"""

import pathlib
import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt
import numpy as np

import orvane

PRESETS = pathlib.Path(__file__).resolve().parent.parent / "presets"
SECONDS = 3


def read_preset(path):
    lines = (line.partition("#")[0].partition("=") for line in path.read_text().splitlines())
    return {name.strip(): float(value) for name, _, value in lines if value}


def response_of(parameters):
    """The ears' response to a click from the loudspeaker at the front left of 7.1.4."""
    bed = np.zeros((12, SECONDS * orvane.SAMPLE_RATE), np.float32)
    bed[0, 0] = 1
    with orvane.Renderer("7.1.4", parameters=parameters) as renderer:
        return renderer.render(bed)


def decay_of(ears):
    """Energy that is still to come, in dB of all (Schroeder, J. Acoust. Soc. Am. 37, 1965)."""
    remaining = np.cumsum(np.sum(ears.astype(float) ** 2, axis=0)[::-1])[::-1]
    return 10 * np.log10(np.maximum(remaining / remaining[0], 1e-12))


def time_to_60(decay, start_db, end_db):
    """Seconds to -60 dB of the line fitted to the decay between two levels (ISO 3382)."""
    index = np.flatnonzero((decay <= start_db) & (decay >= end_db))
    slope = np.polyfit(index / orvane.SAMPLE_RATE, decay[index], 1)[0]
    return -60 / slope


def main(path, presets):
    figure, (early, late) = plt.subplots(2, 1, figsize=(8, 7))
    for preset in presets:
        ears = response_of(read_preset(preset))
        decay = decay_of(ears)
        times = np.arange(ears.shape[1]) / orvane.SAMPLE_RATE
        edt, t20, t30 = (time_to_60(decay, *span) for span in ((0, -10), (-5, -25), (-5, -35)))
        print(f"{preset.stem}: EDT {edt:.2f} s, T20 {t20:.2f} s, T30 {t30:.2f} s")
        first = times < 0.08
        early.plot(1000 * times[first], ears[0, first], label=preset.stem, alpha=0.8)
        late.plot(times, decay, label=f"{preset.stem}, T20 {t20:.2f} s")
    early.set(xlabel="milliseconds", ylabel="left ear", ylim=(-0.06, 0.06), title="the first reflections")
    late.set(xlabel="seconds", ylabel="energy to come, dB", ylim=(-65, 2), title="decay")
    for axes in (early, late):
        axes.legend()
        axes.grid(alpha=0.3)
    figure.tight_layout()
    figure.savefig(path)


if len(sys.argv) not in (2, 4):
    sys.exit(__doc__)
main(sys.argv[1], [pathlib.Path(name) for name in sys.argv[2:]] or
     [PRESETS / "living-room.preset", PRESETS / "hall.preset"])
