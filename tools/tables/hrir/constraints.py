# SPDX-License-Identifier: Apache-2.0
"""What the table must hold exactly: five pinned entries and the place of every main peak."""

import numpy as np

from .table_format import TAPS, TIME_ZERO_TAP

# (tap, channel): value. The two large ones are the main peaks of channels 0 and 1.
PINNED = {
    (0, 0): 0.0015932900132611394,
    (0, 1): 0.0020018299110233784,
    (1, 0): -2.798000059556216e-05,
    (TIME_ZERO_TAP, 0): -0.03594272956252098,
    (TIME_ZERO_TAP + 1, 1): -0.07282113283872604,
}
PINNED_PEAKS = [(TIME_ZERO_TAP, 0), (TIME_ZERO_TAP + 1, 1)]
PEAK_RANGE = (140, 151)  # taps that may hold a channel's main peak, both included
PEAK_MARGIN = 0.95  # the next largest value relative to the peak


def impose(taps):
    """Returns the nearest taps (channels, taps) that hold the constraints.

    Other values get a margin below the peak, so that the result holds them without any doubt
    after rounding.
    """
    held = taps.copy()
    for (tap, channel), value in PINNED.items():
        held[channel, tap] = value
    for channel, values in enumerate(held):
        peak, others = peak_and_others(channel, values)
        limit = PEAK_MARGIN * abs(values[peak])
        values[others] = np.clip(values[others], -limit, limit)
    return held


def peak_and_others(channel, taps):
    """Tap of a channel's main peak within the range, and a mask of the taps that must stay below.

    Pinned peaks are where they are pinned, and all other taps must stay below them.
    """
    inside = np.zeros(TAPS, bool)
    inside[PEAK_RANGE[0] : PEAK_RANGE[1] + 1] = True
    pinned = [tap for tap, pinned_channel in PINNED_PEAKS if pinned_channel == channel]
    peak = pinned[0] if pinned else int(np.argmax(np.where(inside, np.abs(taps), -1.0)))
    others = np.arange(TAPS) != peak if pinned else ~inside
    return peak, others


def main_peaks(table):
    """Tap of the largest magnitude of every channel; `table` is (taps, channels)."""
    return np.abs(table).argmax(axis=0)


def violations(table):
    """Plain-word list of what a float32 table (taps, channels) does not hold; empty if it does."""
    found = []
    for (tap, channel), value in PINNED.items():
        if table[tap, channel] != np.float32(value):
            found.append(f"tap {tap} of channel {channel} is {table[tap, channel]!r}, not {value}")
    peaks = main_peaks(table)
    for tap, channel in PINNED_PEAKS:
        if peaks[channel] != tap:
            found.append(f"channel {channel} peaks at tap {peaks[channel]}, not {tap}")
    low, high = PEAK_RANGE
    for channel in np.flatnonzero((peaks < low) | (peaks > high)):
        found.append(f"channel {channel} peaks at tap {peaks[channel]}, outside {low} to {high}")
    return found
