# SPDX-License-Identifier: Apache-2.0
"""The last step: all 25 x 256 values at once, optimised for what is heard.

The start is the magnitude least-squares fit, which is blind to time above 2 kHz. L-BFGS (Byrd, Lu,
Nocedal and Zhu, "A limited memory algorithm for bound constrained optimization", SIAM Journal on
Scientific Computing 16, 1995) follows the analytic slope of one cost over the whole sphere.
"""

from dataclasses import dataclass

import numpy as np
from scipy.optimize import minimize

from . import constraints, grid, sphere, table_format
from .cost_ears import EnvelopeDelays, FineStructure, Levels, LoudspeakerPairs, LowFrequencies
from .cost_field import Compactness, DiffuseField, Peaks
from .cost_target import Field, Target

ITERATIONS = 2000
MEMORY = 20  # past steps that shape the next one


@dataclass(frozen=True)
class Weights:
    """What each term counts: a balance of the figures in docs/data.md, which hold on unseen directions."""

    front: float = 3.0  # of directions there, in all terms
    level: float = 2.0
    loudness_exponent: float = 0.3  # more weight to loud directions
    level_difference: float = 0.3
    fine_structure: float = 0.25
    low_frequencies: float = 100.0
    envelope_delay: float = 0.15
    envelope_difference: float = 0.3
    pairs: float = 0.3
    front_pairs: float = 1.5
    diffuse_level: float = 2.0
    coherence: float = 30.0
    compactness: float = 1.0
    peaks: float = 2e4


class Cost:
    """The cost of a table and its slope, over the values that are free."""

    def __init__(self, target, weights=Weights()):
        w = weights
        self.target = target
        self.terms = {
            "levels": Levels(target, w.level, w.level_difference, w.loudness_exponent),
            "fine structure": FineStructure(target, w.fine_structure),
            "low frequencies": LowFrequencies(target, w.low_frequencies),
            "envelope delays": EnvelopeDelays(target, w.envelope_delay, w.envelope_difference),
            "pairs": LoudspeakerPairs(target, w.pairs, w.front_pairs),
            "diffuse field": DiffuseField(target, w.diffuse_level, w.coherence),
            "compactness": Compactness(target, w.compactness),
            "peaks": Peaks(w.peaks, table_format.GAIN),
        }
        self.window = np.broadcast_to(
            table_format.window(), (sphere.NUM_CHANNELS, table_format.TAPS)
        )
        self.free = np.ones(self.window.shape, bool)
        for tap, channel in constraints.PINNED:
            self.free[channel, tap] = False
        self.parts = {}

    def values(self, taps):
        """The free values of a table (channels, taps): without window and gain."""
        return (taps / self.window)[self.free] / table_format.GAIN

    def taps(self, values):
        """The table (channels, taps) of free values, windowed, with its pinned entries."""
        taps = np.zeros(self.window.shape)
        taps[self.free] = values * self.window[self.free] * table_format.GAIN
        for (tap, channel), value in constraints.PINNED.items():
            taps[channel, tap] = value
        return taps

    def __call__(self, values):
        """Cost and slope; `parts` holds what each term cost."""
        taps = self.taps(values)
        field = Field(self.target, taps, table_format.to_spectra(taps))
        self.parts = {name: term(field) for name, term in self.terms.items()}
        slope = field.taps_slope + table_format.taps_slope(field.total_harmonics_slope(self.target))
        slope = slope[self.free] * self.window[self.free] * table_format.GAIN
        return sum(self.parts.values()), slope


def refine(hrtfs, taps, all_pass, weights=Weights(), iterations=ITERATIONS, report=None):
    """Returns the taps (channels, taps) of least cost near those given, with all constraints held."""
    cost = Cost(Target(hrtfs, all_pass, weights.front), weights)
    done = [0]

    def progress(_):
        done[0] += 1
        if report:
            report(done[0], cost.parts)

    options = {"maxiter": iterations, "maxfun": 2 * iterations, "maxcor": MEMORY}
    options |= {"ftol": 1e-9, "gtol": 1e-9}
    found = minimize(
        cost, cost.values(taps), jac=True, method="L-BFGS-B", callback=progress, options=options
    )
    return constraints.impose(cost.taps(found.x))
