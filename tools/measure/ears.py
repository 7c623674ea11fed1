# SPDX-License-Identifier: Apache-2.0
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
ENVELOPE_CENTRES_HZ = (2000.0, 3000.0, 4000.0, 6000.0, 8000.0)
ENVELOPE_WIDTH = 0.25  # standard deviation of the band, relative to its centre
ENVELOPE_MAX_LAG_S, ENVELOPE_OVERSAMPLING = 1.5e-3, 2
ONSET_LEAD_S = 0.7e-3  # sound earlier than that before the main peak is heard before it
ONSET_BAND_HZ = (500.0, 18000.0)


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


def envelope_itd_us(left, right, centre_hz, rate_hz):
    """Interaural delay of the Hilbert envelopes around a frequency, in microseconds, of spectra (directions, bins).

    The lag of the largest cross-correlation in a Gaussian band, interpolated by a parabola; bins are those of an FFT.
    """
    lags = _envelope(left, centre_hz, rate_hz), _envelope(right, centre_hz, rate_hz)
    size = lags[0].shape[-1]
    correlation = np.fft.fftshift(np.fft.irfft(np.conj(np.fft.rfft(lags[0])) * np.fft.rfft(lags[1]), size), axes=-1)
    fine_rate = ENVELOPE_OVERSAMPLING * rate_hz
    reach = int(ENVELOPE_MAX_LAG_S * fine_rate)
    near = correlation[:, size // 2 - reach : size // 2 + reach + 1]
    peak = np.clip(near.argmax(axis=1), 1, 2 * reach - 1)
    before, highest, after = (near[np.arange(len(near)), peak + step] for step in (-1, 0, 1))
    fraction = 0.5 * (before - after) / np.minimum(before - 2.0 * highest + after, -1e-20)
    return (peak + np.clip(fraction, -1.0, 1.0) - reach) / fine_rate * 1e6


def _envelope(spectra, centre_hz, rate_hz):
    bins = spectra.shape[-1]
    analytic = np.zeros((len(spectra), ENVELOPE_OVERSAMPLING * 2 * (bins - 1)), complex)
    frequencies = np.arange(bins) * rate_hz / (2 * (bins - 1))
    analytic[:, :bins] = spectra * np.exp(-0.5 * ((frequencies - centre_hz) / (ENVELOPE_WIDTH * centre_hz)) ** 2)
    return np.abs(np.fft.ifft(analytic, axis=1))


def energy_before_onset_db(spectra, rate_hz):
    """Share of the energy that comes more than ONSET_LEAD_S before a response's main peak, in dB; (directions, bins)."""
    bins = spectra.shape[-1]
    size = 2 * (bins - 1)
    frequencies = np.arange(bins) * rate_hz / size
    inside = (frequencies > ONSET_BAND_HZ[0]) & (frequencies < ONSET_BAND_HZ[1])
    energy = np.fft.irfft(spectra * inside, size, axis=1) ** 2
    around = (energy.argmax(axis=1)[:, None] + np.arange(-size // 2, size // 2)) % size
    turned = np.take_along_axis(energy, around, axis=1)
    return power_db(turned[:, : size // 2 - int(ONSET_LEAD_S * rate_hz)].sum(axis=1) / turned.sum(axis=1))
