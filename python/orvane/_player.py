# SPDX-License-Identifier: Apache-2.0
"""What the renderer and the effect have in common: blocks, the head, and an end."""

from __future__ import annotations

import abc
import threading
from types import TracebackType
from typing import Callable, TypeVar

import numpy as np
import numpy.typing as npt

from orvane._samples import Samples, as_samples, as_vector, output
from orvane.parameters import Parameters
from orvane.rotations import Vector, pose_from_vector, vector_from_pose

Self = TypeVar("Self", bound="Player")


class _Orientation:
    """The head's orientation in one form. (A property could not take more types than it gives.)"""

    def __init__(self, meaning: str, to_vector: Callable[[Vector], Vector],
                 from_vector: Callable[[Vector], Vector]) -> None:
        self.__doc__ = meaning
        self._to_vector, self._from_vector = to_vector, from_vector

    def __set_name__(self, owner: type[Player], name: str) -> None:
        self._name = name

    def __get__(self, player: Player, owner: type[Player]) -> Vector:
        return self._from_vector(player._rotation_vector)

    def __set__(self, player: Player, value: npt.ArrayLike) -> None:
        vector = self._to_vector(as_vector(value, self._name))
        player._turn(vector)
        player._rotation_vector = vector


class Player(abc.ABC):
    """Renders blocks of samples for a head that turns."""

    parameters: Parameters

    def __init__(self) -> None:
        self._lock = threading.RLock()  # calls on one instance must not overlap
        self._rotation_vector: Vector = np.zeros(3)

    @property
    @abc.abstractmethod
    def inputs(self) -> int:
        """Channels that a block has."""

    @property
    @abc.abstractmethod
    def outputs(self) -> int:
        """Channels that come out."""

    @property
    @abc.abstractmethod
    def block(self) -> int:
        """Samples of the longest block."""

    @abc.abstractmethod
    def close(self) -> None:
        """Frees what this owns; it cannot be used any more. Calling it again does nothing."""

    @abc.abstractmethod
    def _turn(self, rotation_vector: Vector) -> None: ...

    @abc.abstractmethod
    def _render(self, samples: Samples, out: Samples, first: int, frames: int) -> None: ...

    rotation_vector = _Orientation(
        "The head's orientation as axis times angle in radians, faded in over the next block.", np.array, np.array)
    pose = _Orientation(
        "The same as yaw, pitch and roll in degrees: see `orvane.vector_from_pose`.", vector_from_pose,
        pose_from_vector)

    def process(self, samples: npt.ArrayLike, out: Samples | None = None) -> Samples:
        """Renders one block: (inputs, frames) to (outputs, frames), with 1 to `block` frames.

        out  float32 array that takes the result, and is returned
        """
        block = as_samples(samples, self.inputs)
        frames = block.shape[1]
        if not 1 <= frames <= self.block:
            raise ValueError(f"a block has 1 to {self.block} frames, not {frames}")
        out = output(out, (self.outputs, frames), block)
        self._render(block, out, 0, frames)
        return out

    def render(self, samples: npt.ArrayLike, *, poses: npt.ArrayLike | None = None,
               out: Samples | None = None) -> Samples:
        """Renders (inputs, frames) to (outputs, frames) in blocks of `block`, and goes on from there.

        poses  (blocks, 3): yaw, pitch and roll in degrees that the head has reached at the end of
               every block
        """
        bed = as_samples(samples, self.inputs)
        frames = bed.shape[1]
        starts = range(0, frames, self.block)
        path = None if poses is None else np.asarray(poses, np.float64)
        if path is not None and path.shape != (len(starts), 3):
            raise ValueError(f"poses: the shape ({len(starts)}, 3) is needed, not {path.shape}")
        out = output(out, (self.outputs, frames), bed)
        for i, first in enumerate(starts):
            if path is not None:
                self.pose = path[i]
            self._render(bed, out, first, min(self.block, frames - first))
        return out

    def __enter__(self: Self) -> Self:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None,
                 trace: TracebackType | None) -> None:
        self.close()

    def __del__(self) -> None:
        if hasattr(self, "_lock"):
            self.close()
