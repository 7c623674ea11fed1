# SPDX-License-Identifier: Apache-2.0
"""The steps in order, shared by the generator and the check."""

from dataclasses import dataclass, replace

import numpy as np

from . import alignment, constraints, equalisation, gap_filling, measured_set, quality
from . import refinement, ring_alignment, table_format
from .magnitude_fit import MagnitudeFit
from .measured_set import HrtfSet
from .projection import project

TABLE = "the table"  # its name beside other methods
HELD_OUT_EVERY = 3  # direction and its mirror image, for the figures on directions that the fit has not seen


@dataclass(frozen=True)
class Result:
    """The table and what its quality is judged by.

    table                   (taps, channels) float32
    magnitude_least_squares  likewise: what the refinement started from
    hrtfs                   the responses that the tables approximate
    fit                     the plain fits of those responses
    """

    table: np.ndarray
    magnitude_least_squares: np.ndarray
    hrtfs: HrtfSet
    fit: MagnitudeFit


def prepare(path=measured_set.DEFAULT_PATH):
    """Measured responses, equalised, over the full sphere."""
    aligned = ring_alignment.align_rings(equalisation.without_bulk_delay(measured_set.load(path)))
    measured = equalisation.equalise(aligned)
    return equalisation.finish(gap_filling.fill_gap(measured))


def start_table(fit):
    """Both passes of the magnitude fit: the table (channels, taps) that the refinement starts from.

    The first pass runs without the alignment, whose phase it could not follow from bin to bin.
    """
    all_pass = alignment.all_pass(alignment.ALIGNMENT)
    return project(fit.turned(all_pass), fit.first_pass() * all_pass)


def make_table(hrtfs, progress=None):
    """Every step from the prepared responses on. Minutes: docs/data.md says how many."""
    fit = MagnitudeFit(hrtfs)
    start = start_table(fit)
    all_pass = alignment.all_pass(alignment.ALIGNMENT)
    refined = refinement.refine(hrtfs, start, all_pass, report=progress)
    return Result(stored(refined), stored(start), hrtfs, fit)


def stored(taps):
    """Taps (channels, taps) in the table's own layout and precision."""
    return np.ascontiguousarray(taps.T.astype(np.float32))


def table_spectra(table):
    """Harmonics' spectra (channels, bins) of a table (taps, channels)."""
    return table_format.to_spectra(table.T.astype(float))


def method_spectra(result):
    """Harmonics' spectra of the result's table and of the methods it builds on."""
    return {
        "least squares": result.fit.match_diffuse_field(result.fit.least_squares()),
        "magnitude least squares": table_spectra(result.magnitude_least_squares),
        TABLE: table_spectra(result.table),
    }


def evaluate_methods(result, directions=None):
    """Figures of the result's table beside the methods it builds on, by name."""
    return {
        name: quality.evaluate(spectra, result.hrtfs, directions)
        for name, spectra in method_spectra(result).items()
    }


def evaluate(table, hrtfs):
    """Figures of a table (taps, channels)."""
    return quality.evaluate(table_spectra(table), hrtfs)


def held_out_directions(hrtfs):
    """Indices of every third measured direction, counted in pairs of mirror images."""
    degrees = np.degrees([hrtfs.elevation, np.abs((hrtfs.azimuth + np.pi) % (2 * np.pi) - np.pi)])
    degrees = np.round(degrees[:, : hrtfs.num_measured], 1)
    _, pair = np.unique(degrees, axis=1, return_inverse=True)
    return np.flatnonzero(pair % HELD_OUT_EVERY == 1)


def evaluate_held_out(hrtfs, progress=None):
    """Fits without a third of the measured directions and evaluates on those alone."""
    held_out = held_out_directions(hrtfs)
    keep = np.ones(len(hrtfs.azimuth), bool)
    keep[held_out] = False
    result = make_table(hrtfs.subset(keep), progress)
    return evaluate_methods(replace(result, hrtfs=hrtfs), directions=held_out)


def search_alignment(path=measured_set.DEFAULT_PATH):
    """Finds the alignment and gain anew from the unaligned first pass."""
    return alignment.search(MagnitudeFit(prepare(path)).first_pass())


def check_constraints(table):
    """Raises ValueError when a table does not hold its constraints."""
    if found := constraints.violations(table):
        raise ValueError("; ".join(found))
