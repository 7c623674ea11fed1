# SPDX-License-Identifier: Apache-2.0
"""Finds and loads liborvane.so, with the declarations and constants of its headers."""

from __future__ import annotations

import os
import pathlib
from typing import Any, Mapping

import cffi

from orvane._headers import Headers

_NAME = "liborvane.so"
_HEADERS = [
    "effect/uuid.h",
    "renderer/loudspeaker_layouts.h",
    "renderer/parameters.h",
    "renderer/ubr.h",
    "room/shoebox_scene.h",
]
# The platform's side: what it looks up in the library, and the part of Android's liblog that hands a
# line over instead of writing it, as its log.h has it.
_PLATFORM = """
extern audio_effect_library_t AELI;
struct __android_logger_data {
  size_t struct_size;
  int buffer_id;
  int priority;
  const char* tag;
  const char* file;
  unsigned int line;
};
typedef void (*__android_logger_function)(const struct __android_logger_data*, const char*);
void __android_log_write_logger_data(struct __android_logger_data*, const char* message);
void __android_log_set_logger(__android_logger_function logger);
void __android_log_stderr_logger(const struct __android_logger_data*, const char* message);
"""


class Error(Exception):
    """A function of the library returned a code that is no success.

    `function` is its name in C; `code` the number it returned, in base/result.h for the renderer
    and the modules, a negative errno for the effect.
    """

    def __init__(self, function: str, code: int, detail: str = "") -> None:
        self.function = function
        self.code = code
        name = result_name(code) if code > 0 else _errno_name(code)
        super().__init__(f"{function}: {name} ({code})" + (f": {detail}" if detail else ""))


def _errno_name(code: int) -> str:
    return os.strerror(-code) if code < 0 else "success"


def _find_library() -> str:
    """ORVANE_LIBRARY, else that of this package's checkout or prefix, else the loader's."""
    if requested := os.environ.get("ORVANE_LIBRARY"):
        return str(pathlib.Path(requested).resolve())  # a bare name would make the loader search
    for place in pathlib.Path(__file__).resolve().parents:
        for pattern in (f"build/release/{_NAME}", f"lib/{_NAME}", f"lib/*/{_NAME}"):
            for found in place.glob(pattern):
                return str(found)
    return _NAME


def _find_headers(library: str) -> pathlib.Path:
    """The headers nearest to the library, so that records have the size it works with."""
    starts = [pathlib.Path(library)] if os.sep in library else []
    for start in [*starts, pathlib.Path(__file__)]:
        for place in start.resolve().parents:
            for root in (place, place / "include/orvane"):
                if (root / _HEADERS[-1]).is_file():
                    return root
    raise ImportError(f"no headers of liborvane near {library} or {__file__}")


def _require_fresh(library: pathlib.Path, root: pathlib.Path, headers: Headers) -> None:
    """Refuses a library of a checkout that was built before its headers changed: records might differ."""
    if not (root / "CMakeLists.txt").is_file() or not library.is_file():
        return
    for header in headers.files:
        if header.stat().st_mtime > library.stat().st_mtime:
            raise ImportError(f"{library} is older than {header}; build it again")


def _load() -> tuple[Any, Any, dict[str, Any], str]:
    path = _find_library()
    root = _find_headers(path)
    headers = Headers(root, _HEADERS)
    _require_fresh(pathlib.Path(path), root, headers)
    ffi = cffi.FFI()
    ffi.cdef(headers.declarations + _PLATFORM)
    try:
        lib = ffi.dlopen(path)
    except OSError as error:
        raise ImportError(f"{error}; build it, install it, or set ORVANE_LIBRARY") from error
    return ffi, lib, headers.tables(ffi, lib), path


ffi, lib, tables, LIBRARY_PATH = _load()


def names(enumeration: str, prefix: str) -> dict[str, int]:
    """A C enumeration's values by their names, without what they have in common, in small letters."""
    elements: dict[int, str] = ffi.typeof(f"enum {enumeration}").elements
    return {name.removeprefix(prefix).lower(): value for value, name in elements.items()}


def lookup(table: Mapping[str, int], name: str, what: str) -> int:
    if name not in table:
        raise ValueError(f"no {what} {name!r}; there are {', '.join(table)}")
    return table[name]


def result_name(code: int) -> str:
    elements: dict[int, str] = ffi.typeof("enum ubr_result").elements
    return elements.get(code, "unknown result")


def call(function: str, *arguments: Any, detail: str = "") -> None:
    """Calls a function that returns a ubr_result. The interpreter's lock is released meanwhile."""
    code = getattr(lib, function)(*arguments)
    if code != lib.UBR_OK:
        raise Error(function, code, detail)
