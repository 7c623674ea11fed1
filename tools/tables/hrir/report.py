# SPDX-License-Identifier: Apache-2.0
"""The quality figures as the Markdown table that docs/data.md shows."""


def table(methods):
    """Lines of a table with a row per figure and a column per method.

    `methods` maps a method's name to its figures by name.
    """
    names = list(next(iter(methods.values())))
    lines = ["| | " + " | ".join(methods) + " |", "|---|" + "---|" * len(methods)]
    for name in names:
        values = (_text(name, figures[name]) for figures in methods.values())
        lines.append(f"| {name} | " + " | ".join(values) + " |")
    return lines


def _text(name, value):
    if "envelope" in name:
        return f"{value:.0f}"
    return f"{value:.1f}" if "(us)" in name or "energy" in name else f"{value:.2f}"


def peaks_line(peaks):
    """The tap of every channel's main peak, grouped by degree."""
    groups = [peaks[n * n : (n + 1) ** 2] for n in range(5)]
    return "Main peaks, by degree: " + " | ".join(" ".join(map(str, group)) for group in groups)
