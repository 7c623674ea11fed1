# SPDX-License-Identifier: Apache-2.0
"""How a table of responses answers from any direction: functions of azimuths and elevations in radians that return
responses of shape (directions, 2, frames)."""

import numpy as np

from measure import erb

from .geometry import head_hearing_ahead_at


def of_effect(bed):
    """The library's table, through the effect: the centre loudspeaker for heads that hear it from there."""

    def respond(azimuth, elevation):
        responses = []
        for direction in zip(*np.broadcast_arrays(azimuth, elevation)):
            bed.settle_head(head_hearing_ahead_at(*direction))
            responses.append(bed.respond("FC"))
        return np.array(responses)

    return respond


def spectra(respond, azimuth, elevation):
    """Of both ears, (directions, 2, bins)."""
    return np.fft.rfft(respond(azimuth, elevation), erb.TRANSFORM)
