# SPDX-License-Identifier: Apache-2.0
"""What each preset is to sound like, and the search that finds its parameters."""

from dataclasses import dataclass

import numpy as np
import orvane

from . import figures, measures
from . import room as rooms

# Octaves in which the reverberant sound follows the direct sound's level; below, a tail of a fraction of
# a second has too few periods to have a level of its own.
LEVEL_OCTAVES = slice(1, 8)
BALANCED_OCTAVES = slice(2, 8)
# By how much more than at 1 kHz the direct sound leads, per octave: air and walls take the highs.
HIGHS_LEAD_DB = np.array([0.0, 0.0, 0.0, 0.0, 0.0, 0.5, 1.5, 3.0])
END_LEVEL = 0.001  # of the tail's envelope at the decay time
GAP_MS = 1.5  # aimed at, between the last reflection and the tail
SINGLE_LIMIT_DB, PHANTOM_LIMIT_DB = 3.0, 4.0
BALANCE_LIMIT_DB = 0.5
LOUDNESS_LIMIT = 1.0  # LU
DENSITY_WANTED = 0.9  # 80 ms after the direct sound
COHERENCE_LIMIT = 0.5  # of the reflections, 500 Hz to 2 kHz

JUDGED = (figures.CENTRE, figures.LEFT, figures.RIGHT, "BL", "SL", "TBL")  # the others mirror them nearly
CANDIDATES, STEPS, DRAWS = 120, 160, 40


@dataclass(frozen=True)
class Design:
    """Targets and ranges of one preset.

    decay_s, direct_to_reverberant_db   T20 of the tail, and direct over all other sound at the centre
    reflections_db                      of the direct sound, at the centre
    clarity_db                          range of C80
    ranges                              of the parameters that are searched
    """

    title: str
    decay_s: float
    direct_to_reverberant_db: float
    reflections_db: float
    clarity_db: tuple
    ranges: dict


def box(length, width, height, front, back, sides, ceiling, floor, ahead, ear_height):
    """Ranges of the room's parameters; left and right wall are alike, the listener is in the middle."""
    return {
        "room.length": length,
        "room.width": width,
        "room.height": height,
        "absorption.front": front,
        "absorption.back": back,
        "absorption.sides": sides,
        "absorption.ceiling": ceiling,
        "absorption.floor": floor,
        "listener.x": ahead,
        "listener.z": ear_height,
        "reverb.spacing": (3.0, 8.0),
        "reverb.tone-gain": (0.4, 1.0),
        "reverb.tone-corner": (1500.0, 9000.0),
    }


SEATED = (1.15, 1.25)
DESIGNS = {
    "studio": Design(
        "A treated control room", 0.25, 12.0, -15.0, (25.0, 60.0),
        box((5, 7), (4, 6), (2.6, 3.4), (.4, .9), (.5, .95), (.4, .9), (.5, .95), (.2, .7), (-.5, .8), SEATED),
    ),
    "living-room": Design(
        "A furnished room", 0.4, 8.0, -11.0, (15.0, 40.0),
        box((4.5, 7), (3.5, 5.5), (2.4, 2.8), (.1, .6), (.2, .8), (.2, .7), (.1, .6), (.3, .8), (-1.2, .3), SEATED),
    ),
    "cinema": Design(
        "A screening room with absorbing walls", 0.7, 6.0, -13.0, (10.0, 25.0),
        box((11, 14), (8, 12), (4.5, 7), (.3, .8), (.3, .8), (.6, .95), (.2, .7), (.4, .8), (-2, 1), SEATED),
    ),
    "hall": Design(
        "A concert hall, as large as rooms of the effect go", 1.6, 3.0, -13.0, (3.0, 12.0),
        box((13, 14), (11, 14), (8, 12), (.05, .5), (.1, .6), (.05, .4), (.05, .4), (.3, .8), (-3, 1), SEATED),
    ),
}


def preset_of(values, design, level=0.05, predelay=20.0, stretch=1.0):
    """Parameters of a preset from the values that are searched and those that follow from others."""
    preset = dict(values)
    sides = preset.pop("absorption.sides")
    preset |= {"absorption.left": sides, "absorption.right": sides, "listener.y": 0.0}
    decay_db = 20.0 * np.log10(level / END_LEVEL)
    preset["reverb.decay"] = stretch * design.decay_s * decay_db / 60.0
    preset |= {"reverb.level": level, "reverb.predelay": predelay, "reflections.mode": 3.0}
    return {name: float(f"{value:.4g}") for name, value in preset.items()}


