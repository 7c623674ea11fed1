# SPDX-License-Identifier: Apache-2.0
"""What the cost compares with: the responses that a table has to approximate, in hearing's terms."""

import numpy as np

from measure import erb

from . import grid, hearing, magnitude_fit, sphere


# Bins of the grid on which responses are compared: 256 taps need no more than every second one, and
# above the band limit there is nothing to compare.
STEP = 2
BINS = np.arange(0, grid.nearest_bin(hearing.HIGHEST_HZ) + 1, STEP)
FREQUENCIES = grid.FREQUENCIES[BINS]

FRONT_RADIUS = np.radians(20.0)  # within which directions count up to `front_weight` times as much


class Target:
    """One set of responses and the arrays that the cost's terms share.

    basis      (directions, channels) harmonics
    weights    (directions,) share of each direction in the cost, sum 1
    area       (directions,) share of the sphere, sum 1
    spectra    (directions, len(BINS)) responses, with the phase that all directions share
    unturned   (directions, bins) responses without it, on the whole grid
    power      (directions, len(BINS)) of the responses
    mirrored   (directions,) index of each direction's mirror image at the other side
    """

    def __init__(self, hrtfs, all_pass=1.0, front_weight=1.0, dtype=np.float32):
        self.dtype = dtype
        self.complex = np.result_type(dtype, np.complex64)
        self.azimuth, self.elevation = hrtfs.azimuth, hrtfs.elevation
        self.basis = sphere.harmonics(hrtfs.azimuth, hrtfs.elevation).astype(dtype)
        self.area = hrtfs.weights
        forward = sphere.unit_vectors(hrtfs.azimuth, hrtfs.elevation)[:, 0]
        nearness = np.exp(-(1.0 - forward) / (1.0 - np.cos(FRONT_RADIUS)))
        shares = hrtfs.weights * (1.0 + (front_weight - 1.0) * nearness)
        self.weights = (shares / shares.sum()).astype(dtype)[:, None]
        self.unturned = hrtfs.spectra
        self.spectra = (hrtfs.spectra * all_pass)[:, BINS].astype(self.complex)
        self.power = np.abs(hrtfs.spectra[:, BINS]) ** 2
        self.mirrored = sphere.nearest_direction(
            hrtfs.azimuth, hrtfs.elevation, -hrtfs.azimuth, hrtfs.elevation
        )
        if not np.array_equal(self.mirrored[self.mirrored], np.arange(len(self.mirrored))):
            raise ValueError("every direction needs its mirror image in the set")

    def even_and_odd_power(self):
        """Power over the sphere of what both ears share and of what they differ in, per bin."""
        mirrored = self.unturned[self.mirrored]
        even, odd = 0.5 * (self.unturned + mirrored), 0.5 * (self.unturned - mirrored)
        return self.area @ np.abs(even) ** 2, self.area @ np.abs(odd) ** 2


class Field:
    """One table's responses in the target's directions, and the gradient that the terms fill in.

    taps         (channels, taps)           with its gradient `taps_slope`
    harmonics    (channels, bins) spectra   with `harmonics_slope`
    responses    (directions, len(BINS))    with `responses_slope`
    power        (directions, len(BINS))    with `power_slope`

    The slope of a complex value z is dJ/dRe(z) + i dJ/dIm(z).
    """

    def __init__(self, target, taps, harmonics):
        self.taps, self.harmonics = taps, harmonics
        compared = harmonics[:, BINS]
        parts = np.concatenate([compared.real, compared.imag], axis=1).astype(target.dtype)
        reached = target.basis @ parts
        real, imaginary = np.hsplit(reached, 2)
        self.responses = real + 1j * imaginary
        self.power = real**2 + imaginary**2
        self.power_slope = np.zeros_like(self.power)
        self.responses_slope = np.zeros_like(self.responses)
        self.harmonics_slope = np.zeros_like(harmonics)
        self.taps_slope = np.zeros_like(taps)

    def total_harmonics_slope(self, target):
        """Slope of the harmonics' spectra with what power and responses add to it."""
        slope = self.responses_slope + 2.0 * self.power_slope * self.responses
        real, imaginary = np.hsplit(
            target.basis.T @ np.concatenate([slope.real, slope.imag], axis=1), 2
        )
        total = self.harmonics_slope.copy()
        total[:, BINS] += real + 1j * imaginary
        return total


LEVEL_PER_LOG = 10.0 / np.log(10.0)  # d(10 log10 x) = LEVEL_PER_LOG dx / x


class Bands:
    """Levels in one set of bands and the way back from their slopes to slopes of power."""

    def __init__(self, centres, width, dtype, floor=1e-7, frequencies=FREQUENCIES):
        self.centres = centres
        weights = erb.weights(frequencies, centres, width).astype(dtype)
        self.forward = np.ascontiguousarray(weights.T)
        self.backward = weights
        self.floor = dtype(floor)

    def powers(self, power):
        """Power per band, shape (..., bands), never 0."""
        return power.astype(self.forward.dtype, copy=False) @ self.forward + self.floor

    def power_slope(self, level_slope, powers):
        """Slope of every bin's power from the slopes of the bands' levels in dB."""
        return (level_slope * (LEVEL_PER_LOG / powers)) @ self.backward


MEAN_POWER = magnitude_fit.MEAN_POWER
