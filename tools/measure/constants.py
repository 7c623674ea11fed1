# SPDX-License-Identifier: Apache-2.0
"""Constants of the library, read from its headers: no tool types them again."""

import re
from pathlib import Path

_ROOT = Path(__file__).resolve().parents[2]


def _value(header, name):
    """The number that a header gives an enumerator or a macro."""
    number = re.search(rf"\b{name}(?: =)? ([\d.]+)", (_ROOT / header).read_text())[1]
    return float(number) if "." in number else int(number)


MAX_ORDER = _value("base/limits.h", "ORVANE_MAX_ORDER")
MAX_BLOCK = _value("base/limits.h", "ORVANE_MAX_FRAME_SIZE")
SAMPLE_RATE_HZ = _value("base/limits.h", "ORVANE_SAMPLE_RATE")
TAPS = _value("ambisonics/binauralizer.h", "BINAURALIZER_TAPS")
LATENCY = _value("ambisonics/binauralizer.h", "BINAURALIZER_LATENCY")  # samples
SPEED_OF_SOUND = _value("room/shoebox.h", "SHOEBOX_SPEED_OF_SOUND")  # metres per second
