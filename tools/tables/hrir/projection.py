# SPDX-License-Identifier: Apache-2.0
"""The last step: taps that fit the responses and hold the constraints at the same time."""

from . import constraints, table_format

ITERATIONS = 200


def project(fit, harmonic_spectra, iterations=ITERATIONS):
    """Alternates between the fit and the table's constraints, ending on the constraints.

    Each round takes the free phases from the taps reached so far, fits, restores the diffuse
    field, then cuts to the window and imposes pins and peaks. Pins imposed within the rounds cost
    next to nothing, because the other taps make up for them; written into a finished table they
    would cost several dB in single bins.
    """
    taps = constraints.impose(table_format.to_taps(harmonic_spectra))
    for _ in range(iterations):
        fitted = fit.next_pass(table_format.to_spectra(taps))
        taps = constraints.impose(table_format.to_taps(fitted))
    return taps
