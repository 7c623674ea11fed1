# SPDX-License-Identifier: Apache-2.0
"""Fills the part of the sphere below the lowest measured ring.

Low-order harmonics fitted to log magnitude, delay and residual phase, with a penalty on roughness,
carry the responses smoothly into the gap (after Duraiswami, Zotkin and Gumerov, "Interpolation and
range extrapolation of HRTFs", ICASSP 2004). Without it the later fit is unbounded down there.
"""

import numpy as np

from . import grid, sphere
from .measured_set import HrtfSet

RESPONSE_ORDER, RESPONSE_ROUGHNESS = 4, 3e-3
DELAY_ORDER, DELAY_ROUGHNESS = 3, 1e-3
DELAY_BAND_HZ = (200.0, 1500.0)
LATTICE_SIZE = 800  # directions of the whole sphere, before the measured part is cut away
MARGIN = np.radians(5.0)  # between the lowest ring and the first new direction


def fill_gap(hrtfs):
    """Returns the set with new directions appended and weights over the full sphere."""
    azimuth, elevation = gap_directions(hrtfs.elevation.min() - MARGIN)
    delay = onset_delays(hrtfs.spectra)
    aligned = hrtfs.spectra / grid.delay_phase(delay)
    aligned_phase = aligned / np.maximum(np.abs(aligned), 1e-9)

    response_map = extrapolator(hrtfs, azimuth, elevation, RESPONSE_ORDER, RESPONSE_ROUGHNESS)
    delay_map = extrapolator(hrtfs, azimuth, elevation, DELAY_ORDER, DELAY_ROUGHNESS)
    magnitude = np.exp(response_map @ np.log(np.maximum(np.abs(hrtfs.spectra), 1e-4)))
    phase = np.angle(response_map @ aligned_phase)
    new_spectra = magnitude * np.exp(1j * phase) * grid.delay_phase(delay_map @ delay)

    azimuth = np.concatenate([hrtfs.azimuth, azimuth])
    elevation = np.concatenate([hrtfs.elevation, elevation])
    spectra = np.concatenate([hrtfs.spectra, new_spectra])
    weights = sphere.area_weights(azimuth, elevation)
    return HrtfSet(azimuth, elevation, spectra, weights, hrtfs.num_measured)


def gap_directions(highest_elevation):
    """Fibonacci-lattice directions below an elevation, with their left/right mirror images."""
    index = np.arange(LATTICE_SIZE) + 0.5
    elevation = np.arcsin(1.0 - 2.0 * index / LATTICE_SIZE)
    azimuth = (np.pi * (1.0 + np.sqrt(5.0)) * index) % (2.0 * np.pi)
    below = elevation < highest_elevation
    azimuth, elevation = azimuth[below], elevation[below]
    return np.concatenate([azimuth, -azimuth]), np.concatenate([elevation, elevation])


def onset_delays(spectra):
    """Delay in seconds of every response: energy-weighted phase slope through the origin."""
    low, high = DELAY_BAND_HZ
    band = (grid.FREQUENCIES >= low) & (grid.FREQUENCIES <= high)
    frequency = grid.FREQUENCIES[band]
    phase = np.unwrap(np.angle(spectra), axis=1)[:, band]
    energy = np.abs(spectra[:, band]) ** 2
    return -(energy * phase) @ frequency / (energy @ frequency**2) / (2.0 * np.pi)


def extrapolator(hrtfs, azimuth, elevation, order, roughness):
    """Matrix from values on the set's directions to values on the new directions."""
    basis = sphere.harmonics(hrtfs.azimuth, hrtfs.elevation, order)
    degrees = sphere.channel_degrees(order)
    # n(n + 1) is the eigenvalue of the sphere's Laplacian: its square penalises curvature.
    penalty = roughness * np.diag((degrees * (degrees + 1.0)) ** 2)
    weighted = basis.T * hrtfs.weights
    coefficients = np.linalg.solve(weighted @ basis + penalty, weighted)
    return sphere.harmonics(azimuth, elevation, order) @ coefficients
