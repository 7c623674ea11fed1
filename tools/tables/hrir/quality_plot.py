"""The plot of docs/data.md: four views of how the table compares with the measurement."""

import matplotlib

matplotlib.use("Agg")
matplotlib.rcParams["svg.hashsalt"] = "sh_hrir"  # the same file from the same figures

import matplotlib.pyplot as plt
import numpy as np
from matplotlib.ticker import FuncFormatter, NullFormatter

from . import quality, sphere
from .pipeline import table_spectra

METHOD_COLOURS = {
    "least squares": "#999999",
    "least squares, diffuse field matched": "#d98200",
    "the table": "#0060a8",
}
VIEWED_AZIMUTHS = {0: "#222222", 45: "#0060a8", 90: "#1a8a3c", 270: "#c23b22"}  # degrees
TICKS_HZ = [100, 200, 500, 1000, 2000, 5000, 10000]


def draw(result, path):
    """Draws all views into an image file."""
    figure, axes = plt.subplots(2, 2, figsize=(11.0, 7.6), layout="constrained")
    spectra = {
        "least squares": result.least_squares,
        "least squares, diffuse field matched": result.least_squares_equalised,
        "the table": table_spectra(result.table),
    }
    draw_level_error(axes[0, 0], spectra, result.hrtfs)
    draw_diffuse_field(axes[0, 1], spectra)
    draw_directions(axes[1, 0], spectra["the table"], result.hrtfs)
    draw_impulse_responses(axes[1, 1], result.table)
    for axis in axes.flat:
        axis.grid(alpha=0.25, linewidth=0.6)
        axis.spines[["top", "right"]].set_visible(False)
    figure.savefig(path, metadata={"Date": None} if path.suffix == ".svg" else None)
    plt.close(figure)


def draw_level_error(axis, spectra, hrtfs):
    """Mean absolute level error of the left ear over all measured directions."""
    measured = slice(0, hrtfs.num_measured)
    basis = sphere.harmonics(hrtfs.azimuth[measured], hrtfs.elevation[measured])
    wanted = quality.band_levels(hrtfs.spectra[measured])
    weights = hrtfs.weights[measured] / hrtfs.weights[measured].sum()
    for name, values in spectra.items():
        error = weights @ np.abs(quality.band_levels(basis @ values) - wanted)
        axis.plot(quality.CENTRES, error, color=METHOD_COLOURS[name], label=name)
    label_frequencies(axis)
    axis.set(title="Level error, mean over directions", ylabel="error (dB)", ylim=(0.0, None))
    axis.legend(frameon=False)


def draw_diffuse_field(axis, spectra):
    """Response of one ear to sound from everywhere at once."""
    for name, values in spectra.items():
        power = quality.BAND_WEIGHTS @ quality.diffuse_power(values)
        axis.plot(quality.CENTRES, 10.0 * np.log10(power), color=METHOD_COLOURS[name], label=name)
    label_frequencies(axis)
    axis.set(title="Diffuse-field response (flat is right)", ylabel="level (dB)")


def draw_directions(axis, spectra, hrtfs):
    """Left ear for single horizontal directions, measured beside the table."""
    measured = slice(0, hrtfs.num_measured)
    azimuths, elevations = hrtfs.azimuth[measured], hrtfs.elevation[measured]
    for degrees, colour in VIEWED_AZIMUTHS.items():
        nearest = sphere.nearest_direction(azimuths, elevations, np.radians(degrees), 0.0)
        wanted = quality.band_levels(hrtfs.spectra[nearest])
        basis = sphere.harmonics(azimuths[[nearest]], elevations[[nearest]])
        axis.plot(quality.CENTRES, wanted, color=colour, linewidth=0.9, linestyle="--")
        reached = quality.band_levels(basis @ spectra)[0]
        axis.plot(quality.CENTRES, reached, color=colour, label=f"{degrees}°")
    label_frequencies(axis)
    axis.set(title="Left ear by azimuth (dashed: measured)", ylabel="level (dB)")
    axis.legend(frameon=False, ncols=2)


def draw_impulse_responses(axis, table):
    """Both ears' impulse responses for a source at the left."""
    beam = sphere.harmonics(np.array([np.pi / 2.0]), np.array([0.0]))[0]
    axis.plot(table @ beam, color="#1a8a3c", label="left ear")
    axis.plot(table @ (beam * sphere.MIRROR_SIGNS), color="#c23b22", label="right ear")
    axis.set(title="Source at 90° (left)", xlabel="tap (48 kHz)", ylabel="amplitude")
    axis.set_xlim(100, 220)
    axis.legend(frameon=False)


def label_frequencies(axis):
    """Logarithmic frequency axis with plain numbers."""
    axis.set_xscale("log")
    axis.set_xlabel("frequency (Hz)")
    axis.set_xticks(TICKS_HZ)
    axis.xaxis.set_major_formatter(
        FuncFormatter(lambda hz, _: f"{hz / 1000:g}k" if hz >= 1000 else f"{hz:g}")
    )
    axis.xaxis.set_minor_formatter(NullFormatter())
