# SPDX-License-Identifier: Apache-2.0
"""Two ears against the measured head: around the horizon, from below over the top, and up the left side."""

from dataclasses import dataclass

import numpy as np

from measure import charts, ears, erb
from measure.constants import SAMPLE_RATE_HZ
from measure.levels import power_db

from .. import listening, measured
from ..section import Section

LEVEL_FROM_HZ = 1500.0  # below, the ears differ little in level
MEDIAN_BAND_HZ = (5000.0, 10000.0)  # where the notches lie by which a pinna tells elevation
LEAD_FRAMES = 512  # of silence before a response, since the measurement of time cuts off the ends
AZIMUTH = charts.Axis("azimuth, positive to the left (degrees)", 0.0, 180.0, 30.0)
ELEVATION = charts.Axis("elevation at the left (degrees)", -40.0, 90.0, 20.0)
ITD = charts.Axis("left ear ahead (µs)", -200.0, 800.0, 200.0)
ILD = charts.Axis("left ear louder (dB)", -10.0, 30.0, 10.0)
SPECTRUM = charts.Axis("level, 15 dB apart (dB)", -20.0, 75.0, 15.0)
SHOWN_ELEVATIONS = (-30, 0, 30, 60, 90)  # degrees, in the median plane ahead
APART_DB = 15.0
BANDS = [("0.5 to 1.5 kHz", 500.0, 1500.0), ("1.5 to 4 kHz", 1500.0, 4000.0), ("4 to 16 kHz", 4000.0, 16000.0)]


@dataclass(frozen=True)
class Heard:
    """Of the directions of an arc, as measured.MeasuredEars has it."""

    itd_us: np.ndarray
    level_db: np.ndarray

    @property
    def ild_db(self):
        return self.level_db[:, 0] - self.level_db[:, 1]


def hear(respond, arc):
    """A table of responses, as `listening` has it, in the directions of an arc."""
    itd_us, level_db = [], []
    for heard in respond(arc.azimuth, arc.elevation):
        padded = np.pad(heard, ((0, 0), (LEAD_FRAMES, 0)))
        itd_us.append(ears.itd_us(padded, SAMPLE_RATE_HZ))
        level_db.append(power_db(erb.powers(padded, SAMPLE_RATE_HZ)))
    return Heard(np.array(itd_us), np.array(level_db))


def figures(heard, arcs):
    """By name, as the table of limits has them."""
    horizon = arcs["horizon"]
    time_error = np.abs(heard["horizon"].itd_us - horizon.itd_us)
    level_error = erb.band_mean(np.abs(heard["horizon"].ild_db - horizon.ild_db), LEVEL_FROM_HZ)
    median_error = (heard["median"].level_db - arcs["median"].level_db)[:, 0]
    median_error = np.abs(median_error - gain_db(heard, arcs))
    return {"time_mean": time_error.mean(), "time_largest": time_error.max(), "level_mean": level_error.mean(),
            "level_largest": level_error.max(), "median": erb.band_mean(median_error, *MEDIAN_BAND_HZ).mean()}  # fmt: skip


def gain_db(heard, arcs):
    """Level of a table against that of the measured ears."""
    return (heard["median"].level_db - arcs["median"].level_db).mean()


def compare(title, x, y, angles, found, wanted):
    chart = charts.Chart(title, x, y)
    chart.line(angles, wanted, charts.REFERENCE, "measured", dashed=True)
    chart.line(angles, found, charts.LEFT, "rendered")
    return chart


def draw_horizon(section, arc, heard):
    angles = np.degrees(arc.azimuth)
    title = "Time difference below 1.5 kHz, at ear height"
    section.draw(compare(title, AZIMUTH, ITD, angles, heard.itd_us, arc.itd_us), summary=True)
    for name, *band in BANDS:
        section.draw(compare(f"Level difference, {name}, at ear height", AZIMUTH, ILD, angles,
                             erb.band_mean(heard.ild_db, *band), erb.band_mean(arc.ild_db, *band)),
                     summary=name == BANDS[1][0])


def draw_side(section, arc, heard):
    angles = np.degrees(arc.elevation)
    title = "Time difference below 1.5 kHz, up the left side"
    section.draw(compare(title, ELEVATION, ITD, angles, heard.itd_us, arc.itd_us))
    name, *band = BANDS[-1]
    section.draw(compare(f"Level difference, {name}, up the left side", ELEVATION, ILD, angles,
                         erb.band_mean(heard.ild_db, *band), erb.band_mean(arc.ild_db, *band)))


def draw_median(section, arc, heard, gain):
    """The left ear's spectra by elevation, which tell up from down where the ears hear the same."""
    ahead = np.degrees(arc.azimuth) < 90.0
    elevations = np.round(np.degrees(arc.elevation)).astype(int)
    chart = charts.Chart("One ear by elevation, ahead (dashed: measured)", charts.FREQUENCY, SPECTRUM)
    for i, elevation in enumerate(SHOWN_ELEVATIONS):
        [row] = np.flatnonzero((elevations == elevation) & (ahead | (elevation == 90)))
        shift = APART_DB * i
        chart.line(erb.CENTRES_HZ, arc.level_db[row, 0] + shift, charts.REFERENCE, dashed=True, width=1.2)
        chart.line(erb.CENTRES_HZ, heard.level_db[row, 0] - gain + shift, charts.SERIES[i], f"{elevation}°")
    section.draw(chart)


def check(subject, limits):
    section = Section(
        "ears", "Two ears against the measured head",
        "The centre loudspeaker for heads that turn away from it, without a room: how much earlier and louder the left"
        " ear hears it, beside the measured dummy head that the impulse responses are made from. The figures are those"
        " of the horizon in steps of 5 degrees; the level error of one azimuth is the mean over the ERB bands from 1.5"
        " kHz. In the median plane, where the spectra alone tell the elevation, it is the error of one ear's level. The"
        " charts add the side, from below to the top.", limits)  # fmt: skip
    arcs = {name: measured.read(name) for name in ("horizon", "side", "median")}
    hear_all = lambda respond: {name: hear(respond, arc) for name, arc in arcs.items()}
    heard = hear_all(listening.of_effect(subject.bed("7.1")))
    for what, value in figures(heard, arcs).items():
        section.add(what, value)
    for table in subject.other_tables:
        for what, value in figures(hear_all(table.respond), arcs).items():
            section.compare(what, table.name, value)
    draw_horizon(section, arcs["horizon"], heard["horizon"])
    draw_side(section, arcs["side"], heard["side"])
    draw_median(section, arcs["median"], heard["median"], gain_db(heard, arcs))
    return section
