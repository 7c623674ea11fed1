#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Makes ambisonics/sphere_directions_table.cpp from sphere_directions.csv (needs python3-numpy)."""

import csv
from itertools import groupby
from math import cos, sin
from pathlib import Path

import numpy as np

from cpp_writer import ROOT, file_head, float_literal
from hrir import sphere

INPUT = Path(__file__).with_name("sphere_directions.csv")
PATH = ROOT / "ambisonics" / "sphere_directions_table.cpp"


def read_sets(path=INPUT):
    """Direction sets as {order: [(azimuth, elevation), ...]}, the angles as printed decimals."""
    with open(path, newline="") as file:
        rows = list(csv.DictReader(file))
    sets = {}
    for order, members in groupby(rows, key=lambda row: int(row["order"])):
        members = list(members)
        if [int(row["index"]) for row in members] != list(range((order + 1) ** 2)):
            raise ValueError(f"{path.name}: order {order} needs indices 0 to {order * (order + 2)}")
        sets[order] = [(row["azimuth"], row["elevation"]) for row in members]
    return sets


def render_direction(azimuth, elevation):
    """One initialiser: the angles, and the unit vector computed in double from the decimals."""
    a, e = float(azimuth), float(elevation)
    values = (a, e, cos(e) * cos(a), cos(e) * sin(a), sin(e))
    return "    {" + ", ".join(map(float_literal, values)) + "},"


def render(sets):
    """Text of the C++ file."""
    lines = [
        file_head(
            "tools/tables/make_sphere_directions.py",
            "tools/tables/sphere_directions.csv",
            "ambisonics/sphere_directions.h",
        ),
        "namespace {",
        "// clang-format off",
    ]
    for order, directions in sets.items():
        lines.append(f"\nconstexpr sphere_direction_t kOrder{order}[] = {{")
        lines += [render_direction(*angles) for angles in directions]
        lines.append("};")
    names = ", ".join(f"kOrder{order}" for order in sets)
    lines += [
        "\n// clang-format on",
        f"constexpr const sphere_direction_t* kSets[] = {{{names}}};",
        "",
        "}  // namespace",
        "",
        "const sphere_direction_t* sphere_directions(uint32_t order) {",
        f"  return order >= 1 && order <= {max(sets)} ? kSets[order - 1] : nullptr;",
        "}",
        "",
    ]
    return "\n".join(lines)


def describe(order, directions):
    """Markdown row: order, directions, closest pair in degrees, condition of the beam matrix."""
    azimuth, elevation = np.array(directions, dtype=float).T
    vectors = sphere.unit_vectors(azimuth, elevation)
    cosines = (vectors @ vectors.T)[np.triu_indices(len(vectors), k=1)]
    closest = np.degrees(np.arccos(cosines.max()))
    condition = np.linalg.cond(sphere.harmonics(azimuth, elevation, order))
    return f"| {order} | {len(directions)} | {closest:.1f} | {condition:.2f} |"


def main():
    sets = read_sets()
    PATH.write_text(render(sets))
    for order, directions in sets.items():
        print(describe(order, directions))


if __name__ == "__main__":
    main()
