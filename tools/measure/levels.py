# SPDX-License-Identifier: Apache-2.0
"""Decibels."""

import numpy as np

SILENCE_DB = -240.0  # stands for no power at all
EQUAL_DB = -200.0  # stands for no difference at all


def power_db(power):
    """Level of a power or of an array of them, in dB."""
    power = np.asarray(power, float)
    with np.errstate(divide="ignore"):
        return np.where(power == 0.0, SILENCE_DB, 10.0 * np.log10(power))[()]


def peak(samples):
    """Largest magnitude; not a number where any sample is none."""
    return float(np.abs(np.asarray(samples, float)).max())


def difference_db(found, expected):
    """Peak of the difference against the peak of `expected`, in dB; of (..., frames) the shorter counts as silent."""
    left_over = peak(difference(found, expected))
    return EQUAL_DB if left_over == 0.0 else 20.0 * np.log10(left_over / peak(expected))


def difference(a, b):
    """a - b of (..., frames) in double precision, of which the shorter counts as silent at its end."""
    frames = max(np.shape(a)[-1], np.shape(b)[-1])
    return _padded(a, frames) - _padded(b, frames)


def _padded(samples, frames):
    samples = np.asarray(samples, float)
    silence = np.zeros(samples.shape[:-1] + (frames - samples.shape[-1],))
    return np.concatenate([samples, silence], axis=-1)
