# SPDX-License-Identifier: Apache-2.0
"""The C++ file that holds the table: writing it and reading it back."""

import numpy as np

from cpp_writer import FLOAT, ROOT, file_head, float_literal

from . import measured_set, sphere, table_format

PATH = ROOT / "ambisonics" / "sh_hrir_table.cpp"
VALUES_PER_LINE = 5


def render(table):
    """Text of the file for a table (taps, channels), one group of lines per tap."""
    lines = [
        file_head(
            "tools/tables/make_sh_hrir.py",
            f"{measured_set.DEFAULT_PATH.name}, see docs/data.md",
            "ambisonics/sh_hrir.h",
        ),
        "// clang-format off",
        "const float binauralizer_sh_hrir[SH_HRIR_TAPS * SH_HRIR_CHANNELS] = {",
    ]
    for tap, values in enumerate(table):
        lines.append(f"    // Tap {tap}.")
        for start in range(0, len(values), VALUES_PER_LINE):
            row = values[start : start + VALUES_PER_LINE]
            lines.append("    " + ", ".join(map(float_literal, row)) + ",")
    lines += ["};", "// clang-format on", ""]
    return "\n".join(lines)


def read(path=PATH):
    """Table of a written file, (taps, channels) float32."""
    body = path.read_text().split("= {", 1)[1]
    values = np.array(FLOAT.findall(body), dtype=np.float64).astype(np.float32)
    return values.reshape(table_format.TAPS, sphere.NUM_CHANNELS)
