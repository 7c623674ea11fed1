# SPDX-License-Identifier: Apache-2.0
"""What each preset is to sound like, and the ranges of its parameters."""

from dataclasses import dataclass

import numpy as np

# Octaves in which the reverberant sound follows the direct sound's level; below, a tail of a fraction of
# a second has too few periods to have a level of its own.
LEVEL_OCTAVES = slice(1, 8)
BALANCED_OCTAVES = slice(2, 8)
# How much further than at 1 kHz the direct sound is to lead, per octave: air and walls take the highs.
HIGHS_LEAD_DB = np.array([0.0, 0.0, 0.0, 0.0, 0.0, 0.5, 1.5, 3.0])
SINGLE_LIMIT_DB, PHANTOM_LIMIT_DB = 3.0, 4.0
BALANCE_LIMIT_DB = 0.5
LOUDNESS_LIMIT = 1.0  # LU
DENSITY_WANTED = 0.9  # 80 ms after the direct sound
COHERENCE_LIMIT = 0.5  # of the reflections, 500 Hz to 2 kHz


@dataclass(frozen=True)
class Design:
    """Targets and ranges of one preset.

    decay_s                    of the tail alone, for a fall by 60 dB
    direct_to_reverberant_db   direct over all other sound at the front centre, up to 1 kHz
    reflections_db             against the direct sound, at the front centre, of a white impulse
    clarity_db                 range of C80 at the front centre
    ranges                     of the parameters that are searched
    """

    title: str
    decay_s: float
    direct_to_reverberant_db: float
    reflections_db: float
    clarity_db: tuple
    ranges: dict

    @property
    def lead_db(self):
        """Direct over all other sound per octave."""
        return self.direct_to_reverberant_db + HIGHS_LEAD_DB


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
        "A concert hall, as large as a room of the effect can be", 1.6, 3.0, -13.0, (3.0, 12.0),
        box((13, 14), (11, 14), (8, 12), (.05, .5), (.1, .6), (.05, .4), (.05, .4), (.3, .8), (-3, 1), SEATED),
    ),
}
