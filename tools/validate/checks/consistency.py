# SPDX-License-Identifier: Apache-2.0
"""What is encoded and turned can be read back, by solving and by facing it."""

import numpy as np

from measure import charts, sphere
from measure.levels import difference_db, power_db
from measure.random import Random

from ..geometry import head, heard_from, random_head
from ..section import Section

POSES = 25
ORDERS = range(1, 5)
ERROR = charts.Axis("error (dB)", -160.0, -60.0, 20.0)

# Layout, loudspeaker, the turn towards it, and what a head at rest hears as that head hears it.
FACINGS = [
    ("7.1", "FL", head(45.0), "FC"),
    ("7.1", "FR", head(-45.0), "FC"),
    ("7.1", "SL", head(90.0), "FC"),
    ("7.1", "BR", head(-135.0), "FC"),
    ("22.2", "TC", head(0.0, -90.0), "FC"),
    ("22.2", "TSL", head(90.0, -45.0), "FC"),
    ("22.2", "SR", head(0.0, 0.0, 90.0), "TC"),
]


def round_trip_error_db(subject, order, turned):
    """As many signals as channels, from all around, each a frame; read back from where the head hears them."""
    count = (order + 1) ** 2
    directions = sphere.spread_directions(count)
    field = subject.encode(np.eye(count, dtype=np.float32), directions, order)
    found = subject.rotate(field, order, vector=turned.as_rotvec())
    decoded = np.linalg.solve(sphere.harmonics(*heard_from(turned, *directions), order).T, found.astype(float))
    return power_db((np.abs(decoded - np.eye(count)) ** 2).max())


def facing_error_db(subject, layout, speaker, towards, heard_as, lean):
    """The largest difference of the ears, of which both heads lean besides."""
    bed = subject.bed(layout)
    bed.settle_head(towards * lean)
    found = bed.respond(speaker)
    bed.settle_head(lean)
    return difference_db(found, bed.respond(heard_as))


def check(subject, limits):
    section = Section(
        "consistency", "Encode, rotate, decode",
        "As many signals as there are channels are encoded from all around, turned, and read back from where the head"
        " hears them. And through the whole effect: a loudspeaker that the head turns towards sounds as the centre does"
        " ahead, whether both heads are upright or lean.", limits)  # fmt: skip
    chart = charts.Chart("Encode, turn, decode: error of the signals", charts.Axis("ambisonic order", 0.5, 4.5), ERROR)
    errors = []
    for order in ORDERS:
        random = Random(order)
        errors.append([round_trip_error_db(subject, order, random_head(random)) for _ in range(POSES)])
        chart.dots(order + np.linspace(-0.3, 0.3, POSES), errors[-1], charts.LEFT, "" if order > 1 else "one random head")
    chart.names(list(ORDERS), map(str, ORDERS))
    limit = section.add("round_trip", np.max(errors))
    chart.level(limit.at_most, charts.LIMIT, "limit")
    section.draw(chart)
    random = Random(1)
    section.add("facing", np.max([facing_error_db(subject, *facing, lean) for facing in FACINGS
                                  for lean in (head(), random_head(random))]))
    return section
