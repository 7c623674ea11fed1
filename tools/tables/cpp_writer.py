"""Pieces of generated C++ shared by the table generators, which find the package measure through this module."""

import re
import sys
from pathlib import Path

import numpy as np

ROOT = Path(__file__).resolve().parents[2]  # of the source tree
sys.path.append(str(ROOT / "tools"))

FLOAT = re.compile(r"[-+]?\d+\.?\d*(?:e[-+]?\d+)?(?=f)")


def float_literal(value):
    """Nine-digit literal; it reads back as the same float32."""
    text = f"{np.float32(value):.9g}"
    return text + ("f" if "." in text or "e" in text else ".0f")


def file_head(generator, source, include):
    """First lines of a generated file: what made it, from what, and its own header."""
    return (
        "// SPDX-License-Identifier: Apache-2.0\n"
        f"// Made by {generator} from {source}.\n"
        "// Do not edit: change the generator and run it again.\n"
        f'#include "{include}"\n'
    )
