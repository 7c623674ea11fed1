# SPDX-License-Identifier: Apache-2.0
"""Terms of the cost for what each ear hears from each direction.

Each term is a callable that takes a Field, adds its slopes to it and returns its cost. Costs are means
over the sphere, bands and bins, so that weights keep their meaning when directions are left out.
"""

import numpy as np

from measure import erb

from . import grid, hearing
from .cost_target import BINS, FREQUENCIES, STEP, Bands

LEVEL_BANDS_HZ, LEVEL_STEP_ERB = (100.0, 16000.0), 0.5
LEVEL_SCALE_DB = 1.5  # larger errors count linearly: one lost notch must not outweigh a sphere
LEVEL_DIFFERENCE_LOWEST_HZ = 1200.0
FINE_BANDS_HZ, FINE_STEP_ERB = (200.0, 15500.0), 1.0 / 3.0
COMPLEX_FADE_HZ = (1100.0, 1800.0)
COMPLEX_LOWEST_HZ = 20.0
QUIETEST = 0.3  # responses below count as that loud in relative errors
DELAY_BANDS_HZ = (1600.0, 12000.0)
DELAY_WIDTH_ERB = 4.0
DELAY_UNIT_US = 100.0
DELAY_SCALE = 2.0  # of that unit
PAIR_SPACINGS, PAIR_STEP = (60, 90), 15  # degrees
PAIR_TOLERANCE = 2.0  # degrees
PAIR_AHEAD_COSINE = np.cos(np.radians(50.0))  # both loudspeakers as near as that to the front

MICROSECONDS_PER_RADIAN = -1e6 * grid.FFT_SIZE / (2.0 * np.pi * grid.SAMPLE_RATE * STEP)


class Levels:
    """Level per ERB band and its difference between the ears.

    Level differences carry direction above 1.5 kHz (Macpherson and Middlebrooks, "Listener weighting of
    cues for lateral angle: the duplex theory of sound localization revisited", JASA 111, 2002).
    """

    def __init__(self, target, level_weight, difference_weight, loudness_exponent):
        self.target = target
        centres = erb.centres(*LEVEL_BANDS_HZ, LEVEL_STEP_ERB)
        self.bands = Bands(centres, 1.0, target.dtype)
        powers = self.bands.powers(target.power)
        self.wanted = hearing.decibels(powers).astype(target.dtype)
        mean = hearing.decibels(target.area @ powers)
        loudness = np.clip(10.0 ** (loudness_exponent * (self.wanted - mean) / 10.0), 0.3, 2.0)
        loudness /= target.area @ loudness
        share = target.weights / len(centres)
        self.level_weight = (level_weight * share * loudness).astype(target.dtype)
        high = centres > LEVEL_DIFFERENCE_LOWEST_HZ
        self.difference_weight = (difference_weight * share * high).astype(target.dtype)

    def __call__(self, field):
        powers = self.bands.powers(field.power)
        error = hearing.decibels(powers) - self.wanted
        cost, slope = hearing.pseudo_huber(error, LEVEL_SCALE_DB)
        total = np.sum(self.level_weight * cost)
        slope = self.level_weight * slope
        difference = error - error[self.target.mirrored]
        cost, difference_slope = hearing.pseudo_huber(difference, 2.0 * LEVEL_SCALE_DB)
        total += np.sum(self.difference_weight * cost)
        difference_slope = self.difference_weight * difference_slope
        slope += difference_slope - difference_slope[self.target.mirrored]
        field.power_slope += self.bands.power_slope(slope, powers)
        return float(total)


class FineStructure:
    """Level in bands a third of an ERB wide: the notches by which a pinna tells elevation.

    Langendijk and Bronkhorst, "Contribution of spectral cues to human sound localization", JASA 112,
    2002.
    """

    def __init__(self, target, weight):
        centres = erb.centres(*FINE_BANDS_HZ, FINE_STEP_ERB)
        self.bands = Bands(centres, FINE_STEP_ERB, target.dtype)
        self.wanted = hearing.decibels(self.bands.powers(target.power)).astype(target.dtype)
        self.weight = (weight * target.weights / len(centres)).astype(target.dtype)

    def __call__(self, field):
        powers = self.bands.powers(field.power)
        error = hearing.decibels(powers) - self.wanted
        cost, slope = hearing.pseudo_huber(error, 2.0 * LEVEL_SCALE_DB)
        field.power_slope += self.bands.power_slope(self.weight * slope, powers)
        return float(np.sum(self.weight * cost))


class LowFrequencies:
    """Complex values up to where the ear stops following the fine structure of a wave.

    Below about 1.3 kHz interaural phase decides direction (Wightman and Kistler, "The dominant role of
    low-frequency interaural time differences in sound localization", JASA 91, 1992).
    """

    def __init__(self, target, weight):
        low, high = np.log2(COMPLEX_FADE_HZ)
        octaves = np.log2(np.maximum(FREQUENCIES, 1.0))
        share = 1.0 - np.clip((octaves - low) / (high - low), 0.0, 1.0)
        share[FREQUENCIES <= COMPLEX_LOWEST_HZ] = 0.0
        share /= np.maximum(FREQUENCIES / 500.0, 1.0) ** 0.3
        self.bins = slice(0, int(np.flatnonzero(share)[-1]) + 1)
        share = (share / share.sum())[self.bins]
        self.wanted = target.spectra[:, self.bins]
        relative = np.maximum(np.abs(self.wanted), QUIETEST) ** -2.0
        self.weight = (weight * target.weights * relative * share).astype(target.dtype)

    def __call__(self, field):
        error = field.responses[:, self.bins] - self.wanted
        field.responses_slope[:, self.bins] += 2.0 * self.weight * error
        return float(np.sum(self.weight * (error.real**2 + error.imag**2)))


