# SPDX-License-Identifier: Apache-2.0
"""Writes the demo's voices for the page: one mono recording, and which loudspeaker speaks when.

    voices.py FOLDER   writes voices.wav and voices.json there
"""
import json
import sys
from pathlib import Path

import numpy as np

ROOT = Path(__file__).resolve().parents[1]
sys.path[:0] = [str(ROOT / "python"), str(ROOT / "tools")]

from demo import voices  # noqa: E402  (found by the line above)
from scipy.io import wavfile  # noqa: E402


def main():
    folder = Path(sys.argv[1])
    programme = voices.read()
    mono = voices.bed(programme).sum(axis=0)  # one voice at a time
    wavfile.write(folder / "voices.wav", voices.RATE_HZ, np.round(mono * 32767.0).astype(np.int16))
    spoken = [{"label": voices.LAYOUT.channels[voice.channel], "start": voice.start, "end": voice.end}
              for voice in programme]
    (folder / "voices.json").write_text(json.dumps({"layout": voices.LAYOUT.name, "voices": spoken}))


main()
