# SPDX-License-Identifier: Apache-2.0
"""The figures of one room, from its responses."""

from dataclasses import dataclass
from pathlib import Path

import numpy as np

from measure.constants import LATENCY
from measure.levels import power_db

from . import measures

ROOT = Path(__file__).resolve().parents[2]  # of the source tree
CENTRE, LEFT, RIGHT = "FC", "FL", "FR"
MEAN_OCTAVES = slice(1, 7)
DENSITY_AT_MS = np.array([20, 40, 60, 80, 120, 200])
AUDIBLE = 0.1  # of the largest sample: where reflections and tail start and end


@dataclass
class Figures:
    """Arrays are per octave (measures.OCTAVES_HZ). None where the room has no such sound.

    direct_to_reverberant    dB, front centre, over everything that the room adds; mean of the octaves
                             from 125 Hz to 4 kHz, and per octave
    direct_to_reflections    likewise over the early reflections alone
    clarity                  dB, C80 of the front centre
    reflections_coherence    interaural, of the reflections of the whole bed
    tail_coherence           interaural, of the tail
    gap_ms                   from the last reflection to the tail's first pulse; negative: they overlap
    single, phantom          dB, octave levels around their mean re dry: worst of the bed's
                             loudspeakers, and both front loudspeakers with the same signal
    balance                  dB, left over right ear of the tail
    loudness                 LU above dry, a bed of independent pink noise
    density                  normalised echo density at DENSITY_AT_MS after the direct sound
    """

    direct_to_reverberant: float
    direct_to_reverberant_octaves: np.ndarray
    direct_to_reflections_octaves: np.ndarray
    clarity: float
    reflections_level: float
    reflections_coherence: np.ndarray
    tail_coherence: np.ndarray
    gap_ms: float
    single: np.ndarray
    phantom: np.ndarray
    balance: np.ndarray
    loudness: float
    density: np.ndarray

    def density_at(self, milliseconds):
        """Echo density at one of DENSITY_AT_MS, or the last before a short tail's end."""
        return float(self.density[: int(np.searchsorted(DENSITY_AT_MS, milliseconds)) + 1][-1])


def ratio(first, second):
    return float(power_db(np.sum(first**2) / max(np.sum(second**2), 1e-30)))


def span(response):
    """First and last sample of what can be heard of a response (ears, samples); None if silent."""
    level = np.abs(response).max(axis=0)
    audible = np.flatnonzero(level > AUDIBLE * max(level.max(), 1e-9))
    return (audible[0], audible[-1]) if len(audible) else None


def gap_ms(room):
    """Time between the last reflection's main peak and the tail's first pulse, front centre."""
    reflection, tail = room.of(room.reflections, CENTRE), room.of(room.tail, CENTRE)
    if not reflection.any() or not tail.any():
        return np.nan
    last = span(reflection)[1]
    return (span(tail)[0] - last) / measures.RATE * 1e3


def decays(room):
    """Early decay time and T20 per octave, in s, of what follows the direct sound of the front centre."""
    return measures.decay_times(room.of(room.full - room.dry, CENTRE)[:, LATENCY:])


def measure(room):
    centre = lambda x: room.of(x, CENTRE)
    full, dry = centre(room.full), centre(room.dry)
    after = centre(room.full - room.dry)
    lead = lambda added: power_db(
        measures.octave_energies(dry) / np.maximum(measures.octave_energies(added), 1e-30)
    )
    tail = room.tail
    phantom = lambda x: (room.of(x, LEFT) + room.of(x, RIGHT))[None]
    samples = LATENCY + DENSITY_AT_MS * measures.RATE // 1000
    samples = samples[samples + measures.RATE // 50 < full.shape[-1]]
    left_tail, right_tail = (tail[:, ear : ear + 1] for ear in (0, 1))
    return Figures(
        direct_to_reverberant=float(lead(after)[MEAN_OCTAVES].mean()),
        direct_to_reverberant_octaves=lead(after),
        direct_to_reflections_octaves=lead(centre(room.reflections)),
        clarity=measures.clarity(full, LATENCY),
        reflections_level=ratio(centre(room.reflections), dry),
        reflections_coherence=measures.coherence(centre(room.reflections)),
        tail_coherence=measures.coherence(centre(tail)),
        gap_ms=gap_ms(room),
        single=np.abs(measures.colouration(room.full, room.dry)).max(axis=0),
        phantom=measures.colouration(phantom(room.full), phantom(room.dry))[0],
        balance=power_db(
            measures.octave_energies(left_tail).sum(axis=0)
            / np.maximum(measures.octave_energies(right_tail).sum(axis=0), 1e-30)
        ),
        loudness=measures.loudness(room.full) - measures.loudness(room.dry),
        density=measures.echo_density(full[0], samples),
    )
