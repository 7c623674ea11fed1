# SPDX-License-Identifier: Apache-2.0
"""Other public tables of head-related impulse responses, to measure beside the library's. scripts/setup --checks brings them.

Only their data are read: the files below, as their packages have them.
"""

import base64
import hashlib
import io
import re
from dataclasses import dataclass
from pathlib import Path

import numpy as np
from scipy.io import wavfile

from measure import sphere
from measure.constants import SAMPLE_RATE_HZ

_ROOT = Path(__file__).resolve().parents[2]
OMNITONE_PATH = _ROOT / "build/other_tables/omnitone-toa-hrir-base64.js"
OMNITONE_SHA256 = "6f4fd5d0da2ad4c1aa1b28b496ba9dd6986993f574edda14368328a741533dfe"
OPENAL_PATH = Path("/usr/share/openal/hrtf/default-48000.mhr")
OPENAL_MAGIC = b"MinPHR02"
OPENAL_SAMPLE_BYTES, OPENAL_CHANNELS, OPENAL_FIELDS = 3, 1, 1  # of the one kind that is read: 24 bits, one ear, one distance
OPENAL_LEAD = 128  # samples in front of its responses, which begin at once
FRAMES = 512


class Unreadable(Exception):
    """Says why a table cannot be measured."""


@dataclass(frozen=True)
class OtherTable:
    """`respond` takes azimuths and elevations in radians and returns responses of shape (directions, 2, FRAMES)."""

    name: str
    source: str
    respond: object


def omnitone(path=OMNITONE_PATH):
    """The third-order set of Omnitone: ACN order, SN3D normalisation, and a symmetric head."""
    text = _bytes(path, "scripts/setup --checks fetches it from npm")
    if hashlib.sha256(text).hexdigest() != OMNITONE_SHA256:
        raise Unreadable(f"{path.name} is not the one of Omnitone 1.3.0")
    files = [base64.b64decode(data) for data in re.findall(rb'"([A-Za-z0-9+/=]+)"', text)]
    channels = np.concatenate([_samples(file) for file in files])  # two in each file
    order = 3
    signs = np.where(sphere.channel_orders(order) < 0, -1.0, 1.0)

    def respond(azimuth, elevation):
        basis = sphere.harmonics(azimuth, elevation, order)
        return _fitted(np.stack([basis @ channels, (basis * signs) @ channels], axis=1))

    return OtherTable("Omnitone", "the third-order ambisonic set of Omnitone 1.3.0 (npm), licence Apache-2.0.", respond)


def openal(path=OPENAL_PATH):
    """The default set of OpenAL Soft: responses of one ear with delays apart, both blended between neighbours."""
    data = _bytes(path, "it is in Debian's libopenal-data")
    head = np.frombuffer(data[8:], "<u4", 1)[0], data[12] + 2, data[13] + 1, data[15]
    if data[:8] != OPENAL_MAGIC or head != (SAMPLE_RATE_HZ, OPENAL_SAMPLE_BYTES, OPENAL_CHANNELS, OPENAL_FIELDS):
        raise Unreadable(f"{path.name} is of another kind than {OPENAL_MAGIC.decode()}")
    taps, rings = data[14], data[18]
    counts = np.frombuffer(data, np.uint8, rings, 19).astype(int)
    coefficients = np.frombuffer(data, np.uint8, counts.sum() * taps * 3, 19 + rings).reshape(-1, 3)
    wide = np.pad(coefficients, ((0, 0), (1, 0))).copy().view("<i4")  # 24 bits in the upper part of 32
    responses = wide.reshape(-1, taps) / 2.0**31
    delays = np.frombuffer(data, np.uint8, counts.sum(), 19 + rings + coefficients.size).astype(float)
    first = np.concatenate([[0], np.cumsum(counts)])

    def ear(clockwise, elevation):
        ring = (elevation / np.pi + 0.5) * (rings - 1)
        found, delay = np.zeros((len(ring), taps)), np.zeros(len(ring))
        for above in (0, 1):
            at_ring = np.clip(np.floor(ring).astype(int) + above, 0, rings - 1)
            place = clockwise / (2.0 * np.pi) % 1.0 * counts[at_ring]
            for beyond in (0, 1):
                index = first[at_ring] + (np.floor(place).astype(int) + beyond) % counts[at_ring]
                weight = np.abs(1 - above - ring % 1.0) * np.abs(1 - beyond - place % 1.0)
                found += weight[:, None] * responses[index]
                delay += weight * delays[index]
        turns = np.fft.rfftfreq(FRAMES) * -2j * np.pi
        return np.fft.irfft(np.fft.rfft(found, FRAMES) * np.exp(np.outer(OPENAL_LEAD + delay, turns)), FRAMES)

    def respond(azimuth, elevation):
        azimuth, elevation = np.broadcast_arrays(np.asarray(azimuth, float), elevation)
        return np.stack([ear(-azimuth, elevation), ear(azimuth, elevation)], axis=1)

    source = (
        "its default-48000.mhr (Debian's libopenal-data), licence LGPL-2+. Not ambisonic: every direction has a response"
        " of its own, and neighbours are blended. Its head is the one that ours is made from, or one like it."
    )
    return OtherTable("OpenAL Soft", source, respond)


def read():
    """The tables that are to be had, and a line for each that is not."""
    tables, missing = [], []
    for name, table in (("Omnitone's third-order set", omnitone), ("OpenAL Soft's default set", openal)):
        try:
            tables.append(table())
        except Unreadable as reason:
            missing.append(f"{name} was not measured: {reason}.")
    return tables, missing


def _bytes(path, hint):
    try:
        return path.read_bytes()
    except OSError:
        raise Unreadable(f"{path.name} is not here; {hint}") from None


def _samples(file):
    """(channels, frames) of a WAVE file of 16 bits at the library's rate."""
    rate, samples = wavfile.read(io.BytesIO(file))
    if rate != SAMPLE_RATE_HZ or samples.dtype != np.int16:
        raise Unreadable("its samples are of another kind")
    return samples.T / 2.0**15


def _fitted(responses):
    """Cut, or lengthened by silence, to FRAMES."""
    kept = responses[..., :FRAMES]
    return np.pad(kept, ((0, 0), (0, 0), (0, FRAMES - kept.shape[-1])))
