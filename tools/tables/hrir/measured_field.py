# SPDX-License-Identifier: Apache-2.0
"""What the measured ears hear of several sources at once, and their envelopes, for the validation report."""

import csv
import io

import numpy as np

from cpp_writer import ROOT
from measure import ears, erb, sphere
from measure.levels import power_db

from . import grid, quality

PATH = ROOT / "tools" / "validate" / "measured_field.csv"
TOLERANCE = 0.02  # dB, microseconds; for coherence it is wide
DECIMALS = 3
AZIMUTHS = np.arange(0, 181, 5)  # degrees, of the envelopes
PAIRS = (30, 45)  # degrees to either side


def make(hrtfs):
    """Rows (what, at, values): per ERB band, but for the envelopes, whose values are microseconds per centre."""
    nearest = lambda azimuth, elevation=0.0: sphere.nearest_direction(
        hrtfs.azimuth, hrtfs.elevation, np.radians(azimuth), np.radians(elevation)
    )
    spectra = hrtfs.spectra
    rows = [("coherence", 0, quality.measured_coherence(hrtfs))]
    rows.append(("front", 0, quality.band_levels(spectra[[nearest(0.0)]])[0]))
    for degrees in PAIRS:
        both = spectra[nearest(degrees)] + spectra[nearest(-degrees)]
        rows.append(("phantom", degrees, quality.band_levels(both[None])[0]))
    bed = [nearest(*direction) for direction in quality.BED_DEGREES]
    power = np.sum(np.abs(spectra[bed]) ** 2, axis=0)
    rows.append(("bed", 0, power_db(quality.BAND_WEIGHTS @ power)))
    left, right = ([nearest(side * degrees) for degrees in AZIMUTHS] for side in (1.0, -1.0))
    envelopes = [
        ears.envelope_itd_us(spectra[left], spectra[right], hz, grid.SAMPLE_RATE)
        for hz in ears.ENVELOPE_CENTRES_HZ
    ]
    rows += [("envelope", at, values) for at, values in zip(AZIMUTHS, np.transpose(envelopes))]
    return rows


def render(rows):
    """Text of the file; a row is as long as it has values."""
    file = io.StringIO()
    writer = csv.writer(file, lineterminator="\n")
    writer.writerow(["what", "at"] + [f"band_{hz:.0f}" for hz in erb.CENTRES_HZ])
    for what, at, values in rows:
        writer.writerow([what, at] + [f"{value + 0.0:.{DECIMALS}f}" for value in np.round(values, DECIMALS)])
    return file.getvalue()


def read():
    """The committed rows, as make() gives them."""
    with open(PATH, newline="") as file:
        table = list(csv.reader(file))[1:]
    return [(row[0], int(row[1]), np.array(row[2:], float)) for row in table]
