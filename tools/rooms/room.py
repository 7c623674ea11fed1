# SPDX-License-Identifier: Apache-2.0
"""Impulse responses of a preset's room, as the effect renders them, and the preset's file."""

from dataclasses import dataclass
from pathlib import Path

import numpy as np
import orvane

from . import measures

PRESETS = Path(__file__).resolve().parents[2] / "presets"
LAYOUT = "7.1.4"
BLOCK = 1024
DRY = {"reverb.enable": 0.0, "reflections.mode": 0.0}
DRY_SAMPLES = 2 * BLOCK
REFLECTIONS_SAMPLES = 6 * BLOCK  # longer than the longest way in the largest room
MARGIN_S = 0.1


def read_preset(path):
    """Values of a preset by parameter name, in the file's order."""
    lines = (line.split("#")[0].strip() for line in Path(path).read_text().splitlines())
    pairs = (line.split("=") for line in lines if line)
    return {name.strip(): float(value) for name, value in pairs}


def write_order(preset):
    """The preset in the order in which hosts send it: by number, but the mode of reflections last.

    Every value of the reverb draws its response anew, so the order decides which one is heard.
    """
    numbers = {name: orvane.PARAMETERS[name].number for name in preset}
    return {
        name: preset[name]
        for name in sorted(preset, key=lambda name: (name == "reflections.mode", numbers[name]))
    }


def responses(preset, speakers, samples):
    """Impulse responses from loudspeakers of LAYOUT, shape (speakers, ears, samples)."""
    names = list(orvane.LAYOUTS[LAYOUT].channels)
    blocks = -(-samples // BLOCK)
    result = np.empty((len(speakers), 2, samples))
    with orvane.Effect(LAYOUT, block=BLOCK, parameters=write_order(preset)) as effect:
        for i, speaker in enumerate(speakers):
            effect.reset()
            bed = np.zeros((len(names), blocks * BLOCK), np.float32)
            bed[names.index(speaker), 0] = 1.0
            result[i] = effect.render(bed)[:, :samples]
    return result


def loudspeakers():
    """Names of LAYOUT's loudspeakers, without the LFE."""
    return [name for name in orvane.LAYOUTS[LAYOUT].channels if not name.startswith("LFE")]


@dataclass
class Room:
    """Responses of one preset, all of one length, shape (speakers, ears, samples)."""

    preset: dict
    speakers: list
    dry: np.ndarray
    early: np.ndarray  # dry and reflections
    full: np.ndarray

    def of(self, responses, speaker):
        return responses[self.speakers.index(speaker)]

    @property
    def reflections(self):
        return self.early - self.dry

    @property
    def tail(self):
        return self.full - self.early


def length_of(preset):
    """Samples until everything that a preset adds is over."""
    seconds = 0.0
    if preset.get("reverb.enable", 1.0):
        value = lambda name: preset.get(name, orvane.PARAMETERS[name].default)
        seconds = value("reverb.predelay") / 1000.0 + value("reverb.decay")
    return max(REFLECTIONS_SAMPLES, int((seconds + MARGIN_S) * measures.RATE))


def reflected(preset, speakers):
    """Responses of direct sound and early reflections alone."""
    return responses(preset | {"reverb.enable": 0.0}, speakers, REFLECTIONS_SAMPLES)


def render(preset, speakers=None, dry=None, early=None):
    """The Room of a preset, for the loudspeakers named or all of them.

    `dry` and `early` save time where they are known: responses without anything, and without tail.
    """
    speakers = speakers or loudspeakers()
    samples = length_of(preset)
    padded = lambda x: np.pad(x, ((0, 0), (0, 0), (0, samples - x.shape[-1])))
    if dry is None:
        dry = responses(DRY, speakers, DRY_SAMPLES)
    if early is None:
        early = reflected(preset, speakers)
    full = responses(preset, speakers, samples) if preset.get("reverb.enable", 1.0) else padded(early)
    return Room(preset, speakers, padded(dry), padded(early), full)


def presets(names):
    """The Rooms of presets by their names."""
    return {name: render(read_preset(PRESETS / f"{name}.preset")) for name in names}
