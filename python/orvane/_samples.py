# SPDX-License-Identifier: Apache-2.0
"""Checks arrays before the library reads or writes them."""

from __future__ import annotations

from typing import Any

import numpy as np
import numpy.typing as npt

from orvane._library import ffi

Samples = npt.NDArray[np.float32]


def as_samples(samples: npt.ArrayLike, channels: int | None = None, name: str = "samples") -> Samples:
    """Planar samples whose rows the library can read: copied only if they are not float32 already.

    Raises TypeError for anything but floating-point numbers (integers would not be scaled), and
    ValueError for a shape other than (channels, frames).
    """
    array = np.asarray(samples)
    if array.dtype.kind != "f":
        raise TypeError(f"{name}: floating-point numbers are needed, not {array.dtype}")
    if array.ndim != 2 or channels not in (None, array.shape[0]):
        rows = "channels" if channels is None else channels
        raise ValueError(f"{name}: the shape ({rows}, frames) is needed, not {array.shape}")
    array = np.require(array, np.float32, ["A"])
    return array if _has_dense_rows(array) else np.ascontiguousarray(array)


def output(out: Samples | None, shape: tuple[int, int], samples: Samples) -> Samples:
    """`out` if it can take the result, or a new array."""
    if out is None:
        return np.zeros(shape, np.float32)
    if not isinstance(out, np.ndarray) or out.dtype != np.dtype(np.float32):
        raise TypeError("out: an array of native float32 is needed")
    if out.shape != shape:
        raise ValueError(f"out: the shape {shape} is needed, not {out.shape}")
    if not (out.flags.writeable and out.flags.aligned and _has_dense_rows(out)):
        raise ValueError("out: rows of aligned samples that lie one after the other are needed")
    if abs(out.strides[0]) < 4 * shape[1] and shape[0] > 1:
        raise ValueError("out: the rows overlap")
    if np.may_share_memory(out, samples):
        raise ValueError("out: overlaps the samples that are read")
    return out


def _has_dense_rows(array: npt.NDArray[Any]) -> bool:
    return array.shape[1] <= 1 or array.strides[1] == array.itemsize


class Rows:
    """The rows of an array, from frame `first` on, as the pointers that the library takes.

    They are valid as long as this object.
    """

    def __init__(self, array: Samples, first: int = 0) -> None:
        start = array.ctypes.data + array.itemsize * first
        self._array = array
        self._addresses = start + array.strides[0] * np.arange(len(array), dtype=np.intp)
        self.pointers = ffi.cast("float **", self._addresses.ctypes.data)


def as_vector(values: npt.ArrayLike, name: str) -> npt.NDArray[np.float64]:
    """Three finite numbers."""
    array = np.asarray(values, np.float64)
    if array.shape != (3,) or not np.isfinite(array).all():
        raise ValueError(f"{name}: three finite numbers are needed, not {values!r}")
    return array
