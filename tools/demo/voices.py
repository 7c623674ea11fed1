# SPDX-License-Identifier: Apache-2.0
"""The demo's programme: seven spoken channel names, one after the other, each from its loudspeaker of a 7.1 bed.

The recordings come with Debian's alsa-utils.
"""

import struct
import warnings
from dataclasses import dataclass
from pathlib import Path

import numpy as np
import orvane
from scipy.io import wavfile

LAYOUT = orvane.LAYOUTS["7.1"]
RATE_HZ = orvane.SAMPLE_RATE
PAUSE_FRAMES = RATE_HZ // 2
RECORDINGS = Path("/usr/share/sounds/alsa")
# As spoken, clockwise from the front left, and the loudspeaker.
NAMES = {"Front_Left": "FL", "Front_Center": "FC", "Front_Right": "FR", "Side_Right": "SR", "Rear_Right": "BR",
         "Rear_Left": "BL", "Side_Left": "SL"}


@dataclass(frozen=True)
class Voice:
    """`start` is the first frame in the bed, `end` that of the next voice; degrees are positive to the left."""

    name: str
    channel: int
    azimuth_deg: float
    start: int
    end: int
    samples: np.ndarray


def read(folder=RECORDINGS):
    """All voices. Raises ValueError where a recording is not mono at 48 kHz."""
    voices, start = [], 0
    for name, speaker in NAMES.items():
        samples = read_wav(folder / f"{name}.wav", 1)[0]
        channel = LAYOUT.channels.index(speaker)
        x, y, _ = LAYOUT.positions[channel]
        end = start + len(samples) + PAUSE_FRAMES
        voices.append(Voice(name, channel, round(np.degrees(np.arctan2(y, x))), start, end, samples))
        start = end
    return voices


def bed(voices):
    """The programme, (channels, frames); the LFE stays silent."""
    samples = np.zeros((len(LAYOUT.channels), voices[-1].end), np.float32)
    for voice in voices:
        samples[voice.channel, voice.start : voice.start + len(voice.samples)] = voice.samples
    return samples


def impulse():
    """One sample from the front left, and silence for the bed to last 0.1 s."""
    samples = np.zeros((len(LAYOUT.channels), RATE_HZ // 10), np.float32)
    samples[LAYOUT.channels.index("FL"), 0] = 1.0
    return samples


def facing(voices):
    """The movement of a head that faces each voice while it speaks and turns in the pauses, for orvane-render."""
    lines = ["time,yaw,pitch,roll"]
    for voice in voices:
        for frame in (voice.start, voice.start + len(voice.samples)):
            lines.append(f"{frame / RATE_HZ:.6g},{voice.azimuth_deg},0,0")
    return "\n".join(lines) + "\n"


def read_wav(path, channels):
    """(channels, frames) in double precision. Raises ValueError for other channels or another rate."""
    with warnings.catch_warnings(action="ignore", category=wavfile.WavFileWarning):  # chunks beside the samples
        rate_hz, samples = wavfile.read(path)
    samples = samples.reshape(len(samples), -1).T
    if rate_hz != RATE_HZ or len(samples) != channels:
        raise ValueError(f"{path}: {len(samples)} channels at {rate_hz} Hz, not {channels} at {RATE_HZ}")
    return samples / (1.0 if samples.dtype.kind == "f" else float(np.iinfo(samples.dtype).max + 1))


def write_wav(path, samples):
    """A file of 32-bit float with the layout's channel map, whose bits are those of WAVE_FORMAT_EXTENSIBLE."""
    data = np.ascontiguousarray(samples.T, "<f4").tobytes()
    frame_bytes = 4 * len(samples)
    float_format = bytes.fromhex("0300000000001000800000aa00389b71")  # KSDATAFORMAT_SUBTYPE_IEEE_FLOAT
    head = struct.pack("<HHIIHHHHI16s", 0xFFFE, len(samples), RATE_HZ, RATE_HZ * frame_bytes, frame_bytes, 32, 22, 32,
                       LAYOUT.mask, float_format)
    chunks = b"".join(name + struct.pack("<I", len(body)) + body for name, body in
                      ((b"fmt ", head), (b"fact", struct.pack("<I", samples.shape[1])), (b"data", data)))
    Path(path).write_bytes(b"RIFF" + struct.pack("<I", 4 + len(chunks)) + b"WAVE" + chunks)
