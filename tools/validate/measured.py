# SPDX-License-Identifier: Apache-2.0
"""The measured ears that the library's impulse responses are made from, in the directions that the report shows.

tools/tables/make_measured_ears.py makes the file from the measured set (docs/data.md).
"""

import csv
from dataclasses import dataclass
from pathlib import Path

import numpy as np

PATH = Path(__file__).with_name("measured_ears.csv")
FIELD_PATH = Path(__file__).with_name("measured_field.csv")


@dataclass(frozen=True)
class MeasuredEars:
    """One arc of directions, in its order: radians, microseconds, and decibels per ERB band (directions, 2, bands)."""

    azimuth: np.ndarray
    elevation: np.ndarray
    itd_us: np.ndarray
    level_db: np.ndarray

    @property
    def ild_db(self):
        """Per ERB band, left minus right."""
        return self.level_db[:, 0] - self.level_db[:, 1]


def field(what):
    """What measured_field.csv has of "coherence", "front", "phantom", "bed" (per ERB band) or "envelope" (microseconds per
    centre of measure.ears): the values by degrees, or by 0."""
    with open(FIELD_PATH, newline="") as file:
        return {int(row[1]): np.array(row[2:], float) for row in csv.reader(file) if row[0] == what}


def read(arc):
    """The rows of "horizon", "median" or "side": around the left to behind, from below over the top, likewise at 90°."""
    with open(PATH, newline="") as file:
        rows = [list(row.values()) for row in csv.DictReader(file) if row["arc"] == arc]
    values = np.array([row[1:] for row in rows], float)
    return MeasuredEars(*np.radians(values[:, :2].T), values[:, 2], values[:, 3:].reshape(len(rows), 2, -1))
