# SPDX-License-Identifier: Apache-2.0
"""The common all-pass that puts the main peaks where the system has them.

A phase that both ears share is not heard as direction. It is zero up to 1.5 kHz but for a delay
of a few samples, then follows a smooth curve through a phase per octave or so. The parameters
below were found by `search`, which finds them again: `make_sh_hrir.py --search-alignment`.
"""

from dataclasses import dataclass

import numpy as np
from scipy.interpolate import PchipInterpolator
from scipy.optimize import minimize

from . import constraints, grid, table_format

KNOTS_HZ = np.array([1500.0, 2500.0, 4000.0, 6300.0, 10000.0, 16000.0])  # phase 0 at the first


@dataclass(frozen=True)
class Alignment:
    """Delay in samples, and the phase in radians at all knots but the first."""

    delay: float
    phases: tuple


ALIGNMENT = Alignment(delay=-0.901, phases=(-1.641, -2.679, -3.234, -2.823, -1.898))

SEARCH_PHASES = np.linspace(0.0, 2.0 * np.pi, 24, endpoint=False)
SEARCH_DELAYS = (-2.0, -1.0, 0.0, 1.0, 2.0)
SEARCH_STARTS = 16  # the best of the grid, each refined
SEARCH_EVALUATIONS = 800
NEIGHBOUR_LIMIT = 0.9  # of the pinned peak, for every other tap
ROUGHNESS_COST = 0.01


def all_pass(alignment):
    """Spectrum of magnitude 1 of an alignment."""
    knots = np.log2(KNOTS_HZ)
    curve = PchipInterpolator(knots, np.concatenate([[0.0], alignment.phases]))
    phase = curve(np.clip(grid.OCTAVES, knots[0], knots[-1]))
    return np.exp(1j * phase) * grid.delay_phase(alignment.delay / grid.SAMPLE_RATE)


def search(harmonic_spectra):
    """Finds the alignment and gain for an unaligned fit. Returns (Alignment, gain)."""
    spectra = harmonic_spectra[:2]  # the channels with pinned peaks
    cost = lambda values: _evaluate(values, spectra)[0]
    starts = [
        np.concatenate([[delay], np.full(len(KNOTS_HZ) - 1, phase)])
        for phase in SEARCH_PHASES
        for delay in SEARCH_DELAYS
    ]
    starts.sort(key=cost)
    options = {"maxfev": SEARCH_EVALUATIONS, "xatol": 1e-3, "fatol": 1e-6}
    found = [
        minimize(cost, start, method="Nelder-Mead", options=options)
        for start in starts[:SEARCH_STARTS]
    ]
    best = np.round(min(found, key=lambda result: result.fun).x, 3)
    gain = _evaluate(best, spectra)[1]
    return Alignment(float(best[0]), tuple(best[1:].tolist())), round(gain, 4)


def _evaluate(values, spectra):
    """Cost and gain of one candidate: pinned peaks met, neighbours lower, phase smooth."""
    taps = table_format.to_time(spectra * all_pass(Alignment(values[0], values[1:])))
    peaks = [(channel, tap) for tap, channel in constraints.PINNED_PEAKS]
    reached = np.array([taps[position] for position in peaks])
    wanted = np.array([constraints.PINNED[tap, channel] for channel, tap in peaks])
    gain = max(reached @ wanted / (reached @ reached), 1e-3)
    cost = np.sum((gain * reached / wanted - 1.0) ** 2)
    for (channel, tap), value in zip(peaks, wanted):
        others = gain * np.abs(np.delete(taps[channel], tap)) / abs(value)
        cost += np.sum(np.maximum(others - NEIGHBOUR_LIMIT, 0.0) ** 2)
    cost += ROUGHNESS_COST * np.sum(np.diff(values[1:], prepend=0.0) ** 2)
    return cost, float(gain)
