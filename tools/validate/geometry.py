# SPDX-License-Identifier: Apache-2.0
"""Heads, as scipy Rotations in the room frame (+x ahead, +y left, +z up), and what they hear from where.

Directions are pairs of azimuths and elevations in radians.
"""

import numpy as np
from scipy.spatial.transform import Rotation

from measure import sphere


def head(yaw_deg=0.0, pitch_deg=0.0, roll_deg=0.0):
    """Turned about the head's own axes, yaw first: positive to the left, nose down, towards the right shoulder."""
    return Rotation.from_euler("ZYX", [yaw_deg, pitch_deg, roll_deg], degrees=True)


def heard_from(turned, azimuth, elevation):
    """The directions in which a head that is turned hears others."""
    return sphere.directions_of(turned.inv().apply(sphere.unit_vectors(azimuth, elevation)))


def head_hearing_ahead_at(azimuth, elevation):
    """The head that hears in this direction what stands straight ahead of a head at rest."""
    return Rotation.from_euler("ZY", [azimuth, -elevation]).inv()


def random_head(random):
    """Uniform over all orientations."""
    w, x, y, z = random.quaternion()
    return Rotation.from_quat([x, y, z, w])


def angle_deg(turned):
    return np.degrees(turned.magnitude())
