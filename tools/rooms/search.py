# SPDX-License-Identifier: Apache-2.0
"""The search that finds a preset's parameters for its design."""

import numpy as np

from . import figures, measures
from . import room as rooms
from .design import (
    BALANCE_LIMIT_DB, BALANCED_OCTAVES, COHERENCE_LIMIT, DENSITY_WANTED, LEVEL_OCTAVES, LOUDNESS_LIMIT, PHANTOM_LIMIT_DB,
    SINGLE_LIMIT_DB,
)  # fmt: skip

END_LEVEL = 0.001  # of the tail's envelope at the decay time
GAP_MS = 1.5  # aimed at, between the last reflection and the tail
JUDGED = (figures.CENTRE, figures.LEFT, figures.RIGHT, "BL", "SL", "TBL")  # the others mirror them nearly
CANDIDATES, STEPS, DRAWS = 120, 160, 40


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
        wanted = 10.0 ** (-self.design.lead_db / 10.0)
        reached = 10.0 ** (-found.direct_to_reverberant_octaves / 10.0)
        early = 10.0 ** (-found.direct_to_reflections_octaves / 10.0)
        tail = np.maximum(reached - early, 1e-6)[LEVEL_OCTAVES]
        missing = np.maximum(wanted - early, 0.1 * wanted)[LEVEL_OCTAVES]
        return np.sqrt(np.exp(np.mean(np.log(missing / tail))))

    def cost(self, found):
        """Squares of what lies beyond the limits, in units of about a decibel, all added up."""
        over = lambda value, limit: np.sum(np.maximum(np.asarray(value) - limit, 0.0) ** 2)
        low, high = self.design.clarity_db
        lead = (found.direct_to_reverberant_octaves - self.design.lead_db)[LEVEL_OCTAVES]
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
