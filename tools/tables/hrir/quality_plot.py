# SPDX-License-Identifier: Apache-2.0
"""The plot of docs/data.md: views of how the table compares with the measurement."""

import numpy as np

from measure import charts
from measure.ears import ENVELOPE_CENTRES_HZ

from . import quality, sphere
from .pipeline import TABLE, method_spectra

SHORT_NAMES = {"least squares": "LS", "magnitude least squares": "MagLS", TABLE: "table"}
METHOD_COLOURS = (charts.FAINT, charts.RIGHT, charts.LEFT)  # the table last
MEASURED = "measured"
VIEWED_AZIMUTHS = {0: charts.REFERENCE, 45: charts.LEFT, 90: charts.THIRD, 270: charts.RIGHT}  # degrees
ENVELOPE_HZ = 4000.0
SHOWN_TAPS = (100.0, 220.0)
AZIMUTH = charts.Axis("azimuth at the horizon (degrees)", 0.0, 360.0, 45.0)


def draw(result, path):
    """Draws all views into an SVG file."""
    spectra = {SHORT_NAMES[name]: values for name, values in method_spectra(result).items()}
    everywhere = np.arange(result.hrtfs.num_measured)
    ears = {name: quality.Ears(values, result.hrtfs, everywhere) for name, values in spectra.items()}
    path.write_text(charts.sheet([
        [level_error(ears), envelope_delays(ears)],
        [coherence(spectra, result.hrtfs), phantom_centre(ears)],
        [directions(ears[SHORT_NAMES[TABLE]]), impulse_responses(result.table)],
    ]))  # fmt: skip


def over_frequency(title, label, low, high, tick):
    return charts.Chart(title, charts.FREQUENCY, charts.Axis(label, low, high, tick))


def level_error(ears):
    """Mean absolute level error of the left ear over all measured directions."""
    chart = over_frequency("Level error, mean over directions", "error (dB)", 0.0, 8.0, 2.0)
    for (name, heard), colour in zip(ears.items(), METHOD_COLOURS):
        levels = quality.band_levels(heard.left) - quality.band_levels(heard.measured_left)
        chart.line(quality.CENTRES, heard.weights @ np.abs(levels), colour, name)
    return chart


def envelope_delays(ears):
    """Interaural delay of the envelope by azimuth, at the horizon."""
    band = ENVELOPE_CENTRES_HZ.index(ENVELOPE_HZ)
    first = next(iter(ears.values()))
    level = np.flatnonzero(np.abs(first.elevation) < 0.01)
    level = level[np.argsort(first.azimuth[level] % (2.0 * np.pi))]
    degrees = np.degrees(first.azimuth[level] % (2.0 * np.pi))
    chart = charts.Chart("Interaural delay of the envelope around 4 kHz", AZIMUTH,
                         charts.Axis("left ear ahead (µs)", -1000.0, 1000.0, 500.0))  # fmt: skip
    for (name, heard), colour in zip(ears.items(), METHOD_COLOURS):
        delays = quality.envelope_time_differences(heard.left[level], heard.right[level])
        chart.line(degrees, delays[band], colour, name)
    measured = first.measured_left[level], first.measured_right[level]
    wanted = quality.envelope_time_differences(*measured)[band]
    chart.line(degrees, wanted, charts.REFERENCE, MEASURED, dashed=True)
    return chart


def coherence(spectra, hrtfs):
    """Interaural coherence in a diffuse field."""
    chart = over_frequency("Interaural coherence in a diffuse field", "coherence", -0.4, 1.0, 0.2)
    for (name, values), colour in zip(spectra.items(), METHOD_COLOURS):
        chart.line(quality.CENTRES, quality.table_coherence(values), colour, name)
    chart.line(quality.CENTRES, quality.measured_coherence(hrtfs), charts.REFERENCE, MEASURED, dashed=True)
    return chart


def phantom_centre(ears):
    """Colour of a phantom centre from loudspeakers at 30 and, thinner, 45 degrees."""
    chart = over_frequency("Error of a phantom centre of ±30°, thin ±45°", "error (dB)", -10.0, 10.0, 5.0)
    for degrees, width in ((30, 1.6), (45, 0.8)):
        for (name, heard), colour in zip(ears.items(), METHOD_COLOURS):
            pair = [heard.nearest(degrees), heard.nearest(-degrees)]
            reached = quality.band_levels(heard.left[pair].sum(axis=0)[None])
            measured = quality.band_levels(heard.measured_left[pair].sum(axis=0)[None])
            label = name if degrees == 30 else ""
            chart.line(quality.CENTRES, (reached - measured)[0], colour, label, width=width)
    return chart


def directions(ears):
    """Left ear for single horizontal directions, measured beside the table."""
    chart = over_frequency("Left ear by azimuth (dashed: measured)", "level (dB)", -30.0, 20.0, 10.0)
    for degrees, colour in VIEWED_AZIMUTHS.items():
        nearest = [ears.nearest(degrees)]
        wanted, reached = (quality.band_levels(x[nearest])[0] for x in (ears.measured_left, ears.left))
        chart.line(quality.CENTRES, wanted, colour, dashed=True, width=0.9)
        chart.line(quality.CENTRES, reached, colour, f"{degrees}°")
    return chart


def impulse_responses(table):
    """Both ears' impulse responses for a source at the left."""
    beam = sphere.harmonics(np.array([np.pi / 2.0]), np.array([0.0]))[0]
    chart = charts.Chart("Source at 90° (left)", charts.Axis("tap (48 kHz)", *SHOWN_TAPS, 20.0),
                         charts.Axis("amplitude", -0.3, 0.3, 0.1))  # fmt: skip
    taps = np.arange(len(table))
    for name, signs, colour in (("left ear", 1.0, charts.LEFT), ("right ear", sphere.MIRROR_SIGNS, charts.RIGHT)):
        chart.line(taps, table @ (beam * signs), colour, name, width=1.2)
    return chart
