#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Prints what more or less of each weight of the refinement buys and costs, as the table of docs/data.md.

A table is made without the held-out directions. From there on, each row goes further with one weight changed, and shows
how the figures on those directions differ from going as far with the weights as they are. Needs what make_sh_hrir.py
needs, and some ten minutes.
"""

from dataclasses import replace

import numpy as np

import cpp_writer  # noqa: F401, so that the package measure is found
from hrir import alignment, pipeline, quality, refinement
from hrir.magnitude_fit import MagnitudeFit

FURTHER_ITERATIONS = 300
CHANGES = {
    "level": 1.4, "level_difference": 1.5, "envelope_difference": 1.5, "envelope_delay": 1.5, "compactness": 1.5, "front": 0.5,
    "pairs": 0.5, "front_pairs": 0.5, "coherence": 0.5,
}  # fmt: skip
# Heading, figure of hrir.quality, decimals.
FIGURES = [
    ("level", "level, mean", 3),
    ("99th p.", "level, 99th percentile", 2),
    ("near ear", "near ear above 2 kHz", 3),
    ("level diff.", "level difference, mean", 3),
    ("3 kHz", "envelope time difference, 3 kHz (us)", 0),
    ("4 kHz", "envelope time difference, 4 kHz (us)", 0),
    ("6 kHz", "envelope time difference, 6 kHz (us)", 0),
    ("onset", "energy before the onset, mean", 1),
    ("coherence", "coherence, largest (1)", 3),
    ("front", "front, largest", 2),
    ("phantom", "phantom centre of ±30 degrees, largest", 2),
]


def row(name, values):
    return f"| {name} | " + " | ".join(values) + " |"


def main():
    hrtfs = pipeline.prepare()
    held_out = pipeline.held_out_directions(hrtfs)
    keep = np.ones(len(hrtfs.azimuth), bool)
    keep[held_out] = False
    seen = hrtfs.subset(keep)
    all_pass = alignment.all_pass(alignment.ALIGNMENT)
    weights = refinement.Weights()
    made = refinement.refine(seen, pipeline.start_table(MagnitudeFit(seen)), all_pass, weights)

    def figures(changed):
        taps = refinement.refine(seen, made, all_pass, changed, FURTHER_ITERATIONS)
        found = quality.evaluate(pipeline.table_spectra(pipeline.stored(taps)), hrtfs, held_out)
        return [found[figure] for _, figure, _ in FIGURES]

    print(row("", (heading for heading, _, _ in FIGURES)))
    print("|---|" + "---|" * len(FIGURES))
    as_is = figures(weights)
    print(row("as it is", (f"{value:.{decimals}f}" for value, (_, _, decimals) in zip(as_is, FIGURES))), flush=True)
    for name, factor in CHANGES.items():
        found = figures(replace(weights, **{name: factor * getattr(weights, name)}))
        moved = (f"{value - before:+.{decimals}f}" for value, before, (_, _, decimals) in zip(found, as_is, FIGURES))
        print(row(f"`{name}` x {factor:g}", moved), flush=True)


if __name__ == "__main__":
    main()
