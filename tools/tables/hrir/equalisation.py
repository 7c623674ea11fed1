# SPDX-License-Identifier: Apache-2.0
"""Equalisation of the measured spectra: what is common to all directions is taken out.

The raw responses contain the loudspeaker and the resonance of the ear canal. Both are the same
for every direction, so dividing by the average over all directions removes them (diffuse-field
equalisation: Moller, "Fundamentals of binaural technology", Applied Acoustics 36, 1992).
"""

import numpy as np

from . import grid

BULK_DELAY_BAND_HZ = (300.0, 1200.0)
SMOOTHING_OCTAVES = 1.0 / 6.0
EQ_LOWEST_HZ, EQ_HIGHEST_HZ = 60.0, 18000.0  # the gain is held constant outside
EXTENSION_HZ = 200.0
GROUP_DELAY_OCTAVES = 1.0 / 3.0
GROUP_DELAY_HIGHEST_HZ = 20000.0
BAND_LIMIT_HZ = (19000.0, 22000.0)


def equalise(measured):
    """All steps that come before the gap below the lowest ring is filled."""
    equalised = measured.with_spectra(equalise_diffuse_field(measured))
    equalised = equalised.with_spectra(extend_low_frequencies(equalised.spectra))
    return equalised.with_spectra(remove_common_group_delay(equalised))


def finish(complete):
    """The steps that need the whole sphere: a last small level correction and the band limit."""
    gain = 1.0 / np.sqrt(grid.smooth_power(complete.diffuse_power(), SMOOTHING_OCTAVES))
    gain = grid.hold(gain, high_bin=grid.nearest_bin(EQ_HIGHEST_HZ))
    gain[grid.FREQUENCIES < EQ_LOWEST_HZ] = 1.0
    return complete.with_spectra(complete.spectra * gain * band_limit())


def without_bulk_delay(hrtfs):
    """The set without its mean travel time, read from the phase slopes at low frequencies."""
    low, high = BULK_DELAY_BAND_HZ
    band = (grid.FREQUENCIES >= low) & (grid.FREQUENCIES <= high)
    phase = np.unwrap(np.angle(hrtfs.spectra[:, band]), axis=1)
    slope = np.polyfit(2.0 * np.pi * grid.FREQUENCIES[band], phase.T, 1)[0]
    return hrtfs.with_spectra(hrtfs.spectra * grid.delay_phase(hrtfs.weights @ slope))


def equalise_diffuse_field(hrtfs):
    """Minimum-phase inverse of the smoothed diffuse-field response, applied to all directions."""
    power = grid.smooth_power(hrtfs.diffuse_power(), SMOOTHING_OCTAVES)
    gain = grid.hold(
        1.0 / np.sqrt(power),
        low_bin=grid.nearest_bin(EQ_LOWEST_HZ),
        high_bin=grid.nearest_bin(EQ_HIGHEST_HZ),
    )
    return hrtfs.spectra * grid.minimum_phase(gain)


def extend_low_frequencies(spectra):
    """Replaces what lies below 200 Hz, where the measuring loudspeaker gave out.

    The level in dB runs to 0 with the square of the frequency and the phase is that of a pure
    delay (read from the octave above) plus a remainder that vanishes at DC.
    """
    edge = grid.nearest_bin(EXTENSION_HZ)
    octave = slice(edge, 2 * edge)
    frequency = grid.FREQUENCIES[octave]
    phase = np.unwrap(np.angle(spectra[:, octave]), axis=1)  # small enough to start unwrapped
    delay = -(phase @ frequency) / (frequency @ frequency) / (2.0 * np.pi)
    level = np.abs(spectra[:, edge, None])
    remainder = np.angle(spectra[:, edge, None] / grid.delay_phase(delay)[:, edge, None])
    ratio = grid.FREQUENCIES[:edge] / grid.FREQUENCIES[edge]
    extended = spectra.copy()
    extended[:, :edge] = level ** (ratio**2) * np.exp(1j * remainder * ratio)
    extended[:, :edge] *= grid.delay_phase(delay)[:, :edge]
    return extended


def remove_common_group_delay(hrtfs):
    """Takes out the smoothed, energy-weighted mean group delay, so that time 0 is common."""
    cross = hrtfs.spectra[:, 1:] * np.conj(hrtfs.spectra[:, :-1])
    advance = np.angle(hrtfs.weights @ cross)  # phase step from bin to bin
    midpoints = 0.5 * (grid.FREQUENCIES[1:] + grid.FREQUENCIES[:-1])
    kernel = grid.octave_kernel(np.log2(midpoints), midpoints, GROUP_DELAY_OCTAVES)
    highest = int(np.argmin(np.abs(midpoints - GROUP_DELAY_HIGHEST_HZ)))
    step = grid.hold(kernel @ advance, high_bin=highest)
    return hrtfs.spectra * np.exp(-1j * np.concatenate([[0.0], np.cumsum(step)]))


def band_limit():
    """Raised-cosine fade to silence towards half the sampling rate."""
    low, high = BAND_LIMIT_HZ
    position = np.clip((grid.FREQUENCIES - low) / (high - low), 0.0, 1.0)
    return 0.5 + 0.5 * np.cos(np.pi * position)
