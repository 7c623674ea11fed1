# SPDX-License-Identifier: Apache-2.0
"""What the measured ears hear from the directions that the validation report shows, for comparison with the renderer.

The rows hold the equalised set; the right ear is the mirror image.
"""

import csv
import io

import numpy as np

from cpp_writer import ROOT
from measure import ears, erb, sphere

from . import grid, quality

PATH = ROOT / "tools" / "validate" / "measured_ears.csv"
TOLERANCE = 0.02  # dB, microseconds and degrees
DECIMALS = 3

# Azimuths and elevations in degrees: around the left from ahead to behind; from below over the top to behind; and the
# same at the left as far as the top. Nothing was measured below -40 degrees.
FROM_BELOW = np.arange(-40, 91, 10)
ARCS = {
    "horizon": (np.arange(0, 181, 5), np.zeros(37)),
    "median": (np.repeat([0, 180], [14, 13]), np.concatenate([FROM_BELOW, FROM_BELOW[-2::-1]])),
    "side": (np.full(14, 90), FROM_BELOW),
}


def make(hrtfs):
    """Per arc, rows of azimuth, elevation (degrees), ITD (us), and levels (dB) of the left and the right ear's bands.

    The angles are those of the measured direction that is nearest to the arc's.
    """
    gain = ears.low_pass_gain(grid.FREQUENCIES, grid.SAMPLE_RATE)
    arcs = {}
    for name, angles in ARCS.items():
        azimuth, elevation = np.radians(angles)
        found = slice(None, hrtfs.num_measured)
        left, right = (
            sphere.nearest_direction(hrtfs.azimuth[found], hrtfs.elevation[found], side * azimuth, elevation)
            for side in (1.0, -1.0)
        )
        spectra = hrtfs.spectra[left], hrtfs.spectra[right]
        low = [ear * gain for ear in spectra]
        wrapped = np.angle(np.exp(1j * hrtfs.azimuth[left]))
        arcs[name] = np.column_stack([
            np.degrees(np.where(wrapped < -np.pi + 1e-6, np.pi, wrapped)),
            np.degrees(hrtfs.elevation[left]),
            ears.itd_of_spectra_us(*low, grid.FREQUENCIES, grid.SAMPLE_RATE),
            *(quality.band_levels(ear) for ear in spectra),
        ])  # fmt: skip
    return arcs


def render(arcs):
    """Text of the file."""
    file = io.StringIO()
    writer = csv.writer(file, lineterminator="\n")
    bands = [f"{hz:.0f}" for hz in erb.CENTRES_HZ]
    writer.writerow(["arc", "azimuth", "elevation", "itd_us"] + [f"{ear}_{hz}" for ear in ("left", "right") for hz in bands])
    for name, rows in arcs.items():
        for row in np.round(rows, DECIMALS) + 0.0:
            writer.writerow([name] + [f"{value:.{DECIMALS}f}" for value in row])
    return file.getvalue()


def read():
    """The committed rows, as make() gives them."""
    with open(PATH, newline="") as file:
        table = list(csv.reader(file))[1:]
    return {name: np.array([row[1:] for row in table if row[0] == name], float) for name in ARCS}
