# SPDX-License-Identifier: Apache-2.0
"""What a turning head adds to a sine."""

import numpy as np

from measure import charts
from measure.sine import beside_db, largest_beside_db, sine, spectrum_curve

from ..geometry import head
from ..section import Section

FRAMES = 32768  # the last half of the rendering
BIN = 683  # a whole bin, of 1000.5 Hz, leaves no skirts
BESIDE_HZ = 300.0  # a turn of the head bends the sine itself by much less
BLOCK = 512
FREQUENCY = charts.Axis("frequency (Hz)", 100.0, 24000.0, logarithmic=True)
LEVEL = charts.Axis("level against the sine (dB)", -180.0, 0.0, 30.0)

# Figure, label, colour, degrees per second; None is a jump by 90 degrees in the middle of what is measured.
TURNS = [
    ("slow", "90°/s", charts.LEFT, 90.0),
    ("fast", "720°/s", charts.RIGHT, 720.0),
    ("jump", "jump by 90°", charts.THIRD, None),
]

BLOCKS = (64, 256, 1024)
STEADY_HZ, STEADY_DEG_S = 1000.0, 90.0
STEADY_BESIDE_HZ = 133.0  # one ERB there
STEADY_PART = slice(12000, 36000)  # frames: from 22 to 67 degrees
STEP_S = 0.01  # between the poses of a tracker that nothing interpolates


def hear(subject, yaw_deg, block=BLOCK, frames=2 * FRAMES, hz=None):
    """Both ears of a sine from the centre, for a head whose pose before every block is yaw_deg(its start, its end)."""
    bed = subject.bed("7.1")

    def plan(start):
        bed.turn_head(head(yaw_deg(start, start + block)))
        return block

    wave = sine(hz or BIN * subject.rate_hz / FRAMES, 1.0, frames, subject.rate_hz)
    return bed.render(bed.signal("FC", wave), plan)


def turning(degrees_per_s, rate_hz):
    """Poses for `hear`; None is the jump."""
    if degrees_per_s is None:
        return lambda start, _: 0.0 if start < FRAMES + FRAMES // 2 else 90.0
    return lambda _, end: degrees_per_s * end / rate_hz


def stepping(degrees_per_s, rate_hz):
    """The same from a tracker that sends a pose every STEP_S, each as it will be when the next one comes."""
    frames = round(STEP_S * rate_hz)
    return lambda start, _: degrees_per_s * (start // frames + 1) * frames / rate_hz


def check_spurious(section, subject):
    """The strongest component that a steady turn adds, by length of block, with and without a pose for every block."""
    chart = charts.Chart(f"Strongest component that a turn of {STEADY_DEG_S:g}°/s adds",
                         charts.Axis("frames per block", 0.0, float(len(BLOCKS))),
                         charts.Axis("level against the sine (dB)", -120.0, 0.0, 20.0))
    at = np.arange(len(BLOCKS)) + 0.5
    for figure, poses, colour, label, shift in (("every_block", turning, charts.LEFT, "a pose for every block", -0.12),
                                                ("stepped", stepping, charts.RIGHT, "a pose every 10 ms", 0.12)):
        found = []
        for block in BLOCKS:
            ears = hear(subject, poses(STEADY_DEG_S, subject.rate_hz), block, STEADY_PART.stop, STEADY_HZ)
            found.append(largest_beside_db(ears[:, STEADY_PART], STEADY_HZ, STEADY_BESIDE_HZ, subject.rate_hz))
            section.add(f"{figure}_{block}", found[-1])
        chart.dots(at + shift, found, colour, label)
        for x, value in zip(at + shift, found):
            chart.words(x, value, f"{value:.0f}", down=13.0)
    chart.names(at, BLOCKS)
    chart.level(section.limits[f"turns.every_block_{BLOCKS[0]}"].at_most, charts.LIMIT, "limit for blue")
    section.draw(chart)


def check(subject, limits):
    section = Section(
        "turns", "Rotation artefacts",
        "A sine of 1 kHz from the centre, heard by a head that turns steadily, with a new pose before every block of"
        " 512, and by one that jumps by 90 degrees: the energy further than 300 Hz from the sine. A head that turns"
        " bends the sine itself by far less. A ramp that is missing, late or broken puts energy there. And the strongest"
        " component further than one ERB from the sine, for blocks of three lengths: with a pose for every block, as the"
        " host programs interpolate them, and with the poses of a tracker that come every 10 ms, between which a head"
        " stands still.", limits)  # fmt: skip
    hz = BIN * subject.rate_hz / FRAMES
    chart = charts.Chart("Spectrum of the sine", FREQUENCY, LEVEL)
    for figure, label, colour, degrees_per_s in TURNS:
        ear = hear(subject, turning(degrees_per_s, subject.rate_hz))[0, -FRAMES:]
        section.add(figure, beside_db(ear, hz, BESIDE_HZ, subject.rate_hz))
        chart.line(*spectrum_curve(ear, subject.rate_hz, FREQUENCY.low, 24), colour, label)
    chart.upright(hz - BESIDE_HZ, charts.REFERENCE)
    chart.upright(hz + BESIDE_HZ, charts.REFERENCE, "300 Hz beside")
    section.draw(chart)
    check_spurious(section, subject)
    return section
