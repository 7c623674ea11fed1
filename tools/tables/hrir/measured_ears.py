"""What the measured ears tell left from right, for comparison with the renderer's.

The rows hold the equalised set around the horizon; the right ear is the mirror image.
"""

import numpy as np

from cpp_writer import FLOAT, ROOT, file_head

from . import grid, measured_set, quality, sphere

PATH = ROOT / "tools" / "validate" / "measured_ears_table.cpp"
TOLERANCE = 0.02  # dB and microseconds; values are rounded to hundredths
DEGREES = np.arange(0, 181, 5)
LOW_PASS_HALF_TAPS = 64
VALUES_PER_LINE = 10


def low_pass():
    """Gain per bin of the low-pass of tools/measure/ear_measure.cpp, a windowed sinc."""
    taps = np.arange(-LOW_PASS_HALF_TAPS, LOW_PASS_HALF_TAPS + 1)
    cutoff = 2.0 * quality.TIME_DIFFERENCE_HIGHEST_HZ / grid.SAMPLE_RATE
    window = 0.5 + 0.5 * np.cos(np.pi * taps / (LOW_PASS_HALF_TAPS + 1))
    weights = cutoff * np.sinc(cutoff * taps) * window
    return np.cos(2.0 * np.pi * np.outer(grid.FREQUENCIES, taps) / grid.SAMPLE_RATE) @ weights


def make(hrtfs):
    """Rows of azimuth (degrees), time difference (us) and level difference per band (dB)."""
    azimuth = np.radians(DEGREES)
    left = sphere.nearest_direction(hrtfs.azimuth, hrtfs.elevation, azimuth, 0.0 * azimuth)
    right = sphere.nearest_direction(hrtfs.azimuth, hrtfs.elevation, -azimuth, 0.0 * azimuth)
    ears = hrtfs.spectra[left], hrtfs.spectra[right]
    time = quality.time_differences(ears[0] * low_pass(), ears[1] * low_pass())
    level = quality.band_levels(ears[0]) - quality.band_levels(ears[1])
    return np.column_stack([DEGREES, np.round(time, 2), np.round(level, 2)])


def render(rows):
    """Text of the C++ file."""
    lines = [
        file_head(
            "tools/tables/make_measured_ears.py",
            f"{measured_set.DEFAULT_PATH.name}, see docs/data.md",
            "tools/validate/measured_ears.h",
        ),
        "namespace validate {",
        "",
        "// clang-format off",
        "const MeasuredEars kMeasuredEars[kMeasuredAzimuths] = {",
    ]
    for row in rows:
        azimuth, time, *level = (f"{value:.2f}f" for value in row + 0.0)
        lines += [f"    {{{azimuth}, {time}, {{"]
        for start in range(0, len(level), VALUES_PER_LINE):
            lines.append("      " + ", ".join(level[start : start + VALUES_PER_LINE]) + ",")
        lines.append("    }},")
    lines += ["};", "// clang-format on", "", "}  // namespace validate", ""]
    return "\n".join(lines)


def read():
    """Rows of the committed file."""
    values = FLOAT.findall(PATH.read_text().split("= {", 1)[1])
    return np.array(values, float).reshape(len(DEGREES), -1)
