#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Makes ambisonics/sh_hrir_table.cpp from measured head-related impulse responses.

Needs the Debian packages libmysofa1 (the measured set), python3-numpy, python3-scipy, python3-h5py
and python3-matplotlib. Prints the quality figures of docs/data.md and draws its plot. With the
package libopenblas0-serial it takes a quarter of the time.
"""

import argparse
import subprocess
import sys
import tempfile
from pathlib import Path

import numpy as np
from cpp_writer import ROOT
from hrir import constraints, measured_set, pipeline, provenance, quality_plot, report, table_file
from hrir.magnitude_fit import MagnitudeFit

PLOT_PATH = ROOT / "docs" / "sh_hrir_quality.svg"
FITTER = ROOT / "build" / "release" / "orvane-ears"
PROGRESS_STEPS = 100


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument(
        "--sofa", type=Path, help="another head: the plain fit of its left ear takes the table's place"
    )
    parser.add_argument(
        "--held-out", action="store_true", help="only print the figures on unseen directions"
    )
    parser.add_argument(
        "--search-alignment", action="store_true", help="only find the common all-pass again"
    )
    parser.add_argument("--plot", action="store_true", help="only draw the plot of the committed table again")
    return parser.parse_args()


def show_progress(step, parts):
    """Every hundredth step of the refinement and what the cost consists of."""
    if step % PROGRESS_STEPS == 0:
        shares = ", ".join(f"{name} {cost:.3f}" for name, cost in parts.items())
        print(f"step {step}: {sum(parts.values()):.4f} = {shares}", file=sys.stderr, flush=True)


def write_table(path):
    """Makes the table, refuses one that breaks its constraints, writes it and its figures."""
    result = pipeline.make_table(pipeline.prepare(path), show_progress)
    pipeline.check_constraints(result.table)
    table_file.PATH.write_text(table_file.render(result.table))
    provenance.PATH.write_text(provenance.render())
    quality_plot.draw(result, PLOT_PATH)
    print("\n".join(report.table(pipeline.evaluate_methods(result))))
    print(report.peaks_line(constraints.main_peaks(result.table)))


def draw_committed(hrtfs):
    """Draws the plot of the table as it is in the repository."""
    fit = MagnitudeFit(hrtfs)
    start = pipeline.stored(pipeline.start_table(fit))
    quality_plot.draw(pipeline.Result(table_file.read(), start, hrtfs, fit), PLOT_PATH)


def write_fitted_table(sofa):
    """Writes the table that orvane-ears fits to the left ear of any set, and its report."""
    with tempfile.TemporaryDirectory() as folder:
        tables = Path(folder) / "ears.npy"
        subprocess.run([FITTER, sofa, "--table", tables], check=True)
        left = np.load(tables)[measured_set.LEFT_EAR]
    table_file.PATH.write_text(table_file.render(left).replace(measured_set.DEFAULT_PATH.name, sofa.name))


def main():
    arguments = parse_arguments()
    measured = measured_set.DEFAULT_PATH
    if arguments.sofa:
        write_fitted_table(arguments.sofa)
    elif arguments.search_alignment:
        found, gain = pipeline.search_alignment(measured)
        print(f"{found}, gain {gain}")
    elif arguments.plot:
        draw_committed(pipeline.prepare(measured))
    elif arguments.held_out:
        methods = pipeline.evaluate_held_out(pipeline.prepare(measured), show_progress)
        print("\n".join(report.table(methods)))
    else:
        write_table(measured)


if __name__ == "__main__":
    main()
