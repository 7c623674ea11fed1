# SPDX-License-Identifier: Apache-2.0
"""Takes out the delay that each ring of measurements has of its own.

The set was measured ring by ring, one elevation after the other, and the rings start up to 0.1 ms
apart, at both ears alike. A head cannot do that. Low-order harmonics follow the delay of a head over
the sphere; what the rings have beyond that is taken out, so that the fit over the whole sphere does
not have to follow it.
"""

import numpy as np

from . import gap_filling, grid, sphere

DELAY_ORDER = 5
ZONAL_ORDER = 2  # harmonics that are constant on every ring: only these differ smoothly by ring
OFFSET_COST = 1e-4  # relative; leaves to the harmonics what both can describe


def ring_delays(hrtfs):
    """Delay in seconds of each direction's ring beyond a smooth delay over the sphere."""
    rings, ring = np.unique(np.round(np.degrees(hrtfs.elevation)), return_inverse=True)
    delays = gap_filling.onset_delays(hrtfs.spectra)
    zonal = sphere.channel_orders(DELAY_ORDER) == 0
    smooth = ~zonal | (sphere.channel_degrees(DELAY_ORDER) <= ZONAL_ORDER)
    basis = sphere.harmonics(hrtfs.azimuth, hrtfs.elevation, DELAY_ORDER)[:, smooth]
    offsets = np.eye(len(rings))[ring]
    columns = np.hstack([basis, offsets])
    penalty = np.diag(np.repeat([0.0, OFFSET_COST], [basis.shape[1], len(rings)]))
    weighted = columns.T * hrtfs.weights
    solution = np.linalg.solve(weighted @ columns + penalty, weighted @ delays)
    own = offsets @ solution[basis.shape[1] :]
    return own - hrtfs.weights @ own


def align_rings(hrtfs):
    """The set with the rings' own delays taken out."""
    return hrtfs.with_spectra(hrtfs.spectra * grid.delay_phase(-ring_delays(hrtfs)))
