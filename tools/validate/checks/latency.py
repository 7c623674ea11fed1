# SPDX-License-Identifier: Apache-2.0
"""How late the ears hear, and of what that consists."""

import numpy as np

from measure import charts
from measure.levels import difference, peak
from measure.random import Random

from ..geometry import head
from ..section import Section

BLOCK = 512
DRAWN_FRAMES = 256
AUDIBLE = 1e-5  # of the peak: above what rounding makes different
NEVER = 10**9


def peak_frame(response):
    return int(np.abs(response).argmax())


def differing_frames(found, expected):
    """Frames in which ears are further apart than rounding makes them."""
    return np.flatnonzero((np.abs(difference(found, expected)) > AUDIBLE * peak(expected)).any(axis=0))


def field_latency(subject):
    """Frames that encoder and rotator hold an impulse back."""
    impulse = np.eye(1, BLOCK, dtype=np.float32)
    field = subject.encode(impulse, (np.array([0.3]), np.array([0.2])), 4)
    return peak_frame(subject.rotate(field, 4, vector=(0.0, 0.0, 0.0))[0])


def reverb_onset(subject):
    """Frames to the first pulse of the tail, without the tone filter, which reaches a little ahead."""
    dry, wet = subject.bed("7.1"), subject.bed("7.1")
    wet.set("reverb.enable", 1.0)
    wet.set("reverb.tone", 0.0)
    return differing_frames(*(bed.respond("FC", 4800) for bed in (wet, dry)))[0]


def hear_noise(subject, turned_at):
    """A noise from the centre, for a head that turns by 90 degrees before this frame; at 0 it always looked there."""
    turned = head(90.0)
    bed = subject.bed("7.1")
    if turned_at == 0:
        bed.settle_head(turned)

    def plan(start):
        if start == turned_at:
            bed.turn_head(turned)
        return BLOCK

    return bed.render(bed.signal("FC", Random(1).noise(6 * BLOCK)), plan)


def draw_response(ears):
    time = charts.Axis("samples after the impulse", 0.0, DRAWN_FRAMES, 64.0)
    chart = charts.Chart("Impulse from the centre", time, charts.Axis("ear signal", -0.2, 0.2, 0.1))
    frames = np.arange(DRAWN_FRAMES)
    chart.line(frames, ears[0][:DRAWN_FRAMES], charts.LEFT, "left ear")
    chart.line(frames, ears[1][:DRAWN_FRAMES], charts.RIGHT, "right ear (alike)", dashed=True)
    latency = peak_frame(ears[0])
    chart.upright(latency, charts.REFERENCE, f"peak: {latency} samples = {latency / 48.0:.2f} ms")
    return chart


def check(subject, limits):
    section = Section(
        "latency", "Latency and its parts",
        "Samples at 48 kHz from an impulse to the peak at the ears, and what they consist of: encoder and rotator, the"
        " ear filters (the LFE passes only these), the reverb's pre-delay. And from a head pose, sent before a block of"
        " 512, until it begins to be heard and is heard alone: it is faded in over that block, and the responses of"
        " what was heard before sound on.", limits)  # fmt: skip
    bed = subject.bed("7.1")
    centre = bed.respond("FC")
    section.add("centre", peak_frame(centre[0]))
    section.add("field", field_latency(subject))
    section.add("ear_filters", peak_frame(bed.respond("LFE")[0]))
    section.add("reverb", reverb_onset(subject))
    turning = hear_noise(subject, BLOCK)
    section.add("pose_begins", differing_frames(turning, hear_noise(subject, NEVER))[0] - BLOCK)
    section.add("pose_done", differing_frames(turning, hear_noise(subject, 0))[-1] + 1 - BLOCK)
    section.draw(draw_response(centre), summary=True)
    return section
