# SPDX-License-Identifier: Apache-2.0
"""The colour of the diffuse field and of the layouts, and whether left and right are alike."""

import numpy as np

from measure import charts, erb, sphere
from measure.levels import difference_db, power_db

from ..geometry import head_hearing_ahead_at
from ..section import Section

DIRECTIONS = 400  # the sum of products of harmonics is exact to 0.01 dB
LEVEL = charts.Axis("level (dB)", -20.0, 10.0, 5.0)
DIFFUSE = charts.Axis("level (dB)", -3.0, 3.0, 1.0)
LEFT_TO_RIGHT = str.maketrans("L", "R")


def average_db(powers):
    """Of both ears and all responses (responses, 2, bands)."""
    return power_db(np.mean(powers, axis=(0, 1)))


def diffuse_field_db(subject):
    bed = subject.bed("7.1")
    powers = []
    for direction in zip(*sphere.spread_directions(DIRECTIONS)):
        bed.settle_head(head_hearing_ahead_at(*direction))
        powers.append(erb.powers(bed.respond("FC"), bed.rate_hz))
    return average_db(powers)


def draw_diffuse_field(section, level_db):
    """Adds its level and flatness; returns the level, which all others are shown against."""
    mean = level_db.mean()
    section.add("level", mean)
    limit = section.add("diffuse_field", np.abs(level_db - mean).max())
    chart = charts.Chart("Average of both ears over all directions", charts.FREQUENCY, DIFFUSE)
    chart.line(erb.CENTRES_HZ, level_db - mean, charts.LEFT, "diffuse field")
    chart.level(limit.at_most, charts.LIMIT, "limit")
    chart.level(-limit.at_most, charts.LIMIT, "limit")
    section.draw(chart, summary=True)
    return mean


def pairs(channels):
    """Of the loudspeakers that stand symmetrically, as their abbreviations tell: "BL" and "BR"."""
    return [(name, name.translate(LEFT_TO_RIGHT)) for name in channels
            if "L" in name and name.translate(LEFT_TO_RIGHT) in channels]


def asymmetry_db(bed):
    """The worst pair of a layout: ears that the right one gives against the exchanged ears of the left."""
    return np.max([difference_db(bed.respond(right), bed.respond(left)[::-1]) for left, right in pairs(bed.speakers)])


def draw_layout(section, bed, layout, diffuse_db, zero_db):
    """Adds how far its average is from the diffuse field."""
    powers = {name: erb.powers(bed.respond(name), bed.rate_hz) for name in bed.speakers if not name.startswith("LFE")}
    average = average_db(list(powers.values()))
    limit = section.add(f"average_{layout}", np.abs(average - diffuse_db).max())
    chart = charts.Chart(f"{layout}: left ear of each, and average", charts.FREQUENCY, LEVEL)
    for name, power in powers.items():
        chart.line(erb.CENTRES_HZ, power_db(power[0]) - zero_db, charts.FAINT, name, width=1.0)
    for sign in (-1.0, 1.0):
        chart.level(sign * limit.at_most, charts.LIMIT, "limit")
    chart.line(erb.CENTRES_HZ, diffuse_db - zero_db, charts.REFERENCE, "diffuse field", dashed=True)
    chart.line(erb.CENTRES_HZ, average - zero_db, charts.LEFT, "average", width=2.2)
    section.draw(chart)


def check(subject, limits):
    section = Section(
        "loudspeakers", "Loudspeakers of the layouts",
        "Responses at the ears in bands of one ERB, without a room: averaged over 400 directions from all around (the"
        " diffuse field); and at the left ear of every loudspeaker of a layout, with their average over both ears,"
        " which is the colour of a bed with a noise of its own in every channel. All levels are against the mean of the"
        " diffuse field.", limits)  # fmt: skip
    diffuse_db = diffuse_field_db(subject)
    zero_db = draw_diffuse_field(section, diffuse_db)
    asymmetries = []
    for layout in subject.layouts:
        bed = subject.bed(layout)
        draw_layout(section, bed, layout, diffuse_db, zero_db)
        asymmetries.append(asymmetry_db(bed))
    section.add("asymmetry", np.max(asymmetries))
    return section
