# SPDX-License-Identifier: Apache-2.0
"""The effect as a device loads it: through the record AELI and the commands of the platform."""

from __future__ import annotations

import atexit
import contextlib
import struct
import threading
import weakref
from typing import Any, Iterator, Mapping

import numpy as np

from orvane._library import Error, ffi, lib, tables
from orvane._player import Player
from orvane._samples import Samples
from orvane.parameters import Parameters, explain
from orvane.rotations import Vector, platform_vector
from orvane.tables import MAX_BLOCK, SAMPLE_RATE, Parameter, find_layout

_EARS = 2


class Effect(Player):
    """One instance of the effect, created, configured and enabled.

        with orvane.Effect("7.1.4") as effect:
            ears = effect.render(bed)  # (12, frames) -> (2, frames)
            print(effect.log)

    layout      a name of `orvane.LAYOUTS`, or a channel mask
    block       samples per block of `render`; the effect takes up to 1024 at a time
    accumulate  add to what `out` holds instead of replacing it
    parameters  what to set at the start

    `log` has the lines that the effect wrote to the platform's log, as (priority, text); priorities
    are the platform's, 4 information, 5 warning, 6 error. It stays empty where the system's liblog
    is not that of Debian 12. Raises Error with the lines of error that the effect logged where it
    refuses. Threads: as Renderer.
    """

    def __init__(self, layout: str | int = "7.1.4", *, block: int = 480, accumulate: bool = False,
                 parameters: Mapping[str, float] | None = None) -> None:
        self.log: list[tuple[int, str]] = []
        self._handle: Any = ffi.NULL
        self._block = block
        self._is_accumulating = accumulate
        self._inputs = 0
        self._lines_before = 0
        super().__init__()
        if not 1 <= block <= MAX_BLOCK:
            raise ValueError(f"block: 1 to {MAX_BLOCK} samples, not {block}")
        self.parameters = Parameters(self._apply)
        try:
            self._create()
            self.configure(layout)
            self.parameters.assign(parameters or {})
        except BaseException:
            self.close()
            raise
        _open_effects.add(self)

    @property
    def inputs(self) -> int:
        return self._inputs

    @property
    def outputs(self) -> int:
        return _EARS

    @property
    def block(self) -> int:
        return self._block

    def configure(self, layout: str | int) -> None:
        """EFFECT_CMD_SET_CONFIG: another layout or channel mask. Parameters return to their defaults.

        A configuration that is refused ends the effect: it keeps such a mask, and would read that
        many channels.
        """
        mask = layout if isinstance(layout, int) else find_layout(layout).mask
        config = ffi.new("effect_config_t *")
        for stream, channels in ((config.inputCfg, mask), (config.outputCfg, lib.AUDIO_CHANNEL_OUT_STEREO)):
            stream.samplingRate = SAMPLE_RATE
            stream.channels = channels
            stream.format = lib.AUDIO_FORMAT_PCM_FLOAT
            stream.mask = lib.EFFECT_CONFIG_ALL
        config.inputCfg.accessMode = lib.EFFECT_BUFFER_ACCESS_READ
        config.outputCfg.accessMode = (lib.EFFECT_BUFFER_ACCESS_ACCUMULATE if self._is_accumulating
                                       else lib.EFFECT_BUFFER_ACCESS_WRITE)
        with self._lock:
            try:
                self.command("EFFECT_CMD_SET_CONFIG", bytes(ffi.buffer(config)))
                if not self._inputs:
                    self.command("EFFECT_CMD_ENABLE")
            except Error:
                self.close()
                raise
            self._inputs = bin(mask).count("1")
            self.parameters.restore_defaults()

    def reset(self) -> None:
        """EFFECT_CMD_RESET: silence, and the head straight ahead. Parameters stay."""
        self.command("EFFECT_CMD_RESET", replies=False)
        self._rotation_vector = np.zeros(3)

    def set_parameter(self, number: int, value: bytes, detail: str = "") -> None:
        """EFFECT_CMD_SET_PARAM with the bytes of a value."""
        head = struct.pack("=iIIi", 0, 4, len(value), number)
        self.command("EFFECT_CMD_SET_PARAM", head + value, detail=detail)

    def command(self, name: str, data: bytes = b"", *, replies: bool = True, detail: str = "") -> None:
        """Sends a command that replies with a status, or with nothing.

        Raises Error with the command's result, or with the status that it replied.
        """
        status, size = ffi.new("int32_t *"), ffi.new("uint32_t *", 4)
        buffer = ffi.from_buffer(data) if data else ffi.NULL
        reply = (size, status) if replies else (ffi.NULL, ffi.NULL)
        self._call(name, "command", getattr(lib, name), len(data), buffer, *reply, detail=detail)
        if status[0] != 0:
            raise Error(name, status[0], self._explained(detail))

    def close(self) -> None:
        with self._lock:
            handle, self._handle = self._handle, ffi.NULL
            if handle != ffi.NULL:
                with _logging_to(self.log):
                    lib.AELI.release_effect(handle)

    def _create(self) -> None:
        handle = ffi.new("effect_handle_t *")
        with _logging_to(self.log):
            code = lib.AELI.create_effect(tables["orvane_uuid"], 0, 0, handle)
        if code != 0:
            raise Error("create_effect", code, self._explained(""))
        self._handle = handle[0]

    def _call(self, name: str, slot: str, *arguments: Any, detail: str = "") -> None:
        """Calls a function of the instance's interface; `name` is for the error."""
        with self._lock:
            if self._handle == ffi.NULL:
                raise ValueError("the effect is closed")
            self._lines_before = len(self.log)
            with _logging_to(self.log):
                code = getattr(self._handle[0], slot)(self._handle, *arguments)
        if code != 0:
            raise Error(name, code, self._explained(detail))

    def _explained(self, detail: str) -> str:
        """`detail` and the errors that the last call logged."""
        lines = [text for priority, text in self.log[self._lines_before:] if priority >= _LOG_ERROR]
        return "; ".join(filter(None, [detail, *lines]))

    def _turn(self, rotation_vector: Vector) -> None:
        pose = np.concatenate([np.zeros(3), platform_vector(rotation_vector)]).astype(np.float32)
        self.set_parameter(lib.SPATIALIZER_PARAM_HEAD_TO_STAGE, pose.tobytes())

    def _render(self, samples: Samples, out: Samples, first: int, frames: int) -> None:
        bed = np.ascontiguousarray(samples[:, first:first + frames].T)
        ears = np.ascontiguousarray(out[:, first:first + frames].T)
        buffers = ffi.new("audio_buffer_t[2]")
        for buffer, interleaved in zip(buffers, (bed, ears)):
            buffer.frameCount = frames
            buffer.raw = ffi.cast("void *", interleaved.ctypes.data)
        with self._lock:
            if len(samples) != self._inputs:
                raise ValueError("another thread has configured the effect")
            self._call("process", "process", ffi.addressof(buffers[0]), ffi.addressof(buffers[1]))
        out[:, first:first + frames] = ears.T

    def _apply(self, values: Mapping[Parameter, float]) -> None:
        for parameter, value in values.items():
            self.set_parameter(parameter.number, bytes(ffi.buffer(ffi.new("float *", value))), explain(parameter, value))
            self.parameters.remember(parameter, value)