class Search:
    """Random candidates, then random steps from the best one, then the luckiest drawing of its tail.

    Level, decay and pre-delay of the tail are not searched: they follow from the targets and what the
    reflections of a candidate do.
    """

    def __init__(self, design, seed=1):
        self.design, self.random = design, np.random.default_rng(seed)
        self.speakers = list(JUDGED)
        self.dry = rooms.responses(rooms.DRY, self.speakers, rooms.DRY_SAMPLES)

    def run(self):
        """The preset of least cost."""
        best = min((self.candidate() for _ in range(CANDIDATES)), key=lambda item: item[0])
        for step in range(STEPS):
            width = 0.2 * (1.0 - step / STEPS) + 0.02
            best = min(best, self.candidate(best[2], width), key=lambda item: item[0])
        draws = (self.evaluate(best[2], 1.0 + 0.0025 * n) for n in range(-DRAWS // 2, DRAWS // 2))
        return min(draws, key=lambda item: item[0])[1]

    def candidate(self, around=None, width=1.0):
        """Cost, preset and searched values of a random candidate, near another one if given."""
        values = {}
        for name, (low, high) in self.design.ranges.items():
            if around is None:
                values[name] = self.random.uniform(low, high)
            else:
                step = width * (high - low) * self.random.normal()
                values[name] = float(np.clip(around[name] + step, low, high))
        return self.evaluate(values)

    def evaluate(self, values, stretch=1.0):
        level, predelay = 0.05, 20.0
        early = rooms.reflected(preset_of(values, self.design), self.speakers)
        for _ in range(3):
            preset = preset_of(values, self.design, level, predelay, stretch)
            room = rooms.render(preset, self.speakers, self.dry, early)
            found = figures.measure(room)
            predelay = float(np.clip(predelay + GAP_MS - found.gap_ms, 0.0, 100.0))
            level = float(np.clip(level * self._louder(found), 0.0015, 1.0))
        return self.cost(found), preset, values

    def _louder(self, found):
        """Factor by which the tail has to grow so that all but the direct sound has its level."""
        wanted = 10.0 ** (-self._lead() / 10.0)
        reached = 10.0 ** (-found.direct_to_reverberant_octaves / 10.0)
        early = 10.0 ** (-found.direct_to_reflections_octaves / 10.0)
        tail = np.maximum(reached - early, 1e-6)[LEVEL_OCTAVES]
        missing = np.maximum(wanted - early, 0.1 * wanted)[LEVEL_OCTAVES]
        return np.sqrt(np.exp(np.mean(np.log(missing / tail))))

    def _lead(self):
        return self.design.direct_to_reverberant_db + HIGHS_LEAD_DB

    def cost(self, found):
        """Squares of what lies beyond the limits, in units of about a decibel, all added up."""
        over = lambda value, limit: np.sum(np.maximum(np.asarray(value) - limit, 0.0) ** 2)
        low, high = self.design.clarity_db
        lead = (found.direct_to_reverberant_octaves - self._lead())[LEVEL_OCTAVES]
        coherence = np.mean(found.reflections_coherence[measures.SPEECH_OCTAVES])
        return (
            np.mean(lead**2)
            + over(abs(lead), 2.0)
            + 4.0 * over(found.single, SINGLE_LIMIT_DB - 0.4)
            + 4.0 * over(abs(found.phantom), PHANTOM_LIMIT_DB - 0.5)
            + 4.0 * over(abs(found.balance[BALANCED_OCTAVES]), BALANCE_LIMIT_DB - 0.2)
            + over(abs(found.balance), 3.0)
            + over(abs(found.reflections_level - self.design.reflections_db), 1.0)
            + over(10.0 * coherence, 10.0 * COHERENCE_LIMIT)
            + over(found.clarity, high) + over(-found.clarity, -low)
            + over(5.0 * DENSITY_WANTED, 5.0 * found.density_at(80))
            + over(abs(found.gap_ms - GAP_MS), 2.0)
            + 4.0 * over(found.loudness, LOUDNESS_LIMIT - 0.2)
        )


# What the check holds: some octaves have so few periods of so short a tail that chance decides.
LEAD_TOLERANCE_DB = 1.0  # mean over octaves
GAP_LIMIT_MS = 5.0
BALANCE_SLACK_DB = 0.25
LOUDNESS_SLACK = 0.2  # LU beyond LOUDNESS_LIMIT, for the hall


def problems(rooms):
    """Complaints about presets that miss their targets."""
    for name, room in rooms.items():
        found, wanted = figures.measure(room), DESIGNS[name]
        lead = found.direct_to_reverberant - wanted.direct_to_reverberant_db
        balance = np.abs(found.balance[BALANCED_OCTAVES]).max()
        low, high = wanted.clarity_db
        held = {
            f"direct to reverberant is {lead:+.1f} dB off": abs(lead) <= LEAD_TOLERANCE_DB,
            f"a loudspeaker is coloured by {found.single.max():.1f} dB": found.single.max() <= SINGLE_LIMIT_DB,
            f"a phantom centre is coloured by {np.abs(found.phantom).max():.1f} dB": np.abs(found.phantom).max()
            <= PHANTOM_LIMIT_DB,
            f"the tail's ears differ by {balance:.2f} dB": balance <= BALANCE_LIMIT_DB + BALANCE_SLACK_DB,
            f"the gap before the tail is {found.gap_ms:.1f} ms": 0.0 <= found.gap_ms <= GAP_LIMIT_MS,
            f"C80 is {found.clarity:.1f} dB": low <= found.clarity <= high,
            f"a bed is {found.loudness:.1f} LU louder": found.loudness <= LOUDNESS_LIMIT + LOUDNESS_SLACK,
        }
        yield from (f"{name}: {text}" for text, is_held in held.items() if not is_held)
