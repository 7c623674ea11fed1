# SPDX-License-Identifier: Apache-2.0
"""Sines, and what is left of them when they are taken out."""

import numpy as np
from scipy import signal

from .levels import power_db


def sine(hz, amplitude, frames, rate_hz):
    """A sine of `frames` samples, float32."""
    return (amplitude * np.sin(2.0 * np.pi * hz / rate_hz * np.arange(frames))).astype(np.float32)


def residue_db(samples, hz, rate_hz):
    """Level of all that is not a sine of this frequency against that sine (least squares): distortion and noise."""
    phase = 2.0 * np.pi * hz / rate_hz * np.arange(len(samples))
    waves = np.stack([np.sin(phase), np.cos(phase)], axis=1)
    samples = np.asarray(samples, float)
    fitted = waves @ np.linalg.lstsq(waves, samples, rcond=None)[0]
    return float(power_db(((samples - fitted) ** 2).sum() / (fitted**2).sum()))


def spectrum(samples, rate_hz):
    """Frequencies in Hz and levels in dB against the strongest bin, under a four-term Blackman-Harris window.

    F. J. Harris, "On the use of windows for harmonic analysis with the discrete Fourier transform", Proc. IEEE 66, 1978.
    """
    frames = np.shape(samples)[-1]
    window = signal.windows.blackmanharris(frames, sym=False)
    power = np.abs(np.fft.rfft(window * np.asarray(samples, float))) ** 2
    return np.fft.rfftfreq(frames, 1.0 / rate_hz), power_db(power / power.max())


def beside_db(samples, hz, beside_hz, rate_hz):
    """Energy further than `beside_hz` from a sine against all energy, in dB."""
    frequencies, level_db = spectrum(samples, rate_hz)
    power = 10.0 ** (0.1 * level_db)
    return float(power_db(power[np.abs(frequencies - hz) > beside_hz].sum() / power.sum()))


def largest_beside_db(samples, hz, beside_hz, rate_hz):
    """The strongest component further than `beside_hz` from a sine against the sine, in dB; of (..., frames) of them all."""
    frequencies, level_db = spectrum(samples, rate_hz)
    return float(level_db[..., np.abs(frequencies - hz) > beside_hz].max())


def spectrum_curve(samples, rate_hz, lowest_hz, steps_per_octave):
    """The spectrum from `lowest_hz` on for a chart: the highest level of every step, and where it is."""
    frequencies, level_db = spectrum(samples, rate_hz)
    drawn = frequencies >= lowest_hz
    frequencies, level_db = frequencies[drawn], level_db[drawn]
    steps = np.floor(steps_per_octave * np.log2(frequencies / lowest_hz)).astype(int)
    highest = [group[level_db[group].argmax()] for group in np.split(np.arange(len(steps)),
                                                                     np.flatnonzero(np.diff(steps)) + 1)]
    return frequencies[highest], level_db[highest]
