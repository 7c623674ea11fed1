# SPDX-License-Identifier: Apache-2.0
"""What is heard besides level: envelopes, spaciousness, phantom sources, the front, the bed, and sound before its time.

Other public tables are measured in the same directions and drawn beside the library's.
"""

from dataclasses import dataclass

import numpy as np

from measure import charts, ears, erb, sphere
from measure.constants import SAMPLE_RATE_HZ
from measure.levels import power_db

from .. import listening, measured
from ..section import Section

DIRECTIONS = 200
AZIMUTH = charts.Axis("azimuth, positive to the left (degrees)", 0.0, 180.0, 30.0)
DELAY = charts.Axis("left ear ahead (µs)", -200.0, 1000.0, 200.0)
DELAY_ERROR = charts.Axis("mean error (µs)", 0.0, 800.0, 200.0)
CENTRE = charts.Axis("frequency (Hz)", 1900.0, 8500.0, logarithmic=True)
COHERENCE = charts.Axis("coherence", -0.4, 1.0, 0.2)
COLOUR = charts.Axis("error (dB)", -12.0, 12.0, 3.0)
SHARE = charts.Axis("share of directions (%)", 0.0, 100.0, 20.0)
EARLY = charts.Axis("energy before its time (dB)", -40.0, 0.0, 10.0)
DRAWN_CENTRE_HZ = 4000.0
OURS = "rendered"
OTHER_COLOURS = (charts.RIGHT, charts.THIRD)

# Loudspeakers with the same signal, or all of a bed with signals of their own: azimuths and elevations in degrees.
FRONT = np.zeros((1, 2))
PAIRS = {degrees: np.array([[degrees, 0.0], [-degrees, 0.0]]) for degrees in (30, 45)}
TOGETHER = {"front": ("Front", FRONT), "phantom_30": ("Phantom centre of ±30°", PAIRS[30]),
            "phantom_45": ("Phantom centre of ±45°", PAIRS[45])}  # fmt: skip


@dataclass(frozen=True)
class Heard:
    """What one table gives: delays in microseconds (centres, directions), and per ERB band coherence and errors
    of colour in dB by the names of figures; energy before the onset in dB by direction."""

    delays_us: np.ndarray
    coherence: np.ndarray
    colour_db: dict
    early_db: np.ndarray


def hear(respond, bed_directions):
    """Measures a table; `bed_directions` are those of the loudspeakers of 7.1.4, in degrees."""
    arc = np.radians(list(measured.field("envelope")))
    left, right = np.moveaxis(listening.spectra(respond, arc, 0.0), 1, 0)
    delays = np.array([ears.envelope_itd_us(left, right, hz, SAMPLE_RATE_HZ) for hz in ears.ENVELOPE_CENTRES_HZ])
    around = listening.spectra(respond, *sphere.spread_directions(DIRECTIONS))
    bands = erb.weights(np.fft.rfftfreq(erb.TRANSFORM, 1.0 / SAMPLE_RATE_HZ)).T
    cross = np.sum(around[:, 0] * np.conj(around[:, 1]), axis=0).real @ bands
    powers = np.sum(np.abs(around) ** 2, axis=0) @ bands
    diffuse_db = power_db(powers.mean(axis=0) / DIRECTIONS)
    of = lambda directions: listening.spectra(respond, *np.radians(directions).T)[:, 0]
    level_db = lambda power: power_db(power @ bands) - diffuse_db.mean()
    colour = {name: level_db(np.abs(of(directions).sum(axis=0)) ** 2) for name, (_, directions) in TOGETHER.items()}
    colour["bed_7.1.4"] = level_db(np.sum(np.abs(of(bed_directions)) ** 2, axis=0))
    wanted = {"front": measured.field("front")[0], "bed_7.1.4": measured.field("bed")[0]}
    wanted |= {f"phantom_{degrees}": levels for degrees, levels in measured.field("phantom").items()}
    return Heard(delays, cross / np.sqrt(powers[0] * powers[1]),
                 {name: level - wanted[name] for name, level in colour.items()},
                 ears.energy_before_onset_db(around[:, 0], SAMPLE_RATE_HZ))  # fmt: skip


def figures(heard):
    """By name, as the table of limits has them."""
    wanted = np.array(list(measured.field("envelope").values())).T
    errors = np.abs(heard.delays_us - wanted).mean(axis=1)
    found = {f"envelope_{hz / 1000.0:g}k": error for hz, error in zip(ears.ENVELOPE_CENTRES_HZ, errors)}
    found["coherence"] = np.abs(heard.coherence - measured.field("coherence")[0]).max()
    found["before_onset"] = power_db(np.mean(10.0 ** (heard.early_db / 10.0)))
    return found | {name: np.abs(error).max() for name, error in heard.colour_db.items()}


