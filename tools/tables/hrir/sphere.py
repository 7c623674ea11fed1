# SPDX-License-Identifier: Apache-2.0
"""Directions and quadrature weights on the sphere; the harmonics are those of the package measure."""

import numpy as np
from scipy.spatial import SphericalVoronoi

from measure.sphere import (  # the generator's modules take all of it from here
    DEGREES,
    MIRROR_SIGNS,
    NUM_CHANNELS,
    ORDER,
    channel_degrees,
    channel_orders,
    harmonics,
    nearest_direction,
    unit_vectors,
)


def area_weights(azimuth, elevation):
    """Share of the sphere that is closest to each direction (spherical Voronoi cells)."""
    cells = SphericalVoronoi(unit_vectors(azimuth, elevation))
    return cells.calculate_areas() / (4.0 * np.pi)
