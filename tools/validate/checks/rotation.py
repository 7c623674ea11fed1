# SPDX-License-Identifier: Apache-2.0
"""The rotator against the harmonics of turned directions."""

import numpy as np
from scipy.spatial.transform import Rotation

from measure import charts, sphere
from measure.levels import power_db
from measure.random import Random

from ..geometry import angle_deg, heard_from, random_head
from ..section import Section

POSES = 200
DIRECTIONS = sphere.spread_directions(64)
PITCH_SPARED = 1.0  # degrees around +90 that the Euler formats move (docs/conventions.md)
TURN = charts.Axis("turn of the head (degrees)", 0.0, 180.0, 30.0)
ERROR = charts.Axis("error (dB)", -160.0, -60.0, 20.0)


def random_vector(random):
    """A head, and how the rotator is told of it."""
    turned = random_head(random)
    return turned, {"vector": turned.as_rotvec()}


def random_angles(random):
    """Yaw, pitch and roll, in this order, about the axes of the room."""
    yaw, pitch, roll = (random.unit(3) - 0.5) * 360.0
    if abs(pitch - 90.0) <= PITCH_SPARED:
        pitch -= 2.0 * PITCH_SPARED
    return Rotation.from_euler("zyx", [yaw, pitch, roll], degrees=True), {"yaw_pitch_roll": (yaw, pitch, roll)}


def error_db(subject, order, turned, orientation):
    """Of a turned field, whose frames are plane waves, against its exact harmonics: the worst direction."""
    found = subject.rotate(sphere.harmonics(*DIRECTIONS, order).T, order, **orientation).T
    exact = sphere.harmonics(*heard_from(turned, *DIRECTIONS), order)
    return power_db((((found - exact) ** 2).sum(axis=1) / (exact**2).sum(axis=1)).max())


def check(subject, limits):
    section = Section(
        "rotation", "Rotation against the analytic one",
        "Plane waves from 64 directions are turned for random heads, given as rotation vectors and as yaw, pitch and"
        " roll, and compared with the spherical harmonics of the turned directions in double precision. A dot is the"
        " worst direction of one head.", limits)  # fmt: skip
    for order in range(1, 5):
        random = Random(order)
        points = []
        for i in range(POSES):
            turned, orientation = (random_angles if i % 2 else random_vector)(random)
            points.append((angle_deg(turned), error_db(subject, order, turned, orientation)))
        points = np.array(points)
        limit = section.add(f"order_{order}", points[:, 1].max())
        chart = charts.Chart(f"Order {order}", TURN, ERROR)
        chart.dots(*points[0::2].T, charts.LEFT, "vectors")
        chart.dots(*points[1::2].T, charts.RIGHT, "angles")
        chart.level(limit.at_most, charts.LIMIT, "limit")
        section.draw(chart)
    return section
