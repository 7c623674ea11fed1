"""The plot of docs/data.md: views of how the table compares with the measurement."""

import matplotlib

matplotlib.use("Agg")
matplotlib.rcParams["svg.hashsalt"] = "sh_hrir"  # the same file from the same figures

import matplotlib.pyplot as plt
import numpy as np
from matplotlib.ticker import FuncFormatter, NullFormatter

from measure.ears import ENVELOPE_CENTRES_HZ

from . import quality, sphere
from .pipeline import TABLE, method_spectra

METHOD_COLOURS = ("#999999", "#d98200", "#0060a8")  # the table last
MEASURED = {"color": "#222222", "linewidth": 0.9, "linestyle": "--", "label": "measured"}
VIEWED_AZIMUTHS = {0: "#222222", 45: "#0060a8", 90: "#1a8a3c", 270: "#c23b22"}  # degrees
TICKS_HZ = [100, 200, 500, 1000, 2000, 5000, 10000]


def draw(result, path):
    """Draws all views into an image file."""
    figure, axes = plt.subplots(3, 2, figsize=(11.0, 11.4), layout="constrained")
    spectra = method_spectra(result)
    everywhere = np.arange(result.hrtfs.num_measured)
    ears = {name: quality.Ears(values, result.hrtfs, everywhere) for name, values in spectra.items()}
    draw_level_error(axes[0, 0], ears)
    draw_envelope_delays(axes[0, 1], ears)
    draw_coherence(axes[1, 0], spectra, result.hrtfs)
    draw_phantom_centre(axes[1, 1], ears)
    draw_directions(axes[2, 0], ears[TABLE])
    draw_impulse_responses(axes[2, 1], result.table)
    for axis in axes.flat:
        axis.grid(alpha=0.25, linewidth=0.6)
        axis.spines[["top", "right"]].set_visible(False)
    figure.savefig(path, metadata={"Date": None} if path.suffix == ".svg" else None)
    plt.close(figure)


def draw_level_error(axis, ears):
    """Mean absolute level error of the left ear over all measured directions."""
    for (name, heard), colour in zip(ears.items(), METHOD_COLOURS):
        levels = quality.band_levels(heard.left) - quality.band_levels(heard.measured_left)
        axis.plot(quality.CENTRES, heard.weights @ np.abs(levels), color=colour, label=name)
    label_frequencies(axis)
    axis.set(title="Level error, mean over directions", ylabel="error (dB)", ylim=(0.0, None))
    axis.legend(frameon=False)


def draw_envelope_delays(axis, ears):
    """Interaural delay of the envelope by azimuth, at the horizon around 4 kHz."""
    band = ENVELOPE_CENTRES_HZ.index(4000.0)
    first = next(iter(ears.values()))
    level = np.flatnonzero(np.abs(first.elevation) < 0.01)
    level = level[np.argsort(first.azimuth[level])]
    degrees = np.degrees(first.azimuth[level])
    for (name, heard), colour in zip(ears.items(), METHOD_COLOURS):
        delays = quality.envelope_time_differences(heard.left[level], heard.right[level])
        axis.plot(degrees, delays[band], color=colour, label=name)
    measured = first.measured_left[level], first.measured_right[level]
    axis.plot(degrees, quality.envelope_time_differences(*measured)[band], **MEASURED)
    axis.set(title="Interaural delay of the envelope around 4 kHz", ylabel="left leads (µs)")
    axis.set(xlabel="azimuth at the horizon (degrees)", xticks=range(0, 361, 45))


def draw_coherence(axis, spectra, hrtfs):
    """Interaural coherence in a diffuse field."""
    for values, colour in zip(spectra.values(), METHOD_COLOURS):
        axis.plot(quality.CENTRES, quality.table_coherence(values), color=colour)
    axis.plot(quality.CENTRES, quality.measured_coherence(hrtfs), **MEASURED)
    label_frequencies(axis)
    axis.set(title="Interaural coherence in a diffuse field", ylabel="coherence")
    axis.legend(frameon=False)


def draw_phantom_centre(axis, ears):
    """Colour of a phantom centre from loudspeakers at 30 and, thinner, 45 degrees."""
    for degrees, width in ((30, 1.5), (45, 0.8)):
        for heard, colour in zip(ears.values(), METHOD_COLOURS):
            pair = [heard.nearest(degrees), heard.nearest(-degrees)]
            reached = quality.band_levels(heard.left[pair].sum(axis=0)[None])
            measured = quality.band_levels(heard.measured_left[pair].sum(axis=0)[None])
            axis.plot(quality.CENTRES, (reached - measured)[0], color=colour, linewidth=width)
    label_frequencies(axis)
    axis.set(title="Error of a phantom centre of ±30°, thin ±45°", ylabel="error (dB)")


def draw_directions(axis, ears):
    """Left ear for single horizontal directions, measured beside the table."""
    for degrees, colour in VIEWED_AZIMUTHS.items():
        nearest = [ears.nearest(degrees)]
        wanted, reached = (quality.band_levels(x[nearest])[0] for x in (ears.measured_left, ears.left))
        axis.plot(quality.CENTRES, wanted, color=colour, linewidth=0.9, linestyle="--")
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
