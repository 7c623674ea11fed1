# SPDX-License-Identifier: Apache-2.0
"""The host's block length must not be heard."""

import numpy as np

from measure import charts
from measure.constants import MAX_BLOCK
from measure.levels import difference_db
from measure.random import Random

from ..geometry import head
from ..section import Section

FRAMES = 24000
ANY = f"1 to {MAX_BLOCK}"
BLOCKS = (480, 256, 64, 7, ANY)
ERROR = charts.Axis("difference (dB)", -200.0, -80.0, 20.0)

# Figure, label, layout, mode of the reflections (0 is without any room), whether the head looks elsewhere.
SCENES = [
    ("dry", "no room", "7.1", 0.0, False),
    ("room", "room, turned head", "7.1.4", 4.0, True),
    ("large", "22.2, turned head", "22.2", 0.0, True),
]


def render(subject, scene, block):
    """Noise in all channels, the same in every call."""
    _, _, layout, mode, turned = scene
    bed = subject.bed(layout)
    if mode:
        bed.set("reverb.enable", 1.0)
        bed.set("reflections.mode", mode)
    if turned:
        bed.settle_head(head(70.0, -20.0, 10.0))
    random = Random(1)
    samples = random.noise((FRAMES, bed.channels)).T
    return bed.render(samples, (lambda _: 1 + int(random.integers(1)[0]) % MAX_BLOCK) if block == ANY else block)


def check(subject, limits):
    section = Section(
        "blocks", "The same sound in any blocks",
        f"Noise in all channels, rendered in blocks of other lengths than {MAX_BLOCK}: the largest difference against the peak"
        " of the ears.", limits)  # fmt: skip
    chart = charts.Chart(f"Difference from blocks of {MAX_BLOCK}", charts.Axis("frames per block", 0.0, len(BLOCKS)), ERROR)
    for i, scene in enumerate(SCENES):
        reference = render(subject, scene, MAX_BLOCK)
        errors = [difference_db(render(subject, scene, block), reference) for block in BLOCKS]
        limit = section.add(scene[0], np.max(errors))
        chart.dots(np.arange(len(BLOCKS)) + 0.5 + 0.15 * (i - 1), errors, charts.SERIES[i], scene[1])
    chart.names(np.arange(len(BLOCKS)) + 0.5, map(str, BLOCKS))
    chart.level(limit.at_most, charts.LIMIT, "limit")
    section.draw(chart)
    return section
