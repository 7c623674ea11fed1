#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Checks the committed tables against their generators; exit status 1 on a mismatch.

The directions are made again and must be the same text. The impulse responses take minutes to make, so
the digest of their generator must be the one they were made with, and the committed table is measured
anew: it must hold its constraints, its limits and the figures that docs/data.md shows of it. Those of
held-out directions and of other weights there are not compared. With --again the table is made again,
too, and must reach the same figures.
"""

import argparse
import sys

import numpy as np

import make_sphere_directions
from cpp_writer import ROOT
from hrir import constraints, measured_ears, measured_field, pipeline, provenance, report, sphere, table_file
from hrir.magnitude_fit import MagnitudeFit

DOCUMENT = ROOT / "docs" / "data.md"

# Figures of a table that another linear-algebra library makes: the refinement ends elsewhere, but as well.
FIGURE_TOLERANCE = 0.1  # relative to the figure, and at least
FIGURE_FLOOR = {"(us)": 15.0, "": 0.1}

# What any table has to keep, by the figures of hrir.quality.
LIMITS = {
    "level, mean": 0.75,
    "level, 99th percentile": 3.7,
    "level difference, mean": 1.2,
    "time difference, mean (us)": 5.0,
    "envelope time difference, 2 kHz (us)": 180.0,
    "envelope time difference, 3 kHz (us)": 180.0,
    "envelope time difference, 4 kHz (us)": 180.0,
    "envelope time difference, 6 kHz (us)": 180.0,
    "envelope time difference, 8 kHz (us)": 180.0,
    "diffuse field, largest": 0.4,
    "coherence, largest (1)": 0.07,
    "front, largest": 1.5,
    "phantom centre of ±30 degrees, largest": 2.5,
    "phantom centre of ±45 degrees, largest": 2.5,
    "energy before the onset, mean": -15.5,
    "bass in the diffuse field, largest": 1.0,
    "LFE at 60 Hz against loudspeakers of 7.1.4, mean": 0.2,
}
LEFT_DIRECTION = (np.array([np.pi / 2.0]), np.array([0.0]))


def check_directions():
    """The committed direction file and its figures are what the generator makes."""
    sets = make_sphere_directions.read_sets()
    if make_sphere_directions.PATH.read_text() != make_sphere_directions.render(sets):
        yield f"{make_sphere_directions.PATH.name} is not what its generator makes"
    yield from missing_lines(make_sphere_directions.describe(*item) for item in sets.items())


def check_hrir(hrtfs, again):
    """The committed table comes from the generator as it stands and is as good as documented."""
    table = table_file.read()
    if not provenance.is_current():
        yield f"{table_file.PATH.name} was made by another generator: run make_sh_hrir.py"
    if table_file.PATH.read_text() != table_file.render(table):
        yield f"{table_file.PATH.name} is not as the generator prints its values"
    yield from constraints.violations(table)
    fit = MagnitudeFit(hrtfs)
    if again:
        result = pipeline.make_table(hrtfs)
        yield from check_figures(pipeline.evaluate_methods(result)[pipeline.TABLE], hrtfs, table)
        start = result.magnitude_least_squares
    else:
        start = pipeline.stored(pipeline.start_table(fit))
    result = pipeline.Result(table, start, hrtfs, fit)
    methods = pipeline.evaluate_methods(result)
    yield from check_limits(methods[pipeline.TABLE])
    yield from check_left_source(table)
    yield from missing_lines(report.table(methods))
    yield from missing_lines([report.peaks_line(constraints.main_peaks(table))])


def check_figures(made, hrtfs, table):
    """A table that was made again is as good as the committed one."""
    committed = pipeline.evaluate(table, hrtfs)
    for name, figure in committed.items():
        floor = FIGURE_FLOOR["(us)" if "(us)" in name else ""]
        if abs(made[name] - figure) > max(FIGURE_TOLERANCE * abs(figure), floor):
            yield f"made again, {name} is {made[name]:.2f}, not {figure:.2f}"


def check_measured_ears(hrtfs):
    """The committed figures of the measured ears are what their generator makes."""
    made, committed = measured_ears.make(hrtfs), measured_ears.read()
    for arc, rows in made.items():
        alike = np.shape(committed[arc]) == rows.shape
        if not (alike and np.abs(committed[arc] - rows).max() <= measured_ears.TOLERANCE):
            yield f"{measured_ears.PATH.name}: {arc} differs from a new run by more than {measured_ears.TOLERANCE}"
    if measured_ears.PATH.read_text() != measured_ears.render(committed):
        yield f"{measured_ears.PATH.name} is not as the generator prints its values"


def check_measured_field(hrtfs):
    """Likewise what they hear of several sources at once."""
    made, committed = measured_field.make(hrtfs), measured_field.read()
    for new, old in zip(made, committed, strict=True):
        if new[:2] != old[:2] or not np.abs(new[2] - old[2]).max() <= measured_field.TOLERANCE:
            yield f"{measured_field.PATH.name}: {old[0]} {old[1]} differs from a new run"


def check_limits(figures):
    """Limits that any table has to keep, whatever it is made from."""
    for name, limit in LIMITS.items():
        if not figures[name] <= limit:
            yield f"{name} is {figures[name]:.2f}, more than {limit}"


def check_left_source(table):
    """A source at the left is louder and earlier in the left ear."""
    beam = sphere.harmonics(*LEFT_DIRECTION)[0]
    left, right = table @ beam, table @ (beam * sphere.MIRROR_SIGNS)
    if not left @ left > right @ right:
        yield "a source at the left is not louder in the left ear"
    lag = np.correlate(right, left, "full").argmax() - (len(left) - 1)
    if not lag > 0:
        yield "a source at the left is not earlier in the left ear"


def missing_lines(lines):
    """Complaints about lines that the document does not show."""
    shown = DOCUMENT.read_text().splitlines()
    return [f"{DOCUMENT.name} does not show: {line}" for line in lines if line not in shown]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--again", action="store_true", help="make the impulse responses again")
    arguments = parser.parse_args()
    hrtfs = pipeline.prepare()
    problems = [
        *check_directions(),
        *check_hrir(hrtfs, arguments.again),
        *check_measured_ears(hrtfs),
        *check_measured_field(hrtfs),
    ]
    for problem in problems:
        print(f"error: {problem}", file=sys.stderr)
    print("tables differ from what they should be" if problems else "tables are as they should be")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
