# SPDX-License-Identifier: Apache-2.0
"""Ears of one's own, from measurements."""

from __future__ import annotations

import os
import pathlib
import shutil
import subprocess
import tempfile

import numpy as np

from orvane._library import LIBRARY_PATH
from orvane._samples import Samples

_PROGRAM = "orvane-ears"


def load_ears(sofa: str | os.PathLike[str]) -> Samples:
    """The response tables that the program orvane-ears fits to a SOFA file (SimpleFreeFieldHRIR).

    Shape (2 ears, 256 taps at 48 kHz, 25 channels, ACN and SN3D), for `Renderer(ears=...)` or
    `Renderer.set_responses(*tables)`. A file's first use takes a second or two; later ones come from
    the program's cache ($XDG_CACHE_HOME/orvane/ears). Raises RuntimeError where the program is not
    installed, ValueError with its words where it cannot use the file.
    """
    with tempfile.TemporaryDirectory() as folder:
        table = pathlib.Path(folder, "ears.npy")
        done = subprocess.run([_find_program(), os.path.abspath(sofa), "--table", table], stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, errors="replace")
        if done.returncode != 0:
            lines = done.stderr.strip().splitlines() or [f"{_PROGRAM} ended with {done.returncode}"]
            raise ValueError(lines[-1].removeprefix(f"{_PROGRAM}: "))
        tables: Samples = np.load(table)
    return tables


def _find_program() -> str:
    """That of the library's build folder or prefix, else of the PATH."""
    for place in pathlib.Path(LIBRARY_PATH).resolve().parents:
        for program in (place / _PROGRAM, place / "bin" / _PROGRAM):
            if os.access(program, os.X_OK) and program.is_file():
                return str(program)
    if found := shutil.which(_PROGRAM):
        return found
    raise RuntimeError(f"{_PROGRAM} is not installed, which reads SOFA files (Debian: orvane-tools)")
