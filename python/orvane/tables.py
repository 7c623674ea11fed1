# SPDX-License-Identifier: Apache-2.0
"""The library's tables of channel layouts and parameters, as Python values."""

from __future__ import annotations

import dataclasses
from typing import Any, Mapping

import numpy as np
import numpy.typing as npt

from orvane._library import ffi, lib, tables

SAMPLE_RATE: int = lib.ORVANE_SAMPLE_RATE  # Hz: of the impulse responses, delays and times
MAX_BLOCK: int = lib.UBR_MAX_FRAME_SIZE  # samples of the longest block


@dataclasses.dataclass(frozen=True)
class Layout:
    """A loudspeaker layout, in the order of the effect's inputs (renderer/loudspeaker_layouts.h).

    `channels` are abbreviations ("FL"), `positions` unit vectors of shape (channels, 3) with +x
    ahead, +y left, +z up. Those of an LFE have no meaning: it is heard from everywhere.
    """

    name: str
    mask: int
    channels: tuple[str, ...]
    positions: npt.NDArray[np.float64]
    is_lfe: npt.NDArray[np.bool_]


@dataclasses.dataclass(frozen=True)
class Parameter:
    """A parameter of reverb, room or reflections (renderer/parameters.h).

    `number` is the effect's; `minimum` and `maximum` are accepted, and where order or room limit
    them further, they are the widest. `default` is None where a new renderer has no value.
    """

    name: str
    number: int
    unit: str
    minimum: float
    maximum: float
    default: float | None
    meaning: str


def _text(pointer: Any) -> str:
    text: bytes = ffi.string(pointer)
    return text.decode()


def _rounded(value: float) -> float:
    """The shortest number that single precision stores as `value`."""
    return float(str(np.float32(value)))


def _layout(row: Any) -> Layout:
    speakers = [row.loudspeakers[i] for i in range(row.num_channels)]
    return Layout(
        name=_text(row.name),
        mask=row.mask,
        channels=tuple(_text(tables["orvane_channel_names"][s.channel].abbreviation) for s in speakers),
        positions=np.array([[_rounded(s.x), _rounded(s.y), _rounded(s.z)] for s in speakers]),
        is_lfe=np.array([bool(s.is_lfe) for s in speakers]),
    )


def _parameter(row: Any) -> Parameter:
    return Parameter(
        name=_text(row.name),
        number=row.number,
        unit=_text(row.unit),
        minimum=_rounded(row.minimum),
        maximum=_rounded(row.maximum),
        default=_rounded(row.default_value) if row.has_default else None,
        meaning=_text(row.meaning),
    )


LAYOUTS: Mapping[str, Layout] = {x.name: x for x in map(_layout, tables["orvane_layouts"])}
PARAMETERS: Mapping[str, Parameter] = {x.name: x for x in map(_parameter, tables["orvane_parameters"])}


def find_layout(name: str) -> Layout:
    if name not in LAYOUTS:
        raise ValueError(f"no layout {name!r}; there are {', '.join(LAYOUTS)}")
    return LAYOUTS[name]