def curves(chart, tables, x, y_of, wanted=None):
    """Draws the measured head's curve, if there is one, and y_of(Heard) of every table, the library's on top."""
    if wanted is not None:
        chart.line(x, wanted, charts.REFERENCE, "measured", dashed=True)
    colours = dict(zip(tables, (charts.LEFT, *OTHER_COLOURS)))
    for name, heard in reversed(tables.items()):
        chart.line(x, y_of(heard), colours[name], name, width=1.8 if name == OURS else 1.0)


def draw(section, tables, limits):
    """`tables` are Heard by name, the library's first."""
    arc, centres = measured.field("envelope"), ears.ENVELOPE_CENTRES_HZ
    wanted = np.array(list(arc.values())).T
    drawn = centres.index(DRAWN_CENTRE_HZ)
    chart = charts.Chart("Interaural delay of the envelope around 4 kHz, at ear height", AZIMUTH, DELAY)
    curves(chart, tables, list(arc), lambda heard: heard.delays_us[drawn], wanted[drawn])
    section.draw(chart, summary=True)
    chart = charts.Chart("Error of that delay, mean over azimuth", CENTRE, DELAY_ERROR)
    curves(chart, tables, centres, lambda heard: np.abs(heard.delays_us - wanted).mean(axis=1))
    highest = [limits[f"hearing.envelope_{hz / 1000.0:g}k"].at_most for hz in centres]
    chart.line(centres, highest, charts.LIMIT, "limit", dashed=True)
    section.draw(chart)
    chart = charts.Chart("Interaural coherence of the diffuse field", charts.FREQUENCY, COHERENCE)
    curves(chart, tables, erb.CENTRES_HZ, lambda heard: heard.coherence, measured.field("coherence")[0])
    section.draw(chart)
    for name, title in [*((name, title) for name, (title, _) in TOGETHER.items()), ("bed_7.1.4", "7.1.4 bed")]:
        chart = charts.Chart(f"{title}: left ear against the measured head", charts.FREQUENCY, COLOUR)
        curves(chart, tables, erb.CENTRES_HZ, lambda heard, name=name: heard.colour_db[name])
        for sign in (1.0, -1.0):
            chart.level(sign * limits[f"hearing.{name}"].at_most, charts.LIMIT, "limit")
        section.draw(chart)
    chart = charts.Chart("Energy before the main peak, directions in order", SHARE, EARLY)
    curves(chart, tables, 100.0 * (np.arange(DIRECTIONS) + 0.5) / DIRECTIONS, lambda heard: np.sort(heard.early_db))
    chart.level(limits["hearing.before_onset"].at_most, charts.LIMIT, "limit of the mean")
    section.draw(chart)


def power_at(responses, rate_hz, at_hz=60.0):
    """Mean power of responses at one frequency."""
    responses = np.asarray(responses, float)
    wave = np.exp(-2j * np.pi * at_hz / rate_hz * np.arange(responses.shape[-1]))
    return np.mean(np.abs(responses @ wave) ** 2)


def check(subject, limits):
    section = Section(
        "hearing", "Envelopes, phantom sources and the field",
        "Above 2 kHz hearing follows envelopes: their delay between the ears, for heads that turn away from the centre at ear"
        " height, against the measured head's. Coherence of the ears in a diffuse field is what spaciousness is heard by."
        " Front, phantom centre (two loudspeakers with the same signal) and the 7.1.4 bed have the measured head's levels in"
        " ERB bands, against the mean of the diffuse field. Little energy comes before a sound's main peak. The LFE is as loud"
        " as a loudspeaker.", limits)  # fmt: skip
    bed = subject.bed("7.1.4")
    tables = {OURS: listening.of_effect(bed)} | {table.name: table.respond for table in subject.other_tables}
    heard = {name: hear(respond, subject.directions_deg("7.1.4")) for name, respond in tables.items()}
    for what, value in figures(heard[OURS]).items():
        section.add(what, value)
    for name in list(heard)[1:]:
        for what, value in figures(heard[name]).items():
            section.compare(what, name, value)
    lfe, centre = (power_db(power_at(subject.bed("7.1.4").respond(name), subject.rate_hz)) for name in ("LFE", "FC"))
    section.add("lfe", lfe - centre)
    draw(section, heard, limits)
    return section
