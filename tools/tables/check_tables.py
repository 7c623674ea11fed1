#!/usr/bin/python3
"""Re-runs the table generators and compares with the committed files; exit status 1 on a mismatch.

The directions must be the same text. The impulse responses may differ in the last digits from one
linear-algebra library to another, so they are compared with a tolerance, and the committed table
itself must hold its constraints, the quality limits and the figures that docs/data.md shows.
"""

import sys

import numpy as np

import make_sphere_directions
from cpp_writer import ROOT
from hrir import constraints, measured_ears, pipeline, report, sphere, table_file

DOCUMENT = ROOT / "docs" / "data.md"

HRIR_TOLERANCE = 1e-5  # 79 dB below the largest value; one machine repeats to the last bit

MAX_LEVEL_ERROR_DB = 0.9
MAX_TIME_ERROR_US = 10.0
MAX_DIFFUSE_DEVIATION_DB = 0.5
LEFT_DIRECTION = (np.array([np.pi / 2.0]), np.array([0.0]))


def check_directions():
    """The committed direction file and its figures are what the generator makes."""
    sets = make_sphere_directions.read_sets()
    if make_sphere_directions.PATH.read_text() != make_sphere_directions.render(sets):
        yield f"{make_sphere_directions.PATH.name} is not what its generator makes"
    yield from missing_lines(make_sphere_directions.describe(*item) for item in sets.items())


def check_hrir():
    """The committed table is what the generator makes and is as good as documented."""
    result = pipeline.make_table()
    table = table_file.read()
    difference = np.abs(table - result.table).max()
    print(f"impulse responses: largest difference from a new run {difference:.1e}")
    if not difference <= HRIR_TOLERANCE:
        yield f"{table_file.PATH.name} differs from a new run by more than {HRIR_TOLERANCE}"
    if table_file.PATH.read_text() != table_file.render(table):
        yield f"{table_file.PATH.name} is not as the generator prints its values"
    yield from constraints.violations(table)
    qualities = pipeline.evaluate_methods(result, table)
    yield from check_limits(qualities["the table"])
    yield from check_left_source(table)
    yield from missing_lines(report.rows(qualities))
    yield from missing_lines([report.peaks_line(constraints.main_peaks(table))])


def check_measured_ears():
    """The committed figures of the measured ears are what their generator makes."""
    made, committed = measured_ears.make(pipeline.prepare()), measured_ears.read()
    for arc, rows in made.items():
        if not (np.shape(committed[arc]) == rows.shape and np.abs(committed[arc] - rows).max() <= measured_ears.TOLERANCE):
            yield f"{measured_ears.PATH.name}: {arc} differs from a new run by more than {measured_ears.TOLERANCE}"
    if measured_ears.PATH.read_text() != measured_ears.render(committed):
        yield f"{measured_ears.PATH.name} is not as the generator prints its values"


def check_limits(quality):
    """Limits that any table has to keep, whatever it is made from."""
    limits = [
        ("mean level error (dB)", quality.level, MAX_LEVEL_ERROR_DB),
        ("mean time difference error (us)", quality.time_difference_us, MAX_TIME_ERROR_US),
        ("diffuse-field deviation (dB)", quality.diffuse_field, MAX_DIFFUSE_DEVIATION_DB),
    ]
    for name, value, limit in limits:
        if not value <= limit:
            yield f"{name} is {value:.2f}, more than {limit}"


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
    problems = [*check_directions(), *check_hrir(), *check_measured_ears()]
    for problem in problems:
        print(f"error: {problem}", file=sys.stderr)
    print("tables differ from what they should be" if problems else "tables are as they should be")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
