# SPDX-License-Identifier: Apache-2.0
"""The tail alone: what the reverb adds to the ears of an impulse from the centre."""

import numpy as np

from measure import charts, decay, ears
from measure.levels import difference

from ..section import Section

WET_GAIN = 0.2  # of the tail in the ears
PRE_DELAY_S = 0.03  # what a new effect has
ENVELOPE_END = 0.001
DRAWS = 6  # responses that a figure is the average of
TAIL_ENDS_S = 0.01  # after the decay time: the tone filter rings
PULSE_THRESHOLD = 1e-4  # below the last pulse, 0.2 x 0.001
BANDS_HZ = 125.0 * 2.0 ** np.arange(7)
SETTINGS = [(0.25, 0.1), (1.0, 0.5), (2.0, 0.2)]  # decay time in seconds, level
SPACINGS = (80.0, 40.0, 20.0)
WINDOW_S = 0.1  # of the pulses that are counted together for the chart


class TailSource:
    """Two effects, one of them with the reverb."""

    def __init__(self, subject, decay_s, level):
        self.rate_hz = subject.rate_hz
        self._dry, self._wet = subject.bed("7.1"), subject.bed("7.1")
        self._frames = int((PRE_DELAY_S + decay_s + TAIL_ENDS_S) * self.rate_hz)
        self.set("reverb.enable", 1.0)
        self.set("reverb.decay", decay_s)
        self.set("reverb.level", level)

    def set(self, name, value):
        self._wet.set(name, value)

    def draw(self):
        """A response of its own each time, (2, frames): a parameter that is set draws a new one."""
        self.set("reverb.enable", 1.0)
        return difference(self._wet.respond("FC", self._frames), self._dry.respond("FC", self._frames))


def expected_s(decay_s, level):
    """Seconds for a fall by 60 dB: the envelope goes from the level to ENVELOPE_END in the decay time."""
    return decay_s * 60.0 / (20.0 * np.log10(level / ENVELOPE_END))


def check_decays(subject, section):
    """How fast the tail falls in octave bands, of all draws and ears together."""
    bands = charts.Axis("octave band (Hz)", 100.0, 10000.0, logarithmic=True)
    chart = charts.Chart("Time (T20) against T x 60 / (20 log10(L / 0.001))", bands,
                         charts.Axis("time found (%)", 90.0, 110.0, 5.0))
    worst = 0.0
    for colour, (decay_s, level) in zip(charts.SERIES, SETTINGS):
        source = TailSource(subject, decay_s, level)
        tails = np.concatenate([source.draw() for _ in range(DRAWS)])
        wanted = expected_s(decay_s, level)
        shares = []
        for hz in BANDS_HZ:
            band = decay.energy_sum(decay.octave_band(tails, hz, subject.rate_hz))
            curve = decay.curve(band, subject.rate_hz, subject.rate_hz // 1000)
            shares.append(100.0 * decay.time_s(*curve, decay.T20, PRE_DELAY_S) / wanted)
        chart.line(BANDS_HZ, shares, colour, f"T {decay_s:g} s, L {level:g}: {wanted:.3f} s")
        worst = np.maximum(worst, np.max(np.abs(np.array(shares) - 100.0)))
    limit = section.add("time", worst)
    chart.level(100.0 - limit.at_most, charts.LIMIT, "limit")
    chart.level(100.0 + limit.at_most, charts.LIMIT, "limit")
    section.draw(chart)


def draw_tail(subject, section):
    """One tail with its fit: what the chart of the decays is made of."""
    decay_s, level = SETTINGS[1]
    tail = TailSource(subject, decay_s, level).draw()
    seconds, level_db = decay.curve(tail[0], subject.rate_hz, subject.rate_hz // 1000)
    fit = decay.fit(seconds, level_db, decay.T20, PRE_DELAY_S)
    chart = charts.Chart(f"Decay of a tail of {decay_s:g} s at level {level:g}", charts.Axis("time (s)", 0.0, 1.2, 0.2),
                         charts.Axis("energy still to come (dB)", -70.0, 5.0, 10.0))
    chart.line(seconds[level_db >= -70.0], level_db[level_db >= -70.0], charts.LEFT, "left ear")
    chart.line(seconds, fit.level_db(seconds), charts.REFERENCE, dashed=True, width=1.2)
    chart.words(0.75, -8.0, f"dashed: T20 = {fit.time_s:.2f} s, fitted from -5 to -25 dB")
    section.draw(chart, summary=True)


def pulses(tail):
    return np.abs(tail) > PULSE_THRESHOLD


def envelope_error_db(tail, start, decay_s, level, rate_hz):
    """White pulses: how far any of them is from the envelope."""
    at = start + np.flatnonzero(pulses(tail[start:]))
    envelope = WET_GAIN * level * (ENVELOPE_END / level) ** ((at - start + 1.0) / rate_hz / decay_s)
    return np.max(np.abs(20.0 * np.log10(np.abs(tail[at]) / envelope)))


def check_pulses(subject, section):
    """How dense the pulses are and how closely they follow the envelope, with the tone filter off."""
    decay_s, level, rate_hz = 1.0, 0.5, subject.rate_hz
    start, length, window = round(PRE_DELAY_S * rate_hz), round(decay_s * rate_hz), round(WINDOW_S * rate_hz)
    chart = charts.Chart("Pulses of the tail per second", charts.Axis("time after the pre-delay (s)", 0.0, decay_s, 0.2),
                         charts.Axis("pulses per second", 0.0, 3000.0, 600.0))
    source = TailSource(subject, decay_s, level)
    source.set("reverb.tone", 0.0)
    density, envelope = [], []
    for colour, spacing in zip(charts.SERIES, SPACINGS):
        source.set("reverb.spacing", spacing)
        heard = source.draw()
        found = pulses(heard[0][start : start + length])
        counted = found.reshape(-1, window).sum(axis=1) * rate_hz / window
        chart.level(rate_hz / spacing, charts.REFERENCE)
        chart.line((np.arange(len(counted)) + 0.5) * WINDOW_S, counted, colour, f"spacing {spacing:g}")
        density.append(100.0 * abs(found.sum() * rate_hz / length * spacing / rate_hz - 1.0))
        envelope += [envelope_error_db(ear, start, decay_s, level, rate_hz) for ear in heard]
    chart.words(0.5 * decay_s, 100.0, "dashed: rate / spacing", colour=charts.REFERENCE)
    section.add("density", np.max(density))
    section.add("envelope", np.max(envelope))
    section.draw(chart)


def check_ears(subject, section):
    """With all defaults but the length, which makes chance weigh less."""
    source = TailSource(subject, 1.0, 0.1)
    drawn = [source.draw() for _ in range(DRAWS)]
    section.add("balance", np.max(np.abs([ears.ild_db(heard) for heard in drawn])))
    section.add("correlation", np.max(np.abs([ears.correlation(heard) for heard in drawn])))
    source.set("reverb.stereo", 0.0)
    section.add("mono", ears.correlation(source.draw()))


def check(subject, limits):
    section = Section(
        "reverb", "Reverberation",
        "The tail alone, which is what the reverb adds to the ears of an impulse from the centre: how fast it decays in"
        " octave bands for three settings of decay time T and level L, averaged over six draws and both ears; how dense"
        " its pulses are and how closely they follow the envelope, with the tone filter off; how alike the ears are."
        " The time is T20 of ISO 3382-1: the fall from 5 to 25 dB below the start of the backward-integrated energy.",
        limits)  # fmt: skip
    check_decays(subject, section)
    draw_tail(subject, section)
    check_pulses(subject, section)
    check_ears(subject, section)
    return section
