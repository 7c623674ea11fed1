"""Quality figures: how the table's ears differ from the measured ears, in hearing's terms."""

from dataclasses import dataclass

import numpy as np

from measure import ears, erb

from . import grid, sphere
from .magnitude_fit import diffuse_power

SPLIT_HZ = 2000.0
LEVEL_DIFFERENCE_LOWEST_HZ = 1500.0
TIME_DIFFERENCE_ELEVATION = np.radians(31.0)


CENTRES, BAND_WEIGHTS = erb.CENTRES_HZ, erb.weights(grid.FREQUENCIES)


def band_levels(spectra):
    """Levels in dB per ERB band, shape (directions, bands)."""
    return 10.0 * np.log10(np.maximum(np.abs(spectra) ** 2 @ BAND_WEIGHTS.T, erb.SILENCE))


def diffuse_deviation(harmonic_spectra):
    """Diffuse-field level per band, in dB relative to its mean."""
    level = 10.0 * np.log10(BAND_WEIGHTS @ diffuse_power(harmonic_spectra))
    return level - level.mean()


def time_differences(left, right):
    """Interaural time differences of spectra in microseconds, positive where the left ear leads."""
    return ears.itd_of_spectra_us(left, right, grid.FREQUENCIES, grid.SAMPLE_RATE)


def diffuse_coherence(even_power, odd_power):
    """Interaural coherence per band in a diffuse field."""
    return ears.diffuse_coherence(BAND_WEIGHTS @ even_power, BAND_WEIGHTS @ odd_power)


@dataclass(frozen=True)
class Quality:
    """Errors in dB unless the name says otherwise."""

    level: float
    level_below_split: float
    level_above_split: float
    level_99th_percentile: float
    level_difference: float
    time_difference_us: float
    time_difference_95th_percentile_us: float
    diffuse_field: float
    coherence: float
    coherence_largest: float


def evaluate(harmonic_spectra, hrtfs, directions=None):
    """Compares with the measured directions of a set, or those among them in `directions`."""
    if directions is None:
        directions = np.arange(hrtfs.num_measured)
    heard = _Ears(harmonic_spectra, hrtfs, directions)
    weights = hrtfs.weights[directions] / hrtfs.weights[directions].sum()

    level_error = np.abs(band_levels(heard.left) - band_levels(heard.measured_left))
    per_band = weights @ level_error
    below = CENTRES < SPLIT_HZ
    difference = band_levels(heard.left) - band_levels(heard.right)
    measured = band_levels(heard.measured_left) - band_levels(heard.measured_right)
    high = CENTRES >= LEVEL_DIFFERENCE_LOWEST_HZ
    level_difference_error = (weights @ np.abs(difference - measured))[high].mean()

    level_ears = np.abs(hrtfs.elevation[directions]) < TIME_DIFFERENCE_ELEVATION
    time_error = np.abs(
        time_differences(heard.left, heard.right)
        - time_differences(heard.measured_left, heard.measured_right)
    )[level_ears]
    coherence_error = np.abs(_coherence(harmonic_spectra) - _measured_coherence(hrtfs))
    return Quality(
        level=per_band.mean(),
        level_below_split=per_band[below].mean(),
        level_above_split=per_band[~below].mean(),
        level_99th_percentile=np.percentile(level_error, 99),
        level_difference=level_difference_error,
        time_difference_us=np.average(time_error, weights=weights[level_ears]),
        time_difference_95th_percentile_us=np.percentile(time_error, 95),
        diffuse_field=np.abs(diffuse_deviation(harmonic_spectra)).max(),
        coherence=coherence_error.mean(),
        coherence_largest=coherence_error.max(),
    )


class _Ears:
    """Spectra of both ears per direction, from the table and as measured."""

    def __init__(self, harmonic_spectra, hrtfs, directions):
        azimuth, elevation = hrtfs.azimuth[directions], hrtfs.elevation[directions]
        basis = sphere.harmonics(azimuth, elevation)
        mirrored = sphere.nearest_direction(hrtfs.azimuth, hrtfs.elevation, -azimuth, elevation)
        self.left = basis @ harmonic_spectra
        self.right = basis @ (harmonic_spectra * sphere.MIRROR_SIGNS[:, None])
        self.measured_left = hrtfs.spectra[directions]
        self.measured_right = hrtfs.spectra[mirrored]


def _coherence(harmonic_spectra):
    even = np.where(sphere.MIRROR_SIGNS[:, None] > 0, harmonic_spectra, 0.0)
    return diffuse_coherence(diffuse_power(even), diffuse_power(harmonic_spectra - even))


def _measured_coherence(hrtfs):
    mirrored = sphere.nearest_direction(
        hrtfs.azimuth, hrtfs.elevation, -hrtfs.azimuth, hrtfs.elevation
    )
    even = 0.5 * (hrtfs.spectra + hrtfs.spectra[mirrored])
    odd = hrtfs.spectra - even
    return diffuse_coherence(
        hrtfs.weights @ np.abs(even) ** 2, hrtfs.weights @ np.abs(odd) ** 2
    )
