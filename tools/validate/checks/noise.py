# SPDX-License-Identifier: Apache-2.0
"""Distortion, noise and silence."""

from functools import partial

import numpy as np

from measure import charts
from measure.levels import peak, power_db
from measure.random import Random
from measure.sine import residue_db, sine, spectrum_curve

from ..section import Section

AMPLITUDE = 0.5
SETTLE = 24000  # longer than room and tail
MEASURED = 16384
BINS = (35, 341, 1707, 4091)  # sines of whole bins leave no skirts in the picture
DRAWN_BIN = 341
FREQUENCY = charts.Axis("frequency (Hz)", 20.0, 24000.0, logarithmic=True)
LEVEL = charts.Axis("level against the sine (dB)", -200.0, 0.0, 40.0)


def whole_path(subject):
    """Reflections in the finest mode, the reverb as it is by default."""
    bed = subject.bed("7.1.4")
    bed.set("reverb.enable", 1.0)
    bed.set("reflections.mode", 4.0)
    return bed


def hear_sine(subject, hz):
    bed = whole_path(subject)
    wave = sine(hz, AMPLITUDE, SETTLE + MEASURED, subject.rate_hz)
    return bed.render(bed.signal("FL", wave))[:, -MEASURED:]


def draw_spectrum(subject, ear, hz, limit):
    chart = charts.Chart(f"Spectrum of a sine of {hz:.0f} Hz", FREQUENCY, LEVEL)
    chart.line(*spectrum_curve(ear, subject.rate_hz, FREQUENCY.low, 48), charts.LEFT, "left ear")
    chart.level(limit.at_most, charts.LIMIT, "limit of all")
    return chart


def peak_db(samples):
    return power_db(peak(samples) ** 2)


def after_sound_db(subject):
    """What is left where the room has died away after a noise in all channels, in dB of full scale."""
    bed = whole_path(subject)
    samples = np.zeros((bed.channels, 3 * SETTLE), np.float32)
    samples[:, :SETTLE] = Random(1).noise((SETTLE, bed.channels)).T
    return peak_db(bed.render(samples)[:, 2 * SETTLE :])


def silence_db(subject):
    bed = whole_path(subject)
    return peak_db(bed.render(np.zeros((bed.channels, SETTLE), np.float32)))


def check(subject, limits):
    section = Section(
        "noise", "Distortion and noise",
        "A sine at half of full scale from the front left through the whole path, reflections and reverb included: the"
        " level of all that is not this sine, which is fitted by least squares and taken out. And what is heard of"
        " silence, before any sound and after its room has died away.", limits)  # fmt: skip
    hz = [count * subject.rate_hz / MEASURED for count in BINS]
    heard = dict(zip(BINS, map(partial(hear_sine, subject), hz)))
    residues = [residue_db(ear, f, subject.rate_hz) for f, ears in zip(hz, heard.values()) for ear in ears]
    limit = section.add("sine", np.max(residues))
    section.draw(draw_spectrum(subject, heard[DRAWN_BIN][0], hz[BINS.index(DRAWN_BIN)], limit), summary=True)
    section.add("silence", silence_db(subject))
    section.add("after_sound", after_sound_db(subject))
    return section
