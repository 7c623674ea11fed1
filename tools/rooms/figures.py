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
MEAN_OCTAVES = slice(1, 7)  # 125 Hz to 4 kHz
DENSITY_AT_MS = np.array([20, 40, 60, 80, 120, 200])
FADING_STEP_S = 0.005
AUDIBLE = 0.1  # of the largest sample: where reflections and tail start and end


@dataclass
class Figures:
    """Arrays are per octave (measures.OCTAVES_HZ), but for density. Of the front centre where nothing else is said.

    direct_to_reverberant_octaves   dB, direct sound over everything that the room adds
    direct_to_reflections_octaves   dB, over the early reflections alone
    direct_to_tail_octaves          dB, over the tail alone
    clarity                  dB, C80 of a white impulse
    reflections_level        dB, early reflections against the direct sound, of a white impulse
    reflections_coherence    interaural, of the early reflections
    gap_ms                   from the last reflection to the tail's first pulse, not a number without
                             either; negative: they overlap
    single, phantom          dB, octave levels around their mean re dry: worst of the bed's
                             loudspeakers, and both front loudspeakers with the same signal
    balance                  dB, left over right ear of the tails of all loudspeakers
    loudness                 LU above dry, a bed of independent pink noise
    density                  normalised echo density at DENSITY_AT_MS after the direct sound, left ear
    """

    direct_to_reverberant_octaves: np.ndarray
    direct_to_reflections_octaves: np.ndarray
    direct_to_tail_octaves: np.ndarray
    clarity: float
    reflections_level: float
    reflections_coherence: np.ndarray
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


def gap_ms(room, speaker=CENTRE):
    """Time from the last reflection of a loudspeaker to its tail's first pulse; what is AUDIBLE counts."""
    reflection, tail = room.of(room.reflections, speaker), room.of(room.tail, speaker)
    if not reflection.any() or not tail.any():
        return np.nan
    last = span(reflection)[1]
    return (span(tail)[0] - last) / measures.RATE * 1e3


def gaps_ms(room):
    """The least and the largest gap of all loudspeakers."""
    gaps = [gap_ms(room, speaker) for speaker in room.speakers]
    return min(gaps), max(gaps)


def decays(room):
    """Early decay time and T20 per octave, in s, of reflections and tail of the front centre, from the direct sound on."""
    return measures.decay_times(room.of(room.full - room.dry, CENTRE)[:, LATENCY:])


def tail_decays(room):
    """The same of the tail alone, from its first pulse on."""
    tail = room.of(room.tail, CENTRE)
    return measures.decay_times(tail[:, span(tail)[0] :])


def fading(room, step_s=FADING_STEP_S):
    """How the front centre dies away: seconds after the direct sound and energy per step, in dB of the first one."""
    step = int(step_s * measures.RATE)
    energy = np.sum(room.of(room.full, CENTRE)[:, LATENCY - step // 2 :] ** 2, axis=0)
    energy = energy[: len(energy) // step * step].reshape(-1, step).sum(axis=1)
    return np.arange(len(energy)) * step_s, power_db(energy / energy[0])


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
        direct_to_reverberant_octaves=lead(after),
        direct_to_reflections_octaves=lead(centre(room.reflections)),
        direct_to_tail_octaves=lead(centre(tail)),
        clarity=measures.clarity(full, LATENCY),
        reflections_level=ratio(centre(room.reflections), dry),
        reflections_coherence=measures.coherence(centre(room.reflections)),
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


def single_figures(room, found):
    """One figure each of a room and its Figures, by name: levels in dB are means of MEAN_OCTAVES, times in s and coherence
    means of measures.SPEECH_OCTAVES; gaps are in ms, of the front centre, and the least and largest of all loudspeakers."""
    level = lambda octaves: float(octaves[MEAN_OCTAVES].mean())
    speech = lambda octaves: float(octaves[measures.SPEECH_OCTAVES].mean())
    edt, t20 = decays(room)
    tail_edt, tail_t20 = tail_decays(room)
    least, largest = gaps_ms(room)
    return {
        "direct_to_all": level(found.direct_to_reverberant_octaves),
        "direct_to_reflections": level(found.direct_to_reflections_octaves),
        "direct_to_tail": level(found.direct_to_tail_octaves),
        "reflections": found.reflections_level,
        "tail_edt": speech(tail_edt),
        "tail_t20": speech(tail_t20),
        "edt": speech(edt),
        "t20": speech(t20),
        "c80": found.clarity,
        "gap": found.gap_ms,
        "gap_least": least,
        "gap_largest": largest,
        "density": found.density_at(80),
        "coherence": speech(found.reflections_coherence),
        "loudness": found.loudness,
    }
