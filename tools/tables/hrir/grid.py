# SPDX-License-Identifier: Apache-2.0
"""The frequency grid every step works on, and smoothing and minimum phase on that grid."""

from functools import lru_cache

import numpy as np

from measure import constants

SAMPLE_RATE = constants.SAMPLE_RATE_HZ
FFT_SIZE = 1024
NUM_BINS = FFT_SIZE // 2 + 1
FREQUENCIES = np.arange(NUM_BINS) * SAMPLE_RATE / FFT_SIZE  # Hz
OCTAVES = np.log2(np.maximum(FREQUENCIES, 1.0))  # bin 0 counts as 1 Hz

CEPSTRUM_OVERSAMPLING = 8  # keeps the folded cepstrum from aliasing


def nearest_bin(hz):
    """Index of the bin closest to `hz`."""
    return int(np.argmin(np.abs(FREQUENCIES - hz)))


def delay_phase(seconds):
    """Spectrum of a pure delay. `seconds` of shape (...) gives (..., bins)."""
    return np.exp(-2j * np.pi * np.multiply.outer(seconds, FREQUENCIES))


def octave_kernel(octaves, frequencies, width_octaves):
    """Row-normalised Gaussian smoothing matrix over log frequency.

    The kernel's standard deviation is half of `width_octaves`; dividing by the frequency makes up
    for the growing number of linearly spaced bins per octave.
    """
    distance = (octaves[None, :] - octaves[:, None]) / (0.5 * width_octaves)
    kernel = np.exp(-0.5 * distance**2) / frequencies[None, :]
    return kernel / kernel.sum(axis=1, keepdims=True)


@lru_cache(maxsize=None)
def _power_kernel(width_octaves):
    kernel = octave_kernel(OCTAVES, np.maximum(FREQUENCIES, 1.0), width_octaves)
    kernel[:, 0] = 0.0  # DC is one bin, yet infinitely many octaves away
    kernel[0] = 0.0
    kernel[0, 1] = 1.0
    return kernel / kernel.sum(axis=1, keepdims=True)


def smooth_power(power, width_octaves):
    """Smooths the logarithm of a power spectrum over `width_octaves`."""
    return np.exp(_power_kernel(width_octaves) @ np.log(np.maximum(power, 1e-12)))


def hold(gain, low_bin=None, high_bin=None):
    """Holds a gain curve constant below `low_bin` and above `high_bin`."""
    held = gain.copy()
    if low_bin is not None:
        held[:low_bin] = held[low_bin]
    if high_bin is not None:
        held[high_bin:] = held[high_bin]
    return held


def minimum_phase(magnitude):
    """Complex minimum-phase spectrum of a magnitude response.

    The cepstrum is folded onto positive time (Oppenheim and Schafer, "Discrete-Time Signal
    Processing", chapter on the cepstrum).
    """
    size = CEPSTRUM_OVERSAMPLING * FFT_SIZE
    fine = np.arange(size // 2 + 1) * SAMPLE_RATE / size
    log_magnitude = np.interp(fine, FREQUENCIES, np.log(np.maximum(magnitude, 1e-9)))
    cepstrum = np.fft.irfft(log_magnitude, size)
    cepstrum[1 : size // 2] *= 2.0
    cepstrum[size // 2 + 1 :] = 0.0
    return np.exp(np.fft.rfft(cepstrum))[::CEPSTRUM_OVERSAMPLING]
