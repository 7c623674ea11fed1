# SPDX-License-Identifier: Apache-2.0
"""From spectra to taps and back: shape, time origin, polarity, gain and window of the table."""

import numpy as np

from measure.constants import LATENCY, TAPS

from . import grid

TIME_ZERO_TAP = LATENCY  # where sound would reach the middle of the head
FADE_IN_TAPS, FADE_OUT_TAPS = 16, 32
# The main peaks are negative. Diffuse-field level: 20 log10(GAIN) dB.
GAIN = 0.2339
POLARITY = -1.0

_ORIGIN_PHASE = grid.delay_phase(TIME_ZERO_TAP / grid.SAMPLE_RATE)


def window():
    """Cosine fades at both ends, 1 between."""
    fade_in = 0.5 - 0.5 * np.cos(np.pi * (np.arange(FADE_IN_TAPS) + 0.5) / FADE_IN_TAPS)
    fade_out = 0.5 + 0.5 * np.cos(np.pi * (np.arange(FADE_OUT_TAPS) + 0.5) / FADE_OUT_TAPS)
    return np.concatenate([fade_in, np.ones(TAPS - FADE_IN_TAPS - FADE_OUT_TAPS), fade_out])


def to_time(spectra):
    """Impulse responses of the first TAPS taps at unit gain, before the window."""
    shifted = spectra * _ORIGIN_PHASE
    return POLARITY * np.fft.irfft(shifted, grid.FFT_SIZE, axis=-1)[..., :TAPS]


def to_taps(spectra):
    """Windowed impulse responses at the table's gain, shape (channels, taps)."""
    return GAIN * to_time(spectra) * window()


def to_spectra(taps):
    """The inverse of to_taps for a response that the window leaves as it is."""
    return np.fft.rfft(taps, grid.FFT_SIZE, axis=-1) / (_ORIGIN_PHASE * GAIN * POLARITY)


def taps_slope(spectra_slope):
    """Slope of the taps from the slope of to_spectra's result (dJ/dRe + i dJ/dIm), the adjoint."""
    turned = spectra_slope / np.conj(_ORIGIN_PHASE * GAIN * POLARITY)
    turned[..., 1:-1] *= 0.5  # irfft counts these bins twice
    return np.fft.irfft(turned, grid.FFT_SIZE, axis=-1)[..., :TAPS] * grid.FFT_SIZE
