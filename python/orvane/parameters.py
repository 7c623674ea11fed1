# SPDX-License-Identifier: Apache-2.0
"""Reverb, room and reflections of one renderer or effect, by the names of the library's table."""

from __future__ import annotations

from typing import Callable, Iterator, Mapping, MutableMapping

import numpy as np

from orvane._library import ffi, lib
from orvane.tables import PARAMETERS, Parameter, _rounded

_ABSORPTION, _MATERIAL = "absorption.", "material."


class Parameters(MutableMapping[str, float]):
    """What is set, by name: `parameters["reverb.decay"] = 1.2`. Sounds from the next block on.

    Every name of `orvane.PARAMETERS` can be set, and a value that the library refuses raises Error
    and changes nothing. Reading gives what was set last, or the default. A material sets the
    absorption of its wall, and an absorption takes the wall's material away. No entry can be
    deleted.
    """

    def __init__(self, apply: Callable[[Mapping[Parameter, float]], None]) -> None:
        self._apply = apply
        self.restore_defaults()

    def restore_defaults(self) -> None:
        """Forgets what was set, as the library does where it is configured anew."""
        self._values = {p.name: p.default for p in PARAMETERS.values() if p.default is not None}

    def assign(self, values: Mapping[str, float]) -> None:
        """Sets several: the room's reflections are computed once, not once per parameter."""
        for name in values:
            if name not in PARAMETERS:
                raise KeyError(f"no parameter {name!r}; orvane.PARAMETERS has them all")
        self._apply({PARAMETERS[name]: float(value) for name, value in values.items()})

    def remember(self, parameter: Parameter, value: float) -> None:
        """Notes a value that the library has accepted."""
        name, wall = parameter.name, parameter.name.partition(".")[2]
        self._values[name] = _rounded(value)
        if name.startswith(_MATERIAL):
            self._values[_ABSORPTION + wall] = _absorption(value)
        elif name.startswith(_ABSORPTION):
            self._values.pop(_MATERIAL + wall, None)

    def __setitem__(self, name: str, value: float) -> None:
        self.assign({name: value})

    def __getitem__(self, name: str) -> float:
        return self._values[name]

    def __delitem__(self, name: str) -> None:
        raise TypeError(f"{name}: a parameter cannot be deleted")

    def __iter__(self) -> Iterator[str]:
        return iter(self._values)

    def __len__(self) -> int:
        return len(self._values)


def explain(parameter: Parameter, value: float) -> str:
    """What an error adds: the value, and the widest range of the parameter."""
    unit = f" {parameter.unit}" if parameter.unit else ""
    return (f"{parameter.name} = {np.float32(value)}; it takes {parameter.minimum:g} to {parameter.maximum:g}{unit}"
            " at most")


def _absorption(material: float) -> float:
    """Absorption of a material, as the library has it."""
    room = ffi.new("shoebox_config_t *")
    lib.shoebox_set_material(room, 1.0, material)
    return _rounded(room.params.absorption[0])
