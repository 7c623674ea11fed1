# SPDX-License-Identifier: Apache-2.0
"""The demo's picture: where the voices are heard, and how the room dies away."""

import numpy as np

from measure import charts, decay

from . import voices

FLOOR_DB = -70.0
REVERB_ALONE_S = 0.05  # the last early reflection has come by then
STEP_S = 0.002
LAST_S = 0.3


def differences(title, y, heard, values, decimals):
    """One bar per voice, in the colour of the ear that it favours."""
    chart = charts.Chart(title, charts.Axis("", 0.0, len(heard)), y)
    at = np.arange(len(heard)) + 0.5
    chart.bars(at, values, [charts.LEFT if value > 0.0 else charts.RIGHT for value in values])
    for x, value in zip(at, values):
        text = f"{round(value, decimals) + 0.0:+.{decimals}f}"
        chart.words(x, value, text, down=12.0 if value < 0.0 else -4.0)
    chart.names(at, [f"{voice.name.replace('_', chr(10))}\n{voice.azimuth_deg:+.0f}°" for voice in heard])
    return chart


def room(response):
    """How the response (2, frames) to an impulse from the front left dies away, and the line that its time is of."""
    chart = charts.Chart("The room after an impulse from the front left", charts.Axis("time after the impulse (s)", 0.0, LAST_S, 0.05),
                         charts.Axis("energy still to come (dB)", FLOOR_DB, 0.0, 10.0), charts.WIDE)
    for name, colour, ear in zip(("left", "right"), (charts.LEFT, charts.RIGHT), response):
        seconds, level_db = decay.curve(ear, voices.RATE_HZ, round(STEP_S * voices.RATE_HZ))
        shown = level_db >= FLOOR_DB
        chart.line(seconds[shown], level_db[shown], colour)
        fit = decay.fit(seconds, level_db, decay.EDT, REVERB_ALONE_S)
        if fit is None:
            raise ValueError("the room's response does not fall by 10 dB")
        chart.line([0.0, LAST_S], fit.level_db([0.0, LAST_S]), colour, f"{name} ear: EDT {fit.time_s:.2f} s", dashed=True, width=1.0)
    chart.words(0.6 * LAST_S, -4.0, f"dashed: fitted where the tail is alone, to the first 10 dB that it falls from {REVERB_ALONE_S:g} s on.")
    chart.words(0.6 * LAST_S, -8.0, f"EDT is the time in which such a line falls by 60 dB (ISO 3382-1); the tail itself ends after {seconds[-1]:.2f} s.")
    return chart


def draw(heard, response):
    """Text of an SVG file."""
    level = differences("How much louder the left ear hears each voice", charts.Axis("level, left minus right (dB)", -6.0, 6.0, 2.0),
                        heard, [voice.ild_db for voice in heard], 1)
    time = differences("How much earlier the left ear hears each voice", charts.Axis("time, right minus left (µs)", -900.0, 900.0, 300.0),
                       heard, [voice.itd_us for voice in heard], 0)
    return charts.sheet([[level, time], [room(response)]])
