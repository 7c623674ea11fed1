# SPDX-License-Identifier: Apache-2.0
"""The renderer (renderer/ubr.h): loudspeakers, sources or an ambisonic field to two ears."""

from __future__ import annotations

import os
from typing import Any, Mapping

import numpy as np
import numpy.typing as npt

from orvane._library import Error, ffi, lib, lookup, names
from orvane._player import Player
from orvane._samples import Rows, Samples, as_samples, as_vector
from orvane.ears import load_ears
from orvane.parameters import Parameters, explain
from orvane.rotations import Vector
from orvane.tables import Parameter, find_layout

_MODES = names("ubr_render_mode", "UBR_MODE_")
_KINDS = names("encoder_source_type", "ENCODER_SOURCE_")


class Renderer(Player):
    """Renders blocks of planar float samples at 48 kHz.

        with orvane.Renderer("7.1.4", block=480) as renderer:
            renderer.pose = (30, 0, 0)
            ears = renderer.render(bed)  # (12, frames) -> (2, frames)

    layout      a name of `orvane.LAYOUTS`; or positions of sources in metres, shape (sources, 3)
                with +x ahead, +y left, +z up, which sound as loudspeakers until `place` says
                otherwise; or "ambisonics", a field of (order + 1)^2 channels, ACN and SN3D
    block       longest block in samples, 64 to 1024
    order       ambisonic order, 1 to 4
    mode        "binaural_tracked", or "binaural" for a head at rest, give two ears, "ambisonic" and
                "ambisonic_tracked" a field, "downmix" plain stereo
    parameters  what to set at the start; the reverb is on by default, the reflections are off
    ears        other ears than the built-in ones: a SOFA file, for `orvane.load_ears`; or responses,
                for `set_responses`, a table for the left ear of a symmetric head or one for each ear

    Threads: calls on one renderer wait for each other. The interpreter's lock is released while a
    block is rendered, so renderers run side by side. Raises Error where the library refuses,
    ValueError and TypeError for arrays that do not fit.
    """

    def __init__(self, layout: str | npt.ArrayLike = "7.1.4", *, block: int = 480, order: int = 4,
                 mode: str = "binaural_tracked", parameters: Mapping[str, float] | None = None,
                 ears: str | os.PathLike[str] | npt.ArrayLike | None = None) -> None:
        self._record: Any = ffi.new("ubr_t *")
        self._is_open = True
        super().__init__()
        self.parameters = Parameters(self._apply)
        is_field = isinstance(layout, str) and layout == "ambisonics"
        sources = [] if is_field else _sources(layout)
        inputs = (order + 1) ** 2 if is_field else len(sources)
        kind = lib.UBR_INPUT_AMBISONICS if is_field else lib.UBR_INPUT_SOURCES
        try:
            self._call("ubr_init", kind, inputs, lookup(_MODES, mode, "mode"), block, order)
            for i, (position, lfe) in enumerate(sources):
                self.place(i, position, "lfe" if lfe else "loudspeaker")
            self.parameters.assign(parameters or {})
            if ears is not None:
                self.set_responses(*_tables(ears))
        except BaseException:
            self.close()
            raise

    @property
    def inputs(self) -> int:
        return int(self._record.num_inputs)

    @property
    def outputs(self) -> int:
        return int(self._record.num_outputs)

    @property
    def block(self) -> int:
        return int(self._record.max_frame_size)

    @property
    def record(self) -> Any:
        """The `ubr_t` itself, as cffi gives it, to look into. Its pointers are null after `close`."""
        return self._record

    def place(self, source: int, position: npt.ArrayLike, kind: str | None = None) -> None:
        """Moves a source, from the next block on.

        position  metres, +x ahead, +y left, +z up
        kind      "world" (quieter with distance), "loudspeaker", "head_locked" (does not turn) or
                  "lfe" (from everywhere); None leaves it as it is
        """
        x, y, z = as_vector(position, "position")
        if kind is not None:
            self._call("ubr_set_source_type", source, lookup(_KINDS, kind, "kind of source"))
        self._call("ubr_set_source_position", source, x, y, z)

    def set_responses(self, left: npt.ArrayLike | None, right: npt.ArrayLike | None = None) -> None:
        """Renders for other ears, from the next block on. What is in flight ends with the old ones.

        left, right  responses of the spherical harmonics, shape (256 taps at 48 kHz, 25 channels, ACN
                     and SN3D); without `right` the head is symmetric, without both it is the
                     built-in one
        """
        tables = [None if ear is None else _table(ear) for ear in (left, right)]
        pointers = [ffi.NULL if ear is None else ffi.cast("float *", ear.ctypes.data) for ear in tables]
        self._call("ubr_set_responses", *pointers)

    def reset(self) -> None:
        """Silence, and the head straight ahead. Parameters, sources and ears stay."""
        self._call("ubr_reset")
        self._rotation_vector = np.zeros(3)

    def close(self) -> None:
        with self._lock:
            self._is_open = False
            lib.ubr_cleanup(self._record)

    def _call(self, function: str, *arguments: Any, detail: str = "") -> None:
        with self._lock:
            if not self._is_open:
                raise ValueError("the renderer is closed")
            code = getattr(lib, function)(self._record, *arguments)
        if code != lib.UBR_OK:
            raise Error(function, code, detail)

    def _turn(self, rotation_vector: Vector) -> None:
        self._call("ubr_set_user_orientation", rotation_vector.tolist(), lib.ROTATOR_ROTATION_VECTOR)

    def _render(self, samples: Samples, out: Samples, first: int, frames: int) -> None:
        inputs, outputs = Rows(samples, first), Rows(out, first)
        self._call("ubr_process", inputs.pointers, self.inputs, outputs.pointers, self.outputs, frames)

    def _apply(self, values: Mapping[Parameter, float]) -> None:
        has_room_changed = False
        try:
            for parameter, value in values.items():
                is_room = parameter.number >= lib.ORVANE_PARAM_REFLECTIONS
                function = "ubr_set_reflections_param" if is_room else "ubr_set_reverb_param"
                first = lib.ORVANE_PARAM_REFLECTIONS if is_room else lib.ORVANE_PARAM_REVERB
                self._call(function, parameter.number - first, value, detail=explain(parameter, value))
                self.parameters.remember(parameter, value)
                has_room_changed |= is_room
        finally:
            if has_room_changed:
                self._call("ubr_compute_reflections")


def _sources(layout: str | npt.ArrayLike) -> list[tuple[Vector, bool]]:
    """Position of every source, and whether it is an LFE."""
    if isinstance(layout, str):
        found = find_layout(layout)
        return list(zip(found.positions, found.is_lfe))
    positions = np.asarray(layout, np.float64)
    if positions.ndim != 2 or positions.shape[1] != 3:
        raise ValueError(f"layout: positions of the shape (sources, 3) are needed, not {positions.shape}")
    return [(position, False) for position in positions]


def _table(ear: npt.ArrayLike) -> Samples:
    table = np.ascontiguousarray(as_samples(ear, name="responses"))
    shape = (lib.BINAURALIZER_TAPS, lib.BINAURALIZER_RESPONSE_CHANNELS)
    if table.shape != shape:
        raise ValueError(f"responses: the shape {shape} is needed, not {table.shape}")
    return table


def _tables(ears: str | os.PathLike[str] | npt.ArrayLike) -> list[Any]:
    """One table, or one for each ear."""
    if isinstance(ears, (str, os.PathLike)):
        return list(load_ears(ears))
    array = np.asarray(ears)
    return list(array) if array.ndim == 3 and len(array) == 2 else [array]
