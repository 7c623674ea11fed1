# SPDX-License-Identifier: Apache-2.0
"""How the sound of a room dies away.

ISO 3382-1:2009 has the names: EDT, T20 and T30 are times for a fall by 60 dB, extrapolated from the fall by the first 10
dB, from 5 to 25 dB and from 5 to 35 dB of the backward-integrated energy (M. R. Schroeder, "New Method of Measuring
Reverberation Time", J. Acoust. Soc. Am. 37, 1965).
"""

from dataclasses import dataclass

import numpy as np
from scipy import signal

EDT, T20, T30 = (0.0, -10.0), (-5.0, -25.0), (-5.0, -35.0)  # dB below the start
OCTAVE_PASSES, OCTAVE_Q = 3, 1.0


@dataclass(frozen=True)
class Fit:
    """A straight line through a decay: decibels at 0 s, and their change per second."""

    at_0_db: float
    slope_db_s: float

    @property
    def time_s(self):
        """For a fall by 60 dB."""
        return -60.0 / self.slope_db_s

    def level_db(self, seconds):
        return self.at_0_db + self.slope_db_s * np.asarray(seconds)


def curve(response, rate_hz, step=1):
    """The energy still to come of a response of shape (frames,), every `step` frames: seconds, and dB of all of it.

    Ends where nothing is left.
    """
    to_come = np.cumsum(np.asarray(response, float)[::-1] ** 2)[::-1]
    at = np.arange(0, np.count_nonzero(to_come > 0.0), step)
    return at / rate_hz, 10.0 * np.log10(to_come[at] / to_come[0])


def _reaches(level_db, start, wanted_db):
    below = np.flatnonzero(level_db[start:] <= level_db[start] + wanted_db)
    return start + int(below[0]) if len(below) else None


def fall(seconds, level_db, limits=T20, from_s=0.0):
    """Indices of the two points between which the curve falls through `limits` below its level at `from_s`.

    None where it does not reach that far.
    """
    start = int(np.searchsorted(seconds, from_s))
    if start == len(seconds):
        return None
    points = [_reaches(level_db, start, wanted) for wanted in limits]
    return None if None in points else points


def time_s(seconds, level_db, limits=T20, from_s=0.0):
    """Time for a fall by 60 dB at the mean speed of the fall through `limits`; 0 where it does not get that far."""
    points = fall(seconds, level_db, limits, from_s)
    if points is None:
        return 0.0
    begin, end = points
    return 60.0 * (seconds[end] - seconds[begin]) / (level_db[begin] - level_db[end])


def fit(seconds, level_db, limits, from_s=0.0):
    """The Fit by least squares to the fall through `limits`; None where the curve does not get that far."""
    points = fall(seconds, level_db, limits, from_s)
    if points is None:
        return None
    part = slice(points[0], points[1] + 1)
    slope, at_0 = np.polyfit(seconds[part], level_db[part], 1)
    return Fit(at_0, slope)


def octave_band(responses, centre_hz, rate_hz):
    """The octave around `centre_hz` of (..., frames), through three second-order band-passes.

    Constant peak gain; R. Bristow-Johnson, "Cookbook formulae for audio equalizer biquad filter coefficients".
    """
    phase = 2.0 * np.pi * centre_hz / rate_hz
    alpha = np.sin(phase) / (2.0 * OCTAVE_Q)
    b, a = [alpha, 0.0, -alpha], [1.0 + alpha, -2.0 * np.cos(phase), 1.0 - alpha]
    for _ in range(OCTAVE_PASSES):
        responses = signal.lfilter(b, a, responses)
    return responses


def energy_sum(responses):
    """One response whose energy at every sample is that of all of (responses, frames) together."""
    return np.sqrt((np.asarray(responses, float) ** 2).sum(axis=0))
