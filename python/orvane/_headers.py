# SPDX-License-Identifier: Apache-2.0
"""Reads the library's C headers: the declarations as cffi takes them, and the tables of constants."""

from __future__ import annotations

import pathlib
import re
from typing import Any, Iterator

_COMMENT_OR_STRING = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\])*"', re.S)
_TABLE = re.compile(r"static const (\w+) (\w+)(\[[^\]]*\])? = (\{.*?\});", re.S)
_INLINE_FUNCTION = re.compile(r"^static inline .*?^}", re.M | re.S)
_TABLE_LENGTH = re.compile(r"enum \{ \w+ = sizeof[^}]*\};")
_ASSERTION = re.compile(r"^static_assert\(.*?\);$", re.M | re.S)
_ATTRIBUTE = re.compile(r"__attribute__\(\(.*?\)\)\)?")
_TOKEN = re.compile(r'"(?:\\.|[^"\\])*"|[-+]?\.?\d[\w.]*(?:(?<=[eE])[-+]\d+)?\w*|\w+|[{},]')


class Headers:
    """The text of some headers and of all that they include, as a C compiler would see it."""

    def __init__(self, root: pathlib.Path, names: list[str]) -> None:
        self._root = root
        self._macros: dict[str, str] = {}
        self._seen: set[str] = set()
        lines = [line for name in names for line in self._lines(name)]
        text = _INLINE_FUNCTION.sub("", "\n".join(lines))
        for pattern in (_ASSERTION, _TABLE_LENGTH, _ATTRIBUTE):
            text = pattern.sub("", text)
        self.declarations = _TABLE.sub("", text)
        self._tables = [match.groups() for match in _TABLE.finditer(text)]

    @property
    def files(self) -> list[pathlib.Path]:
        return [self._root / name for name in sorted(self._seen)]

    def tables(self, ffi: Any, lib: Any) -> dict[str, Any]:
        """The constants that the headers define, as records of C, by name."""
        made: dict[str, Any] = {}
        for kind, name, extent, initialiser in self._tables:
            tokens = _TOKEN.findall(initialiser)
            values = _nested(iter(tokens[1:]), ffi, lib, made)
            made[name] = ffi.new(f"{kind}[]" if extent else f"{kind} *", values)
        return made

    def _lines(self, name: str) -> Iterator[str]:
        """The lines of a header that remain after its directives have been followed."""
        if name in self._seen:
            return
        self._seen.add(name)
        text = (self._root / name).read_text("utf-8").replace("\\\n", " ")
        text = _COMMENT_OR_STRING.sub(lambda m: m[0] if m[0][0] == '"' else " ", text)
        active = [True]
        for line in text.splitlines():
            directive = re.match(r"\s*#\s*(\w+)\s*(.*)", line)
            if not directive:
                if active[-1]:
                    yield self._expanded(line)
                continue
            word, rest = directive.groups()
            if word in ("if", "ifdef", "ifndef"):  # what an #if asks for is a compiler's feature
                holds = word != "if" and (rest.strip() in self._macros) == (word == "ifdef")
                active.append(active[-1] and holds)
            elif word == "else":
                active[-1] = active[-2] and not active[-1]
            elif word == "endif":
                active.pop()
            elif not active[-1]:
                continue
            elif word == "include" and rest.startswith('"'):
                yield from self._lines(rest.strip().strip('"'))
            elif word == "define" and (macro := re.match(r"(\w+)(?!\w*\()\s*(.*)", rest)):
                self._macros[macro[1]] = macro[2].strip()
            elif word == "undef":
                self._macros.pop(rest.strip(), None)

    def _expanded(self, line: str) -> str:
        while True:
            expanded = re.sub(r'"[^"]*"|\w+', lambda m: self._macros.get(m[0], m[0]), line)
            if expanded == line:
                return line
            line = expanded


def _nested(tokens: Iterator[str], ffi: Any, lib: Any, made: dict[str, Any]) -> list[Any]:
    """The values of a brace's initialisers, up to its end."""
    values: list[Any] = []
    for token in tokens:
        if token == "}":
            break
        if token == "{":
            values.append(_nested(tokens, ffi, lib, made))
        elif token[0] == '"':
            text = ffi.new("char[]", token[1:-1].encode().decode("unicode_escape").encode())
            made.setdefault("strings", []).append(text)  # the records point to it
            values.append(text)
        elif token in made:
            values.append(made[token])
        elif re.match(r"[A-Za-z_]", token):
            values.append(getattr(lib, token))
        elif token != ",":
            is_float = not token.lower().startswith("0x") and re.search(r"[.eEf]", token)
            values.append(float(token.rstrip("fF")) if is_float else int(token.rstrip("uU"), 0))
    return values
