# SPDX-License-Identifier: Apache-2.0
"""Fit of the harmonics' spectra: least squares at low, magnitudes alone at high frequencies.

Fourth order resolves the phase of a head up to about 2 kHz. Above, a fit of complex values loses
most of the level; a fit that leaves the phase free keeps it (MagLS: Schoerkhuber, Zaunschirm and
Hoeldrich, "Binaural rendering of Ambisonic signals via magnitude least squares", DAGA 2018).
"""

from copy import copy

import numpy as np

from . import grid, sphere

TRANSITION_HZ, TRANSITION_OCTAVES = 1750.0, 0.5
REGULARISATION = 1e-4  # relative to the diagonal 1 / (2n + 1) of the SN3D Gram matrix
# Above the transition errors count in dB rather than in absolute level, to some extent: weights
# are divided by the response's level (relative to the mean) raised to this exponent.
LEVEL_EXPONENT = 0.35
LOWEST_RELATIVE_LEVEL = 0.1
DIFFUSE_OCTAVES = 1.0 / 3.0
DIFFUSE_HIGHEST_HZ = 16000.0
DIFFUSE_GAIN_RANGE = (0.5, 2.0)

# The degrees' mean power over the sphere is 1 / (2n + 1) with SN3D.
MEAN_POWER = 1.0 / (2.0 * sphere.DEGREES + 1.0)


def diffuse_power(harmonic_spectra):
    """Power of the left ear averaged over all directions, per bin."""
    return MEAN_POWER @ np.abs(harmonic_spectra) ** 2


def magnitude_share():
    """Per bin: 0 where the phase is fitted too, 1 where it is free."""
    distance = (grid.OCTAVES - np.log2(TRANSITION_HZ)) / TRANSITION_OCTAVES
    return np.clip(distance + 0.5, 0.0, 1.0)


def unit_phase(values):
    """The values divided by their magnitudes."""
    return values / np.maximum(np.abs(values), 1e-12)


class MagnitudeFit:
    """Regularised weighted fits of one set of responses; shapes as in HrtfSet."""

    def __init__(self, hrtfs):
        self.basis = sphere.harmonics(hrtfs.azimuth, hrtfs.elevation)
        self.share = magnitude_share()
        self.target = hrtfs.spectra
        self.area_weights = hrtfs.weights
        self.target_power = grid.smooth_power(hrtfs.diffuse_power(), DIFFUSE_OCTAVES)
        self._solvers = np.stack([self._solver(weights) for weights in self._bin_weights(hrtfs)])

    def turned(self, all_pass):
        """The same fit for responses with a common phase; magnitudes and weights stay."""
        turned = copy(self)
        turned.target = self.target * all_pass
        return turned

    def least_squares(self):
        """Area-weighted fit of complex values in every bin: the classic method, to compare with."""
        return self._solver(self.area_weights) @ self.target

    def first_pass(self):
        """MagLS from bin to bin, each taking its free phases from the fit of the bin below."""
        result = np.empty((sphere.NUM_CHANNELS, grid.NUM_BINS), complex)
        for k in range(grid.NUM_BINS):
            wanted = self.target[:, k]
            if self.share[k] > 0.0:
                reached = self.basis @ result[:, k - 1]
                wanted = self._wanted(wanted, reached, self.share[k])
            result[:, k] = self._solvers[k] @ wanted
        return self.match_diffuse_field(result)

    def next_pass(self, harmonic_spectra):
        """Fit with the free phases taken from an earlier result."""
        reached = self.basis @ harmonic_spectra
        fitted = self._apply(self._wanted(self.target, reached, self.share))
        return self.match_diffuse_field(fitted)

    def match_diffuse_field(self, harmonic_spectra):
        """Zero-phase gain that gives the mean over all directions the level it should have."""
        power = grid.smooth_power(diffuse_power(harmonic_spectra), DIFFUSE_OCTAVES)
        gain = np.sqrt(self.target_power / np.maximum(power, 1e-12))
        gain = grid.hold(gain, high_bin=grid.nearest_bin(DIFFUSE_HIGHEST_HZ))
        return harmonic_spectra * np.clip(gain, *DIFFUSE_GAIN_RANGE)

    @staticmethod
    def _wanted(target, reached, share):
        """The target's magnitudes with phases between the target's own and those reached."""
        blend = (1.0 - share) * unit_phase(target) + share * unit_phase(reached)
        return np.abs(target) * unit_phase(blend)

    def _bin_weights(self, hrtfs):
        """Quadrature weights per bin, shape (bins, directions)."""
        level = np.abs(hrtfs.spectra) / np.maximum(np.sqrt(hrtfs.diffuse_power()), 1e-9)
        level = np.maximum(level, LOWEST_RELATIVE_LEVEL)
        weights = (hrtfs.weights[:, None] * level ** (-LEVEL_EXPONENT * self.share)).T
        return weights / weights.sum(axis=1, keepdims=True)

    def _solver(self, weights):
        """Matrix from responses to harmonics, (channels, directions), for one set of weights."""
        weighted = self.basis.T * weights
        ridge = REGULARISATION * np.diag(MEAN_POWER)
        return np.linalg.solve(weighted @ self.basis + ridge, weighted)

    def _apply(self, responses):
        """Every bin's solver applied to that bin's responses, real and imaginary part at once."""
        parts = np.stack([responses.real.T, responses.imag.T], axis=-1)
        real, imaginary = np.moveaxis(self._solvers @ parts, -1, 0)
        return (real + 1j * imaginary).T
