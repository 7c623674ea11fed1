# SPDX-License-Identifier: Apache-2.0
"""One stage of the renderer at a time, on whole signals."""

from __future__ import annotations

import contextlib
import math
from typing import Any, Iterator, NamedTuple

import numpy as np
import numpy.typing as npt

from orvane._library import call, ffi, lib
from orvane._samples import Rows, Samples, as_samples, as_vector, output
from orvane.rotations import vector_from_pose
from orvane.tables import MAX_BLOCK, SAMPLE_RATE

_LONGEST_BLOCK = 1 << 20  # of the binauralizer, which would end the process for one of 2^30

Array = npt.NDArray[np.float64]


def sh_weights(azimuth: npt.ArrayLike, elevation: npt.ArrayLike = 0.0, *, order: int = 4) -> Array:
    """SH weights of directions: shape of the angles, then (order + 1)^2 channels, ACN and SN3D.

    azimuth, elevation  degrees, broadcast against each other
    order               0 to 4

    Source: ambisonics_base_generate_beam (ambisonics/ambisonics_base.h).
    """
    azimuths, elevations = np.broadcast_arrays(_angles(azimuth), _angles(elevation))
    with _channel_set(order) as base:
        weights = np.empty((azimuths.size, base.num_channels), np.float32)
        for row, a, e in zip(weights, azimuths.flat, elevations.flat):
            call("ambisonics_base_generate_beam", base, ffi.cast("float *", row.ctypes.data), a, e, 1.0)
    return weights.reshape(*azimuths.shape, -1).astype(np.float64)


def encode(samples: npt.ArrayLike, azimuth: npt.ArrayLike, elevation: npt.ArrayLike = 0.0, *,
           order: int = 4) -> Samples:
    """Sources (sources, frames) to a field of ((order + 1)^2, frames), ACN and SN3D.

    azimuth, elevation  degrees: one, or one per source
    order               0 to 4

    Source: encoder_process_dynamic (ambisonics/encoder.h); no distance, no gain.
    """
    sources = as_samples(samples)
    azimuths, elevations = (np.broadcast_to(_angles(x), len(sources)) for x in (azimuth, elevation))
    with _channel_set(order) as base, _record("encoder", base, len(sources), MAX_BLOCK) as encoder:
        for i, (a, e) in enumerate(zip(azimuths, elevations)):
            call("encoder_set_source_type", encoder, i, lib.ENCODER_SOURCE_LOUDSPEAKER)
            call("encoder_set_source_direction", encoder, i, a, e)
        field = output(None, (base.num_channels, sources.shape[1]), sources)
        for inputs, outputs, frames in _blocks(sources, field, MAX_BLOCK):
            call("encoder_process_dynamic", encoder, inputs, outputs, frames, 0)
    return field


def rotate(field: npt.ArrayLike, pose: npt.ArrayLike | None = None, *,
           rotation_vector: npt.ArrayLike | None = None) -> Samples:
    """The field that a turned head hears, of the same shape, 4 to 25 channels; order 1 to 4.

    pose             yaw, pitch and roll in degrees, as `vector_from_pose` takes them; or
    rotation_vector  axis times angle in radians

    The head is turned from the first sample on. `rotate(numpy.eye(25), pose)` is the matrix with
    rotated = matrix @ field. Source: rotator_process (ambisonics/rotator.h).
    """
    if pose is not None and rotation_vector is None:
        vector = vector_from_pose(as_vector(pose, "pose"))
    elif rotation_vector is not None and pose is None:
        vector = as_vector(rotation_vector, "rotation_vector")
    else:
        raise TypeError("either a pose or a rotation_vector is needed")
    turned = as_samples(field)
    out = output(None, (turned.shape[0], turned.shape[1]), turned)
    order = _order(turned)
    if order == 0:
        raise ValueError("field: an order of 1 to 4 is needed")
    with _channel_set(order) as base, _record("rotator", base, MAX_BLOCK) as rotator:
        call("rotator_set_orientation", rotator, vector.tolist(), lib.ROTATOR_ROTATION_VECTOR)
        silence = np.zeros((len(turned), 4), np.float32)
        rows = Rows(silence)
        call("rotator_process", rotator, rows.pointers, rows.pointers, 4)  # the turn is over
        for inputs, outputs, frames in _blocks(turned, out, MAX_BLOCK):
            call("rotator_process", rotator, inputs, outputs, frames)
    return out


