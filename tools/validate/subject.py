# SPDX-License-Identifier: Apache-2.0
"""The shared library under test, through the package orvane: the effect with beds in memory, and single modules."""

import contextlib

import numpy as np
import orvane
from orvane import Rows, ffi, lib

from measure import sphere

from . import other_tables as _other_tables

rate_hz = orvane.SAMPLE_RATE
layouts = tuple(orvane.LAYOUTS)
library_path = orvane.LIBRARY_PATH
other_tables, missing_tables = _other_tables.read()

RESPONSE_FRAMES = 512  # more than any response of the ears without a room


def call(function, *arguments):
    """Calls a function of the library that returns 0 for success."""
    code = getattr(lib, function)(*arguments)
    if code != lib.UBR_OK:
        raise orvane.Error(function, code)


class Bed:
    """An effect, driven through AELI, in its own defaults but for the reverb, which is off."""

    rate_hz = rate_hz

    def __init__(self, layout):
        self.speakers = orvane.LAYOUTS[layout].channels
        self.channels = len(self.speakers)
        self._effect = orvane.Effect(layout, block=orvane.MAX_BLOCK)
        self.set("reverb.enable", 0.0)

    def set(self, name, value):
        self._effect.parameters[name] = value

    def turn_head(self, head):
        """Faded to over the next block."""
        self._effect.rotation_vector = head.as_rotvec()

    def settle_head(self, head):
        """Turns the head at once: renders a block of silence."""
        self.turn_head(head)
        self._effect.process(np.zeros((self.channels, orvane.MAX_BLOCK), np.float32))

    def signal(self, speaker, samples):
        """A bed in which one channel holds `samples` and all others are silent."""
        silence = np.zeros((self.channels, len(samples)), np.float32)
        silence[self.speakers.index(speaker)] = samples
        return silence

    def render(self, samples, block=orvane.MAX_BLOCK):
        """(channels, frames) to (2, frames). `block` may be a function, called with the first frame of every block,
        which returns its length and may turn the head."""
        plan = block if callable(block) else lambda _: block
        ears = np.zeros((2, samples.shape[1]), np.float32)
        start = 0
        while start < samples.shape[1]:
            part = samples[:, start : start + plan(start)]
            ears[:, start : start + part.shape[1]] = self._effect.process(part)
            start += part.shape[1]
        return ears

    def respond(self, speaker, frames=RESPONSE_FRAMES):
        """The ears from an impulse on."""
        return self.render(self.signal(speaker, np.eye(1, frames, dtype=np.float32)[0]))


bed = Bed  # a function of the subject, as the others are


def directions_deg(layout):
    """Azimuths and elevations of a layout's loudspeakers without LFE, (loudspeakers, 2), in degrees."""
    speakers = zip(orvane.LAYOUTS[layout].channels, orvane.LAYOUTS[layout].positions)
    positions = [position for name, position in speakers if not name.startswith("LFE")]
    return np.degrees(np.transpose(sphere.directions_of(positions)))


def encode(signals, directions, order):
    """Loudspeakers (sources, frames) in directions in radians to a field ((order + 1)^2, frames)."""
    return orvane.encode(signals, *np.degrees(directions), order=order)


def rotate(field, order, vector=None, yaw_pitch_roll=None):
    """What a turned head hears of a field; the turn in one of the rotator's formats, in force at once."""
    field = np.ascontiguousarray(field, np.float32)
    found = np.empty_like(field)
    values, form = (vector, lib.ROTATOR_ROTATION_VECTOR) if yaw_pitch_roll is None else (
        yaw_pitch_roll, lib.ROTATOR_YAW_PITCH_ROLL)  # fmt: skip
    base, rotator = ffi.new("ambisonics_base_t *"), ffi.new("rotator_t *")
    config = ffi.new("ambisonics_config_t *", {"order": order, "num_channels": len(field)})
    call("ambisonics_base_init", base, config[0])
    call("rotator_init", rotator, base, field.shape[1])
    call("rotator_set_orientation", rotator, [float(value) for value in values], form)
    for samples in (np.zeros_like(field), field):
        rows = Rows(samples), Rows(found)  # which own what they point to
        call("rotator_process", rotator, *(row.pointers for row in rows), field.shape[1])
    lib.rotator_cleanup(rotator)
    lib.ambisonics_base_cleanup(base)
    return found


class _RoomField:
    """The reflections of a renderer, which can be had as a field."""

    def __init__(self, renderer):
        self._record = renderer.record
        reflections = self._record.reflections
        sources = reflections.virtual_sources[0 : int(reflections.scene.source_count)]
        self.loudspeakers = tuple(np.array([[source.azimuth, source.elevation] for source in sources]).T)

    def process(self, field):
        """The reflections alone of a field from silence on; both (25, frames)."""
        block = orvane.MAX_BLOCK
        lib.ubr_reset_reflections(self._record.reflections, block)
        found = np.zeros_like(field)
        for start in range(0, field.shape[1], block):
            part, out = (np.ascontiguousarray(array[:, start : start + block]) for array in (field, found))
            rows = Rows(part), Rows(out)  # which own what they point to
            call("ubr_process_reflections", self._record.reflections, *(row.pointers for row in rows), part.shape[1])
            found[:, start : start + block] = out
        return found


@contextlib.contextmanager
def room_field(room, mode):
    """The reflections of one of the modes in a room_model.Room; `loudspeakers` are the virtual ones, in radians."""
    parameters = dict(zip(("room.length", "room.width", "room.height"), room.size))
    parameters |= dict(zip(("listener.x", "listener.y", "listener.z"), room.listener))
    walls = ("front", "back", "left", "right", "ceiling", "floor")
    parameters |= {f"absorption.{wall}": value for wall, value in zip(walls, room.absorption)}
    parameters["reflections.mode"] = mode
    with orvane.Renderer([(1.0, 0.0, 0.0)], block=orvane.MAX_BLOCK, parameters=parameters) as renderer:
        yield _RoomField(renderer)
