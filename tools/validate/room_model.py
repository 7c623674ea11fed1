# SPDX-License-Identifier: Apache-2.0
"""The reflections that a shoebox room should have, in double precision and independent of the library."""

from dataclasses import dataclass

import numpy as np

from measure import sphere
from measure.constants import SPEED_OF_SOUND

LOSS_PER_METRE = 0.00137  # of the amplitude, see docs/parameters.md


@dataclass(frozen=True)
class Room:
    """Metres; the walls in the order front, back, left, right, ceiling, floor."""

    size: tuple  # length, width, height
    absorption: tuple
    listener: tuple  # from the middle, the height from the floor


def echoes(room, azimuth, elevation, rate_hz):
    """The six first-order echoes of a loudspeaker one metre from the listener: delays in samples, gains, directions.

    Image sources: J. B. Allen and D. A. Berkley, J. Acoust. Soc. Am. 65, 1979. Loudspeaker and listener have to be 0.1
    m or more from every wall.
    """
    size, listener = np.array(room.size), np.array(room.listener)
    listener = listener - [0.0, 0.0, 0.5 * size[2]]
    images = np.tile(sphere.unit_vectors(azimuth, elevation), (6, 1))  # from the listener, who hears them there
    walls = np.arange(6)
    axis, sign = walls // 2, np.where(walls % 2, -1.0, 1.0)
    images[walls, axis] = 2.0 * (0.5 * sign * size[axis] - listener[axis]) - images[walls, axis]
    path = np.linalg.norm(images, axis=1)
    longer = np.maximum(path, 1.0)
    gain = (1.0 - np.array(room.absorption)) / longer - LOSS_PER_METRE * longer
    return path / SPEED_OF_SOUND * rate_hz, gain, sphere.directions_of(images)