def binauralize(field: npt.ArrayLike, *, block: int = MAX_BLOCK) -> Samples:
    """A field of 1 to 25 channels, ACN and SN3D, to left and right ear: (2, frames).

    block  samples per transform; changes rounding and speed

    The ears are as long as the field: append silence to hear the last responses out. Source:
    binauralizer_process (ambisonics/binauralizer.h).
    """
    sources = as_samples(field)
    if block < 1:
        raise ValueError(f"block: at least 1 sample, not {block}")
    block = min(block, max(sources.shape[1], 1), _LONGEST_BLOCK)
    with _record("binauralizer", _order(sources), block) as binauralizer:
        ears = output(None, (binauralizer.num_ears, sources.shape[1]), sources)
        for inputs, outputs, frames in _blocks(sources, ears, block):
            call("binauralizer_process", binauralizer, inputs, outputs, frames)
    return ears


class Reflections(NamedTuple):
    """First-order reflections: arrays of the shape (sources, 6), walls +x, -x, +y, -y, ceiling, floor."""

    delay: Array  # seconds, from the image to the listener
    gain: Array  # linear, relative to the direct sound; can be negative
    azimuth: Array  # degrees, of arrival at the listener
    elevation: Array


def shoebox(size: npt.ArrayLike, listener: npt.ArrayLike, sources: npt.ArrayLike, *,
            absorption: npt.ArrayLike | None = None, materials: npt.ArrayLike | None = None) -> Reflections:
    """The reflections of sources in a rectangular room.

    size        length (x), width (y) and height (z) in metres
    listener    x and y from the middle of the room, z from the floor, in metres
    sources     (sources, 3), likewise; sources and listener are kept 0.1 m from the walls
    absorption  0 to 1: one, or six for the walls +x, -x, +y, -y, ceiling, floor; or
    materials   1 to 27, likewise (docs/parameters.md); else the absorptions of a new room

    Source: shoebox_set_scene (room/shoebox_scene.h).
    """
    places = np.asarray(sources, np.float64)
    if places.ndim != 2 or places.shape[1] != 3 or not np.isfinite(places).all():
        raise ValueError(f"sources: finite positions of the shape (sources, 3) are needed, not {places.shape}")
    room, scene = ffi.new("shoebox_config_t *"), ffi.new("shoebox_scene_t *")
    lib.shoebox_init(room)
    room.params.room_x, room.params.room_y, room.params.room_z = as_vector(size, "size")
    if min(as_vector(size, "size")) <= 2 * room.wall_margin:
        raise ValueError(f"size: more than {2 * room.wall_margin:g} m each way are needed")
    room.height_from_floor = 1
    if absorption is not None:
        _set_walls(room, lib.shoebox_set_abscoeff, absorption, 0.0, 1.0)
    if materials is not None:
        _set_walls(room, lib.shoebox_set_material, materials, 1.0, float(lib.SHOEBOX_MATERIALS))
    taps = []
    for first in range(0, len(places), lib.SHOEBOX_MAX_SOURCES):
        group = places[first:first + lib.SHOEBOX_MAX_SOURCES]
        scene.source_count, scene.reflections_per_source = len(group), lib.SHOEBOX_WALLS
        lib.shoebox_set_scene(room, scene, as_vector(listener, "listener").tolist(), group.ravel().tolist(), 1, 0)
        count = len(group) * lib.SHOEBOX_WALLS
        taps.append([list(field[0:count]) for field in (scene.delay, scene.gain, scene.azimuth, scene.elevation)])
    joined = np.concatenate(taps, axis=1) if taps else np.zeros((4, 0))
    delay, gain, azimuth, elevation = joined.reshape(4, -1, lib.SHOEBOX_WALLS)
    return Reflections(delay, gain, np.degrees(azimuth), np.degrees(elevation))


