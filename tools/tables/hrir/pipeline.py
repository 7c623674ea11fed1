"""The steps in order, shared by the generator and the check."""

from dataclasses import dataclass

import numpy as np

from . import alignment, constraints, equalisation, gap_filling, measured_set, quality
from . import table_format
from .magnitude_fit import MagnitudeFit
from .measured_set import HrtfSet
from .projection import project

HELD_OUT_EVERY = 4  # for the figures on directions that the fit has not seen


@dataclass(frozen=True)
class Result:
    """The table and what its quality is judged by.

    table           (taps, channels) float32
    hrtfs           the responses that the table approximates
    least_squares   harmonics' spectra of two plain methods, for comparison
    least_squares_equalised
    """

    table: np.ndarray
    hrtfs: HrtfSet
    least_squares: np.ndarray
    least_squares_equalised: np.ndarray


def prepare(path=measured_set.DEFAULT_PATH):
    """Measured responses, equalised, over the full sphere."""
    measured = equalisation.equalise(measured_set.load(path))
    return equalisation.finish(gap_filling.fill_gap(measured))


def fit_table(fit):
    """Runs both passes of a fit and returns the table, (taps, channels) float32.

    The first pass runs without the alignment, whose phase it could not follow from bin to bin.
    """
    all_pass = alignment.all_pass(alignment.ALIGNMENT)
    taps = project(fit.turned(all_pass), fit.first_pass() * all_pass)
    return np.ascontiguousarray(taps.T.astype(np.float32))


def make_table(path=measured_set.DEFAULT_PATH):
    """Runs every step on the measured set. About 15 s."""
    hrtfs = prepare(path)
    fit = MagnitudeFit(hrtfs)
    plain = fit.least_squares()
    return Result(fit_table(fit), hrtfs, plain, fit.match_diffuse_field(plain))


def table_spectra(table):
    """Harmonics' spectra (channels, bins) of a table (taps, channels)."""
    return table_format.to_spectra(table.T.astype(float))


def evaluate_methods(result, table=None):
    """Quality of a table (the result's own unless given) beside the plain methods, by name."""
    table = result.table if table is None else table
    spectra = {
        "least squares": result.least_squares,
        "least squares, diffuse field matched": result.least_squares_equalised,
        "the table": table_spectra(table),
    }
    return {name: quality.evaluate(value, result.hrtfs) for name, value in spectra.items()}


def evaluate_held_out(hrtfs):
    """Fits without every fourth measured direction and evaluates on those alone."""
    held_out = np.arange(0, hrtfs.num_measured, HELD_OUT_EVERY)
    keep = np.ones(len(hrtfs.azimuth), bool)
    keep[held_out] = False
    table = fit_table(MagnitudeFit(hrtfs.subset(keep)))
    return quality.evaluate(table_spectra(table), hrtfs, held_out)


def search_alignment(path=measured_set.DEFAULT_PATH):
    """Finds the alignment and gain anew from the unaligned first pass."""
    return alignment.search(MagnitudeFit(prepare(path)).first_pass())


def check_constraints(table):
    """Raises ValueError when a table does not hold its constraints."""
    if found := constraints.violations(table):
        raise ValueError("; ".join(found))
