# SPDX-License-Identifier: Apache-2.0
"""Spherical harmonics and directions on the sphere, in double precision.

Real harmonics in ACN order with SN3D normalisation and no Condon-Shortley phase (Nachbar et al.,
"AmbiX - a suggested ambisonics format", 2011). Angles in radians; azimuth grows to the left.
"""

from math import factorial

import numpy as np
from scipy.special import lpmv

from measure import constants

ORDER = constants.MAX_ORDER


def channel_degrees(order=ORDER):
    """Degree n of every channel."""
    return np.array([n for n in range(order + 1) for _ in range(-n, n + 1)])


def channel_orders(order=ORDER):
    """Order m of every channel, -n to n within each degree."""
    return np.array([m for n in range(order + 1) for m in range(-n, n + 1)])


DEGREES = channel_degrees()
NUM_CHANNELS = len(DEGREES)
# A source mirrored to the other side flips the channels of negative order.
MIRROR_SIGNS = np.where(channel_orders() < 0, -1.0, 1.0)


def harmonics(azimuth, elevation, order=ORDER):
    """Spherical harmonics of every direction, shape (directions, (order + 1)^2)."""
    columns = []
    for n, m in zip(channel_degrees(order), channel_orders(order)):
        a = abs(m)
        norm = np.sqrt((2.0 if a else 1.0) * factorial(n - a) / factorial(n + a))
        # lpmv includes the Condon-Shortley phase; (-1)^a takes it out again.
        legendre = (-1.0) ** a * lpmv(a, n, np.sin(elevation))
        trigonometric = np.cos(a * azimuth) if m >= 0 else np.sin(a * azimuth)
        columns.append(norm * legendre * trigonometric)
    return np.stack(columns, axis=1)


def unit_vectors(azimuth, elevation):
    """Unit vectors (x ahead, y left, z up), shape (directions, 3)."""
    azimuth, elevation = np.broadcast_arrays(azimuth, elevation)
    return np.stack(
        [
            np.cos(elevation) * np.cos(azimuth),
            np.cos(elevation) * np.sin(azimuth),
            np.sin(elevation),
        ],
        axis=-1,
    )


def nearest_direction(azimuth, elevation, target_azimuth, target_elevation):
    """Index of the direction closest to each target."""
    targets = unit_vectors(target_azimuth, target_elevation)
    return (targets @ unit_vectors(azimuth, elevation).T).argmax(axis=-1)


def directions_of(vectors):
    """Azimuth and elevation of vectors, shape (..., 3); the reverse of unit_vectors."""
    x, y, z = np.moveaxis(np.asarray(vectors, float), -1, 0)
    return np.arctan2(y, x), np.arctan2(z, np.hypot(x, y))


def spread_directions(count):
    """Azimuths and elevations spread evenly over the sphere.

    A. Gonzalez, "Measurement of areas on a sphere using Fibonacci and latitude-longitude lattices",
    Mathematical Geosciences 42, 2010.
    """
    position = np.arange(count)
    golden_turn = np.pi * (3.0 - np.sqrt(5.0))
    azimuth = np.mod(golden_turn * position + np.pi, 2.0 * np.pi) - np.pi
    return azimuth, np.arcsin((2.0 * position + 1.0) / count - 1.0)
