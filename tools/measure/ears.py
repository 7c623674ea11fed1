"""What tells a listener left from right, and near from around: ITD, ILD and the coherence of the ears.

All are positive where the left ear is ahead or louder.
"""

import numpy as np

from . import erb
from .levels import power_db

TIME_HIGHEST_HZ = 1500.0  # below, the phase of the ears is what is heard
MAX_LAG_S = 1e-3
SPECTRAL_MAX_LAG_S = 1.2e-3  # of measured heads, whose largest ITD lies beyond MAX_LAG_S for some bands
HALF_TAPS = 64
LAG_OVERSAMPLING = 16


def low_pass_taps(rate_hz):
    """A sinc up to TIME_HIGHEST_HZ under a Hann window, gain 1 at 0 Hz; shape (2 HALF_TAPS + 1,)."""
    taps = np.arange(-HALF_TAPS, HALF_TAPS + 1)
    cutoff = 2.0 * TIME_HIGHEST_HZ / rate_hz
    return cutoff * np.sinc(cutoff * taps) * (0.5 + 0.5 * np.cos(np.pi * taps / (HALF_TAPS + 1)))


def low_pass_gain(frequencies_hz, rate_hz):
    """Gain of that low-pass, which has no phase."""
    taps = np.arange(-HALF_TAPS, HALF_TAPS + 1)
    return np.cos(2.0 * np.pi * np.outer(frequencies_hz, taps) / rate_hz) @ low_pass_taps(rate_hz)


def itd_us(ears, rate_hz):
    """Interaural time difference of (2, frames) in microseconds.

    The lag of the largest cross-correlation within a millisecond, of the ears below TIME_HIGHEST_HZ, whose ends are cut
    by HALF_TAPS; the peak is interpolated by a parabola. Means nothing for silence.
    """
    left, right = (np.convolve(ear, low_pass_taps(rate_hz), "valid") for ear in np.asarray(ears, float))
    reach = round(MAX_LAG_S * rate_hz)
    frames = len(left)
    values = np.array([
        left[max(0, -lag) : frames - max(0, lag)] @ right[max(0, lag) : frames - max(0, -lag)]  # which is `lag` later
        for lag in range(-reach, reach + 1)
    ])  # fmt: skip
    peak = 1 + int(values[1:-1].argmax())
    before, highest, after = values[peak - 1 : peak + 2]
    curvature = before - 2.0 * highest + after
    fraction = 0.5 * (before - after) / curvature if curvature < 0.0 else 0.0
    return 1e6 * (peak - reach + fraction) / rate_hz


def itd_of_spectra_us(left, right, frequencies_hz, rate_hz):
    """The same from spectra of shape (..., bins) on the grid of an FFT, as lags of 1 / LAG_OVERSAMPLING samples."""
    cross = np.conj(left) * right / (1.0 + (frequencies_hz / TIME_HIGHEST_HZ) ** 20)
    size = LAG_OVERSAMPLING * 2 * (len(frequencies_hz) - 1)
    correlation = np.fft.fftshift(np.fft.irfft(cross, size), axes=-1)
    reach = int(SPECTRAL_MAX_LAG_S * LAG_OVERSAMPLING * rate_hz)
    near = correlation[..., size // 2 - reach : size // 2 + reach + 1]
    return (near.argmax(axis=-1) - reach) / (LAG_OVERSAMPLING * rate_hz) * 1e6


def ild_db(ears):
    """Interaural level difference of (2, frames) in dB, of the energies."""
    left, right = (np.asarray(ears, float) ** 2).sum(axis=-1)
    return power_db(left / right)


def band_ild_db(ears, rate_hz):
    """The same per ERB band."""
    left, right = erb.powers(ears, rate_hz)
    return power_db(left / right)


def correlation(ears):
    """Correlation coefficient of (2, frames), whose means count as they are."""
    left, right = np.asarray(ears, float)
    return left @ right / np.sqrt((left @ left) * (right @ right))


def diffuse_coherence(even_power, odd_power):
    """Interaural coherence of a diffuse field, from the powers of its left/right-even and -odd parts.

    The ears are the sum and the difference of the two parts, which are independent of each other.
    """
    return (even_power - odd_power) / (even_power + odd_power)