class EnvelopeDelays:
    """Delay of the envelope per band: the energy-weighted mean of the group delay.

    Above 2 kHz the ear follows envelopes, and their interaural delay is heard (Bernstein and Trahiotis,
    "Enhancing sensitivity to interaural delays at high frequencies by using transposed stimuli", JASA
    112, 2002). A delay that is common to all directions costs nothing; the difference between the ears
    costs by itself, too.
    """

    def __init__(self, target, weight, difference_weight):
        self.target = target
        centres = erb.centres(*DELAY_BANDS_HZ)
        weights = erb.weights(FREQUENCIES[:-1], centres, DELAY_WIDTH_ERB)
        self.backward = weights.astype(target.dtype)
        self.forward = np.ascontiguousarray(self.backward.T)
        unturned = target.unturned[:, BINS]
        cross = (unturned[:, 1:] * np.conj(unturned[:, :-1])) @ self.forward
        self.turn = np.conj(cross / np.maximum(np.abs(cross), 1e-12)).astype(target.complex)
        loud = np.clip((target.power[:, :-1] @ self.forward) ** 0.25, 0.3, 2.0)
        loud /= target.area @ loud
        self.share = (target.weights * loud).astype(target.dtype)
        self.weight = weight / len(centres)
        self.difference_weight = (difference_weight * target.weights / len(centres)).astype(target.dtype)

    def __call__(self, field):
        cross = (field.responses[:, 1:] * np.conj(field.responses[:, :-1])) @ self.forward
        error = np.angle(cross * self.turn) * (MICROSECONDS_PER_RADIAN / DELAY_UNIT_US)
        error -= np.sum(self.share * error, axis=0)
        cost, slope = hearing.pseudo_huber(error, DELAY_SCALE)
        total = self.weight * np.sum(self.share * cost)
        slope = self.share * slope
        slope = self.weight * (slope - self.share * slope.sum(axis=0))
        difference = error - error[self.target.mirrored]
        cost, difference_slope = hearing.pseudo_huber(difference, DELAY_SCALE)
        total += np.sum(self.difference_weight * cost)
        difference_slope = self.difference_weight * difference_slope
        slope += difference_slope - difference_slope[self.target.mirrored]
        slope *= MICROSECONDS_PER_RADIAN / DELAY_UNIT_US
        cross_slope = slope * 1j * cross / np.maximum(np.abs(cross) ** 2, 1e-9)
        spread = cross_slope.astype(field.responses.dtype) @ self.backward
        field.responses_slope[:, 1:] += spread * field.responses[:, :-1]
        field.responses_slope[:, :-1] += np.conj(spread) * field.responses[:, 1:]
        return float(total)


class LoudspeakerPairs:
    """Level per ERB band of two loudspeakers with the same signal, so that phantom sources keep timbre.

    Pairs stand 60 and 90 degrees apart around the horizon, in every direction that the set has; those
    ahead, where phantom sources are usual, have a weight of their own.
    """

    def __init__(self, target, weight, front_weight):
        pairs = np.array(list(self._pairs(target)))
        self.basis = target.basis[pairs[:, 0]].astype(float) + target.basis[pairs[:, 1]]
        centres = erb.centres(*LEVEL_BANDS_HZ, LEVEL_STEP_ERB)
        self.bands = Bands(centres, 1.0, np.float64, 1e-3, grid.FREQUENCIES)
        together = target.unturned[pairs[:, 0]] + target.unturned[pairs[:, 1]]
        self.wanted = hearing.decibels(self.bands.powers(np.abs(together) ** 2))
        ahead = np.cos(target.azimuth[pairs]).min(axis=1) > PAIR_AHEAD_COSINE
        self.weight = (np.where(ahead, front_weight, weight) / self.wanted.size)[:, None]

    @staticmethod
    def _pairs(target):
        horizon = np.flatnonzero(np.abs(target.elevation) < 0.01)
        degrees = np.degrees(target.azimuth[horizon])
        for spacing in PAIR_SPACINGS:
            for middle in range(0, 360, PAIR_STEP):
                wanted = np.array([middle + spacing / 2.0, middle - spacing / 2.0])
                distance = np.abs((degrees - wanted[:, None] + 180.0) % 360.0 - 180.0)
                if distance.min(axis=1).max() < PAIR_TOLERANCE:
                    yield horizon[distance.argmin(axis=1)]

    def __call__(self, field):
        responses = self.basis @ field.harmonics
        powers = self.bands.powers(np.abs(responses) ** 2)
        cost, slope = hearing.pseudo_huber(hearing.decibels(powers) - self.wanted, 2.0 * LEVEL_SCALE_DB)
        power_slope = self.bands.power_slope(self.weight * slope, powers)
        field.harmonics_slope += self.basis.T @ (2.0 * power_slope * responses)
        return float(np.sum(self.weight * cost))
