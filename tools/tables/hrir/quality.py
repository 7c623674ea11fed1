"""Quality figures: how the table's ears differ from the measured ears, in hearing's terms."""

from dataclasses import dataclass

import numpy as np

from . import grid, sphere
from .magnitude_fit import diffuse_power

BANDS_HZ = (100.0, 16000.0)  # centres of the first and at most the last band
SPLIT_HZ = 2000.0
LEVEL_DIFFERENCE_LOWEST_HZ = 1500.0
TIME_DIFFERENCE_HIGHEST_HZ = 1500.0
TIME_DIFFERENCE_ELEVATION = np.radians(31.0)
TIME_DIFFERENCE_LIMIT_S = 1.2e-3
LAG_OVERSAMPLING = 16


def erb_bands():
    """Centre frequencies one ERB apart, and each band's weight per bin (bands, bins).

    Glasberg and Moore, "Derivation of auditory filter shapes from notched-noise data", Hearing
    Research 47, 1990; the skirts are those of a fourth-order gammatone filter.
    """
    to_number = lambda hz: 21.4 * np.log10(1.0 + 0.00437 * hz)
    numbers = np.arange(to_number(BANDS_HZ[0]), to_number(BANDS_HZ[1]) + 1e-6)
    centres = (10.0 ** (numbers / 21.4) - 1.0) / 0.00437
    bandwidths = 1.019 * 24.7 * (0.00437 * centres + 1.0)
    offset = (grid.FREQUENCIES[None, :] - centres[:, None]) / bandwidths[:, None]
    response = (1.0 + offset**2) ** -4.0
    return centres, response / response.sum(axis=1, keepdims=True)


CENTRES, BAND_WEIGHTS = erb_bands()


def band_levels(spectra):
    """Levels in dB per ERB band, shape (directions, bands)."""
    return 10.0 * np.log10(np.maximum(np.abs(spectra) ** 2 @ BAND_WEIGHTS.T, 1e-12))


def diffuse_deviation(harmonic_spectra):
    """Diffuse-field level per band, in dB relative to its mean."""
    level = 10.0 * np.log10(BAND_WEIGHTS @ diffuse_power(harmonic_spectra))
    return level - level.mean()


def time_differences(left, right):
    """Interaural time differences in microseconds, positive where the left ear leads.

    Lag of the largest cross-correlation of the ears below 1.5 kHz.
    """
    cross = np.conj(left) * right / (1.0 + (grid.FREQUENCIES / TIME_DIFFERENCE_HIGHEST_HZ) ** 20)
    size = LAG_OVERSAMPLING * grid.FFT_SIZE
    correlation = np.fft.fftshift(np.fft.irfft(cross, size), axes=-1)
    rate = LAG_OVERSAMPLING * grid.SAMPLE_RATE
    reach = int(TIME_DIFFERENCE_LIMIT_S * rate)
    near = correlation[:, size // 2 - reach : size // 2 + reach + 1]
    return (near.argmax(axis=1) - reach) / rate * 1e6


def diffuse_coherence(even_power, odd_power):
    """Interaural coherence per band in a diffuse field.

    The ears are the sum and the difference of the left/right-even and -odd parts of the field.
    """
    even, odd = BAND_WEIGHTS @ even_power, BAND_WEIGHTS @ odd_power
    return (even - odd) / (even + odd)


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
    ears = _Ears(harmonic_spectra, hrtfs, directions)
    weights = hrtfs.weights[directions] / hrtfs.weights[directions].sum()

    level_error = np.abs(band_levels(ears.left) - band_levels(ears.measured_left))
    per_band = weights @ level_error
    below = CENTRES < SPLIT_HZ
    difference = band_levels(ears.left) - band_levels(ears.right)
    measured = band_levels(ears.measured_left) - band_levels(ears.measured_right)
    high = CENTRES >= LEVEL_DIFFERENCE_LOWEST_HZ
    level_difference_error = (weights @ np.abs(difference - measured))[high].mean()

    level_ears = np.abs(hrtfs.elevation[directions]) < TIME_DIFFERENCE_ELEVATION
    time_error = np.abs(
        time_differences(ears.left, ears.right)
        - time_differences(ears.measured_left, ears.measured_right)
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