def velvet_noise(samples: npt.ArrayLike | None = None, *, draw: int = 0, **settings: float) -> Samples:
    """The reverberator's tail of a mono signal, left and right: (2, frames).

    samples   (frames,); the tail is as long, append silence to hear it out. Without it, the whole
              response to a unit impulse
    draw      which of the responses: equal settings give another one each time they are prepared
    settings  fields of vn_config_t (decay_s, level, pulse_spacing, pre_delay_ms, stereo, ...); the
              defaults are the library's

    The renderer adds its tail at a gain of 0.2. Source: vn_process (room/velvet_noise.h).
    """
    state, config = ffi.new("vn_state_t *"), ffi.new("vn_config_t *")
    generator = ffi.new("uint32_t[]", lib.RANDOM_STATE_WORDS)
    call("vn_init", state, ffi.new("uint32_t *[1]", [generator]))
    try:
        call("vn_get_config", state, config)
        for name, value in settings.items():
            setattr(config, name, value)
        call("vn_set_config", state, ffi.cast("float *", config))
        call("vn_set_fs", state, SAMPLE_RATE)
        call("vn_set_buf_size", state, MAX_BLOCK)
        for _ in range(draw + 1):
            call("vn_prepare_to_play", generator, state, detail=f"{settings}")
        return _apply_velvet_noise(generator, state, _mono(samples, state))
    finally:
        lib.vn_terminate(state)


def _mono(samples: npt.ArrayLike | None, state: Any) -> Samples:
    if samples is not None:
        mono: Samples = as_samples(np.atleast_2d(np.asarray(samples)), 1)[0]
        return mono
    impulse: Samples = np.zeros(max(state.ring_length - state.block_size + 1, 1), np.float32)
    impulse[0] = 1.0
    return impulse


def _apply_velvet_noise(generator: Any, state: Any, mono: Samples) -> Samples:
    tail = np.zeros((2, len(mono)), np.float32)
    for first in range(0, len(mono), MAX_BLOCK):
        block = np.ascontiguousarray(mono[first:first + MAX_BLOCK])
        out = np.zeros((2, len(block)), np.float32)
        call("vn_process", generator, state, ffi.cast("float *", block.ctypes.data), [len(block), 1],
             ffi.cast("float *", out.ctypes.data), [len(block), 2])
        tail[:, first:first + MAX_BLOCK] = out
    return tail


def _set_walls(room: Any, setter: Any, values: npt.ArrayLike, minimum: float, maximum: float) -> None:
    walls = np.broadcast_to(np.asarray(values, np.float64), lib.SHOEBOX_WALLS)
    if not ((walls >= minimum) & (walls <= maximum)).all():
        raise ValueError(f"walls: {minimum:g} to {maximum:g} are needed, not {values!r}")
    for wall, value in enumerate(walls, 1):
        setter(room, wall, value)


def _angles(degrees: npt.ArrayLike) -> Array:
    angles = np.radians(np.asarray(degrees, np.float64))
    if not np.isfinite(angles).all():
        raise ValueError("angles: finite numbers are needed")
    return angles


def _order(field: Samples) -> int:
    order = math.isqrt(len(field)) - 1
    if len(field) != (order + 1) ** 2 or not 0 <= order <= lib.AMBISONICS_MAX_ORDER:
        raise ValueError(f"field: 1, 4, 9, 16 or 25 channels are needed, not {len(field)}")
    return order


@contextlib.contextmanager
def _record(module: str, *arguments: Any) -> Iterator[Any]:
    """A module's record between its init and its cleanup."""
    record = ffi.new(f"{module}_t *")
    try:
        call(f"{module}_init", record, *arguments)
        yield record
    finally:
        getattr(lib, f"{module}_cleanup")(record)


@contextlib.contextmanager
def _channel_set(order: int) -> Iterator[Any]:
    config = ffi.new("ambisonics_config_t *", {"order": order, "num_channels": (order + 1) ** 2})
    with _record("ambisonics_base", config[0]) as base:
        yield base


def _blocks(samples: Samples, out: Samples, block: int) -> Iterator[tuple[Any, Any, int]]:
    """Pointers into both, and the number of frames, of one block after the other."""
    for first in range(0, samples.shape[1], block):
        inputs, outputs = Rows(samples, first), Rows(out, first)
        yield inputs.pointers, outputs.pointers, min(block, samples.shape[1] - first)
