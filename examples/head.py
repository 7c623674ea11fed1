#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""A source circles the head: how much louder and earlier the left ear hears it, from every direction.

    head.py OUT.svg

The circle at ear height and two above it, one click per five degrees. Prints the extremes.
"""

import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt
import numpy as np

import orvane

CLICK_FRAMES = 1024  # longer than a response of the head


def ears_of(azimuth, elevation, renderer):
    """The two ears' responses to a click from a direction, in degrees."""
    a, e = np.radians([azimuth, elevation])
    renderer.place(0, (np.cos(e) * np.cos(a), np.cos(e) * np.sin(a), np.sin(e)))
    click = np.zeros((1, CLICK_FRAMES), np.float32)
    click[0, 0] = 1
    return renderer.process(click)


def level_difference(ears):
    """ILD in dB: positive where the left ear is louder."""
    left, right = np.sum(ears.astype(float) ** 2, axis=1)
    return 10 * np.log10(left / right)


def time_difference(ears):
    """ITD in microseconds: positive where the left ear is earlier. Peak of the correlation below 1.5 kHz."""
    left, right = np.fft.rfft(ears, 16 * CLICK_FRAMES)
    frequency = np.fft.rfftfreq(16 * CLICK_FRAMES, 1 / orvane.SAMPLE_RATE)
    cross = np.where(frequency < 1500, right * np.conj(left), 0)
    finer = 4  # points per sample
    correlation = np.fft.irfft(cross, finer * 16 * CLICK_FRAMES)
    lag = np.argmax(correlation)
    if lag > len(correlation) // 2:
        lag -= len(correlation)
    return 1e6 * lag / (finer * orvane.SAMPLE_RATE)


def main(path):
    azimuths = np.arange(-180, 181, 5)
    figure, (level, time) = plt.subplots(2, 1, sharex=True, figsize=(8, 7))
    with orvane.Renderer([(1, 0, 0)], block=CLICK_FRAMES, parameters={"reverb.enable": 0}) as renderer:
        for elevation in (0, 30, 60):
            circle = [ears_of(azimuth, elevation, renderer) for azimuth in azimuths]
            ild = np.array([level_difference(ears) for ears in circle])
            itd = np.array([time_difference(ears) for ears in circle])
            level.plot(azimuths, ild, label=f"elevation {elevation}°")
            time.plot(azimuths, itd)
            print(f"elevation {elevation:2}: ILD up to {ild.max():4.1f} dB at {azimuths[ild.argmax()]:3} degrees, "
                  f"ITD up to {itd.max():3.0f} us at {azimuths[itd.argmax()]:3} degrees")
    level.set_ylabel("left over right, dB (ILD)")
    level.legend()
    time.set(xlabel="azimuth, degrees to the left", ylabel="left before right, µs (ITD)", xticks=range(-180, 181, 45))
    for axes in (level, time):
        axes.grid(alpha=0.3)
    figure.savefig(path, bbox_inches="tight")


if len(sys.argv) != 2:
    sys.exit(__doc__)
main(sys.argv[1])