_LOG_ERROR = 6  # ANDROID_LOG_ERROR
_logging = threading.local()


@contextlib.contextmanager
def _logging_to(lines: list[tuple[int, str]]) -> Iterator[None]:
    """What this thread's calls log goes to `lines`."""
    _logging.lines = lines
    try:
        yield
    finally:
        _logging.lines = None


@ffi.callback("__android_logger_function")  # type: ignore[misc]
def _log(data: Any, message: Any) -> None:
    """Takes a line of Android's log: to the effect that is called on this thread, else to stderr."""
    lines = getattr(_logging, "lines", None)
    if lines is None:
        getattr(lib, "__android_log_stderr_logger")(data, message)
    else:
        lines.append((data.priority, ffi.string(message).decode(errors="replace")))


_open_effects: weakref.WeakSet[Effect] = weakref.WeakSet()


@atexit.register
def _end() -> None:
    """Ends what could still log: the interpreter takes no line after this."""
    for effect in list(_open_effects):
        effect.close()
    if _HANDS_OVER_LINES:
        getattr(lib, "__android_log_set_logger")(ffi.addressof(lib, "__android_log_stderr_logger"))


# The liblog of Android 10, which Debian 12 has. A later one hands its lines over in another form.
_HANDS_OVER_LINES = hasattr(lib, "__android_log_write_logger_data")
if _HANDS_OVER_LINES:
    getattr(lib, "__android_log_set_logger")(_log)
