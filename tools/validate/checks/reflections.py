# SPDX-License-Identifier: Apache-2.0
"""Early reflections against image sources."""

from dataclasses import dataclass

import numpy as np

from measure import charts, sphere
from measure.levels import difference, difference_db, power_db

from ..geometry import head_hearing_ahead_at
from ..room_model import Room, echoes
from ..section import Section

ORDER = 4
FRAMES = 4096
QUIET = 1e-6  # of the impulse: below any echo, above rounding
ROOMS = [
    Room((5.0, 6.0, 4.0), (0.2, 0.2, 0.2, 0.2, 0.11, 0.63), (0.0, 0.0, 1.6)),  # the defaults
    Room((9.0, 7.0, 3.0), (0.1, 0.5, 0.3, 0.7, 0.25, 0.4), (1.5, -1.2, 1.4)),
    Room((3.2, 12.0, 5.5), (0.05, 0.15, 0.9, 0.35, 0.6, 0.45), (-0.3, 3.0, 3.1)),
]
DRAWN_ROOM = ROOMS[1]
LABEL_MS = 4.0  # echoes closer than that have their names at different heights
WALLS = ("front", "back", "left", "right", "ceiling", "floor")
AXES = (("length", "x"), ("width", "y"), ("height", "z"))
FRONT_LEFT = np.radians((45.0, 0.0))  # of 7.1


@dataclass
class Worst:
    """Off the exact delay; level; all channels, which is direction and level in one; sound where there is no echo."""

    delay: float = 0.0
    level: float = 0.0
    field: float = -1000.0
    unexpected: int = 0

    def compare(self, expected, found):
        """The echoes of one loudspeaker with the field (channels, frames) that was found."""
        delays, gains, directions = expected
        sounding = np.flatnonzero(np.abs(found[0]) > QUIET)
        # Each is heard in the nearest whole frame, or else in the nearest that sounds.
        heard = [int(sounding[np.abs(sounding - round(delay)).argmin()]) for delay in delays] if len(sounding) else [0] * 6
        self.delay = np.maximum(self.delay, np.abs(heard - delays).max())
        waves = gains[:, None] * sphere.harmonics(*directions, ORDER)
        frames = np.unique(heard)
        exact = np.array([waves[heard == frame].sum(axis=0) for frame in frames])
        at = found[:, frames].T.astype(float)
        error = ((at - exact) ** 2).sum(axis=1) / (exact**2).sum(axis=1)
        self.field = np.maximum(self.field, power_db(error).max())
        with np.errstate(divide="ignore"):
            self.level = np.maximum(self.level, np.abs(20.0 * np.log10(np.abs(at[:, 0] / exact[:, 0]))).max())
        self.unexpected += len(np.setdiff1d(sounding, frames))


def response(room_field, direction):
    """The reflections alone of an impulse as a plane wave.

    There are as many virtual loudspeakers as channels, so one from the direction of a loudspeaker is in it alone.
    """
    impulse = np.zeros(((ORDER + 1) ** 2, FRAMES), np.float32)
    impulse[:, 0] = sphere.harmonics(*np.reshape(direction, (2, 1)), ORDER)[0]
    return room_field.process(impulse)


def check_rooms(subject):
    worst = Worst()
    for room in ROOMS:
        for mode in range(1, ORDER + 1):
            with subject.room_field(room, mode) as field:
                for direction in np.transpose(field.loudspeakers):
                    worst.compare(echoes(room, *direction, subject.rate_hz), response(field, direction))
    return worst


def draw_echoes(subject):
    """One loudspeaker of mode 1."""
    size = " x ".join(f"{metres:g}" for metres in DRAWN_ROOM.size)
    level = charts.Axis("level (dB)", -60.0, 0.0, 10.0)
    chart = charts.Chart(f"Echoes of one virtual loudspeaker, {size} m",
                         charts.Axis("time after the direct sound (ms)", 0.0, 50.0, 10.0), level)
    with subject.room_field(DRAWN_ROOM, 1) as field:
        direction = np.transpose(field.loudspeakers)[1]
        found = response(field, direction)[0].astype(float)
    delays, gains, _ = echoes(DRAWN_ROOM, *direction, subject.rate_hz)
    raised, before = 0.0, -np.inf
    for delay, level_db, wall in sorted(zip(1000.0 * delays / subject.rate_hz, power_db(gains**2), WALLS)):
        raised = 11.0 if delay - before < LABEL_MS and not raised else 0.0  # where two labels would meet
        before = delay
        chart.upright(delay, charts.REFERENCE, top=level_db)
        chart.words(delay, level_db, wall, down=-8.0 - raised)
    at = np.flatnonzero(np.abs(found) > QUIET)
    chart.dots(1000.0 * at / subject.rate_hz, power_db(found[at] ** 2), charts.LEFT, "dots: rendered; lines: geometry")
    return chart


def set_room(bed, room, mode):
    for (size, position), metres, listener in zip(AXES, room.size, room.listener):
        bed.set(f"room.{size}", metres)
        bed.set(f"listener.{position}", listener)
    for wall, absorption in zip(WALLS, room.absorption):
        bed.set(f"absorption.{wall}", absorption)
    bed.set("reflections.mode", mode)


def ears_error_db(subject):
    """The ears of a whole effect in mode 4 against the sum of all echoes, each heard from where it arrives."""
    dry, wet = subject.bed("7.1"), subject.bed("7.1")
    set_room(wet, DRAWN_ROOM, 4.0)
    found = difference(wet.respond("FL", FRAMES), dry.respond("FL", FRAMES))
    with subject.room_field(DRAWN_ROOM, 4) as field:
        loudspeakers = field.loudspeakers
    wave = sphere.harmonics(*FRONT_LEFT.reshape(2, 1), ORDER)[0]
    feeds = np.linalg.solve(sphere.harmonics(*loudspeakers, ORDER).T, wave)
    total = np.zeros((2, FRAMES))
    for feed, direction in zip(feeds, np.transpose(loudspeakers)):
        for delay, gain, *angles in zip(*(lambda d, g, a: (d, g, *a))(*echoes(DRAWN_ROOM, *direction, subject.rate_hz))):
            dry.settle_head(head_hearing_ahead_at(*angles))
            heard = dry.respond("FC")
            start = round(delay)
            total[:, start : start + heard.shape[1]] += feed * gain * heard
    return difference_db(found, total)


def check(subject, limits):
    section = Section(
        "reflections", "Reflections against the room's geometry",
        "Every virtual loudspeaker of every mode in three rooms: delay, level and direction of its six echoes against"
        " image sources in double precision. And the ears of the whole effect in a room with six different walls"
        " against the sum of 150 echoes, each rendered without a room for a head that hears it from where it should"
        " arrive.", limits)  # fmt: skip
    worst = check_rooms(subject)
    section.add("delay", worst.delay)
    section.add("level", worst.level)
    section.add("field", worst.field)
    section.add("unexpected", worst.unexpected)
    section.add("ears", ears_error_db(subject))
    section.draw(draw_echoes(subject))
    return section
