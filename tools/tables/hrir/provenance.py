# SPDX-License-Identifier: Apache-2.0
"""From what the committed table was made: a digest of the generator and of the measured set.

Making the table takes minutes, and the refinement's last digits depend on the linear-algebra library.
So the check does not make it again: it compares this digest, which changes with every line of code
that the table depends on, and measures the committed table anew.
"""

import ast
import hashlib
from pathlib import Path

from measure import erb, sphere

from . import measured_set

FOLDER = Path(__file__).resolve().parent
PATH = FOLDER / "table.sha256"
# What only judges and shows the table.
APART = {"__init__", "measured_ears", "measured_field", "provenance", "quality", "quality_plot", "report", "table_file"}


def sources():
    """The modules that decide the table's values."""
    own = sorted(path for path in FOLDER.glob("*.py") if path.stem not in APART)
    return own + [Path(module.__file__) for module in (erb, sphere)]


def digest():
    """SHA-256 over the measured set's own digest and the modules' code, without what is no code."""
    total = hashlib.sha256(measured_set.SHA256.encode())
    for path in sources():
        total.update(path.name.encode())
        total.update(_code(path.read_text()).encode())
    return total.hexdigest()


def _code(text):
    """The code of a module without its comments and docstrings, on which no value depends."""
    tree = ast.parse(text)
    for node in ast.walk(tree):
        body = getattr(node, "body", None)
        if isinstance(body, list) and body and _is_docstring(body[0]):
            body[0] = ast.Pass()
    return ast.dump(tree)


def _is_docstring(node):
    return isinstance(node, ast.Expr) and isinstance(getattr(node.value, "value", None), str)


def render():
    """Text of the committed file."""
    return digest() + "\n"


def is_current():
    """Whether the committed table was made by the code as it stands."""
    return PATH.exists() and PATH.read_text() == render()
