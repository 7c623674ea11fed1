#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes the seeds of the fuzzers into corpus/NAME/, but for those that stand for a finding.

Bytes as fuzz/input.h takes them: a choice is one byte, a sample buffer starts with its kind, and a
number is its kind (0 small, 1 large, 2 whole, 255 any bits) with two or four bytes.
"""
import math
import pathlib
import re
import struct

CORPUS = pathlib.Path(__file__).parent / "corpus"
LIMITS = (CORPUS.parent.parent / "base/limits.h").read_text()
RATE = int(re.search(r"ORVANE_SAMPLE_RATE = (\d+)", LIMITS)[1])
NOISE, SILENCE = bytes([0x50]), bytes([0])


def write(fuzzer, seeds):
    folder = CORPUS / fuzzer
    folder.mkdir(parents=True, exist_ok=True)
    for name, data in seeds.items():
        (folder / name).write_bytes(data)


def small(value):
    return b"\0" + struct.pack("<h", round(value * 2**14))


def large(value):
    return b"\1" + struct.pack("<h", round(value * 100))


def bits(value):
    return b"\xff" + struct.pack("<f", value)


# Effect: every step is the instance (3 for the second), the action and what that takes.
CREATE, RELEASE, BAD_CALL, CONFIGURE, COMMAND, GET, BAD_PROCESS, SET, PROCESS = (
    0, 1, 2, 3, 5, 8, 9, 10, 13)
WELL = b"\x0f"  # shape of a reply, or oddity of a parameter


def effect_step(action, *rest, instance=0):
    return bytes([instance, action]) + b"".join(rest)


def configured(mask, access=0, instance=0):
    enable = effect_step(COMMAND, b"\1\3", b"\0", WELL, instance=instance)
    return (effect_step(CREATE, instance=instance)
            + effect_step(CONFIGURE, bytes([1, mask, access]), b"\0", WELL, instance=instance)
            + enable)


def effect_block(frames, samples=NOISE, instance=0):
    return effect_step(PROCESS, b"\1", bytes([frames - 1]), samples, instance=instance)


def effect_set(family, number, value, instance=0):
    return effect_step(SET, bytes([family, number]), b"\0", value, WELL, instance=instance)


def effect_seeds():
    pose = b"".join(small(v) for v in (0, 0, 0, 0.2, -0.5, 1.5))
    seeds = {f"layout-{mask}": configured(mask, access=mask % 3) + effect_block(64) * 3
             for mask in range(7)}
    seeds["pose"] = configured(1) + effect_set(1, 6, pose) + effect_block(100) * 2
    seeds["room"] = configured(1) + b"".join(
        effect_set(5, n, large(v)) + effect_block(50)
        for n, v in ((0, 4), (1, 9), (3, 2.5), (16, 4), (10, 7), (4, 0.5)))
    seeds["reverb"] = configured(0) + b"".join(
        effect_set(3, n, large(v)) + effect_block(50)
        for n, v in ((2, 3), (4, 1), (5, 0), (6, 0), (0, 0)))
    seeds["bad-numbers"] = configured(0) + b"".join(
        effect_block(40, b"\xf0" + bits(v) * 3) for v in (math.nan, math.inf, 1e38, 1e-40))
    seeds["two"] = (configured(0) + configured(5, instance=3) + effect_block(80)
                    + effect_block(80, instance=3) + effect_step(RELEASE) + effect_block(9, instance=3))
    seeds["queries"] = configured(2) + b"".join(
        effect_step(GET, bytes([1, number]), b"\1", bytes(4), bytes([room]), WELL)
        for number, room in ((0, 19), (1, 16), (2, 17), (3, 70), (4, 48), (4, 20), (5, 3), (9, 16)))
    seeds["misuse"] = (effect_step(CREATE) + effect_step(BAD_CALL, b"\1\1\3")
                       + b"".join(effect_step(COMMAND, bytes([1, code]), b"\4\1\2\3\4", WELL)
                                  for code in range(14))
                       + b"".join(effect_step(BAD_PROCESS, bytes([fault]), b"\2\0\0\0")
                                  for fault in range(7)))
    return seeds


# Renderer: what ubr_init takes, then steps.
def renderer(kind, inputs, mode, size, order):
    return bytes([1, kind, inputs, 0, 1, mode, 1, size, order])


def renderer_block(frames=100, channels=4):
    return bytes([16, 2, frames - 1, 0]) + NOISE * channels


def renderer_seeds():
    seeds = {}
    for mode in range(5):
        seeds[f"sources-{mode}"] = (renderer(0, 8, mode, 3, 4)
                                    + bytes([4, 2]) + small(1) * 3 + b"\1\2" + renderer_block() * 3)
        if mode in (1, 2, 3):
            seeds[f"field-{mode}"] = renderer(1, 2, mode, 1, 3) + renderer_block() * 3
    reflect = bytes([8, 0]) + large(3) + b"\2"
    turn = bytes([6]) + small(0.4) * 3 + b"\2" + small(0.1) * 3
    seeds["reflections"] = renderer(0, 6, 2, 2, 4) + reflect + renderer_block() + turn + renderer_block() * 2
    seeds["growth"] = (renderer(0, 6, 2, 0, 4) + reflect + renderer_block(60) + bytes([3]) + b"\x00\x03"
                       + renderer_block(127) + bytes([13, 1]) + renderer_block(127))
    seeds["tail"] = renderer(0, 6, 3, 2, 2) + b"".join(
        bytes([11, n]) + large(v) + renderer_block() for n, v in ((3, 0.3), (2, 4), (1, 0), (0, 0)))
    seeds["steps"] = renderer(0, 6, 2, 2, 4) + reflect + b"".join(
        bytes([14, step]) + (b"\x40\0" if step > 1 else b"") + NOISE * 4 for step in range(4))
    return seeds


# Settings: 0 with four times for a trajectory, 1 for a preset, 2 for a command line, 3 for ffprobe's answer,
# 4 with the kind of samples for a stream.
def settings_seeds():
    times = small(0.5) + small(1.5) + large(200) + large(-1)
    texts = {
        "euler": "time,yaw,pitch,roll\n0,0,0,0\n1,90,-20,5\n2.5,-170,0,0\n",
        "quaternion": "# comment\r\n\r\ntime, qw, qx, qy, qz\r\n0,1,0,0,0\r\n2,.7071,0,0,.7071",
        "vector": "time,rx,ry,rz\n-1,0,0,0\n1,0,0,-1.5708\n",
        "rows": "time,yaw,pitch,roll\n0,0,0\n",
    }
    seeds = {f"trajectory-{name}": b"\0" + times + text.encode() for name, text in texts.items()}
    hall = (CORPUS.parent.parent / "presets" / "hall.preset").read_bytes()
    seeds["preset-hall"] = b"\1" + hall
    seeds["preset-numbers"] = b"\1100=1\n 203 = 3.5\n212=27\nmaterial.front=4\nabsorption.front=1"
    lines = {
        "channels": "a.wav b.flac --layout 22.2 --channels bs2051 --order device --format 24",
        "levels": "a b --gain=-3.5 --normalize --lfe-gain 10 --fail-on-clip --block 480",
        "room": "a b --preset hall --room 5x4x2.5 --listener 1,-1,1.2 --material left=3,floor=5",
        "params": "a b --absorption back=.5 --reflections 4 --reverb decay=1,level=0.2 --param 205=1",
        "head": "a b --pose 30,-10,5 --dry --no-reverb --verbose --library x.so",
        "clash": "a b --pose 0,0,0 --trajectory t.csv",
        "help": "--help",
        "parameters": "--parameters",
    }
    for name, line in lines.items():
        seeds[f"options-{name}"] = b"\2" + line.replace(" ", "\n").encode()
    stream = "streams.stream.%d."
    seeds["probe-film"] = b"\3" + "\n".join(
        stream % i + line for i, kind, *lines in (
            (0, "video"), (1, "audio", "channels=6", 'channel_layout="5.1(side)"', 'sample_rate="48000"'),
            (2, "audio", "channels=8", 'channel_layout="8 channels (FL+FR+FC+LFE+BL+BR+TFL+TFR)"',
             'tags.title="a \\"b\\"\\nc"')) for line in (f'codec_type="{kind}"', *lines)).encode()
    seeds["stream-wave"] = b"\4\0" + wave(2, 48000, [0.1] * 40)
    seeds["stream-open"] = b"\4\0" + wave(6, 48000, [0.1] * 60, mask=0x3F, size=0xFFFFFFFF)
    seeds["stream-wrapped"] = b"\4\0" + wave(2, 48000, [0.1] * 40, size=64)
    seeds["stream-raw"] = b"\4\x15" + struct.pack("<40h", *range(40))
    return seeds


# Audio: layout, flags, whether to render (0, in two threads 2) or to read only (3), then the file.
def wave(channels, rate, samples, mask=None, form=b"RIFF", tag=3, size=None):
    extensible = struct.pack("<HHI", 22, 32, mask) + struct.pack("<H", tag) + bytes.fromhex(
        "000000001000800000aa00389b71") if mask is not None else b""
    fmt = struct.pack("<HHIIHH", 0xFFFE if extensible else tag, channels, rate,
                      rate * channels * 4, channels * 4, 32) + extensible
    data = struct.pack(f"<{len(samples)}f", *samples)
    body = b"WAVE" + b"fmt " + struct.pack("<I", len(fmt)) + fmt
    body += b"data" + struct.pack("<I", len(data) if size is None else size) + data
    return form + struct.pack("<I", len(body)) + body


def caf(channels, rate, samples):
    data = struct.pack(f">{len(samples)}f", *samples)
    desc = struct.pack(">d4sIIIII", rate, b"lpcm", 1, channels * 4, 1, channels, 32)
    return (b"caff" + struct.pack(">HH", 1, 0) + b"desc" + struct.pack(">q", len(desc)) + desc
            + b"data" + struct.pack(">qI", len(data) + 4, 0) + data)


def aiff(channels, samples):
    rate = bytes.fromhex("400ebb80000000000000")  # 48 kHz as 80-bit float
    comm = struct.pack(">hIh", channels, len(samples) // channels, 16) + rate
    data = struct.pack(f">{len(samples)}h", *(round(s * 32767) for s in samples))
    body = (b"AIFF" + b"COMM" + struct.pack(">I", len(comm)) + comm
            + b"SSND" + struct.pack(">III", len(data) + 8, 0, 0) + data)
    return b"FORM" + struct.pack(">I", len(body)) + body


def audio_seeds():
    def tone(channels, frames):
        return [math.sin(0.1 * i) * 0.5 for i in range(channels * frames)]
    labelled, plain = bytes([0x80, 0]), bytes([0, 0])
    files = {
        "labelled-5.1": (labelled, wave(6, RATE, tone(6, 40), mask=0x3F)),
        "labelled-7.1.4": (labelled, wave(12, 44100, tone(12, 20), mask=0x2D63F)),
        "unlabelled-7.1": (bytes([3, 0x40]), wave(8, RATE, tone(8, 30))),
        "told-22.2": (bytes([5, 0x03]), wave(24, RATE, tone(24, 8))),
        "wrong-layout": (bytes([4, 0]), wave(6, RATE, tone(6, 8))),
        "normalized": (bytes([0x80, 0x8C]), wave(6, 8000, tone(6, 40), mask=0x60F)),
        "not-a-number": (labelled, wave(6, RATE, tone(6, 4) + [math.nan] * 6, mask=0x3F)),
        "cut-off": (labelled, wave(6, RATE, tone(6, 40), mask=0x3F)[:-100]),
        "endless": (labelled, wave(6, RATE, tone(6, 4), mask=0x3F, size=0xFFFFFFFF)),
        "clipping": (bytes([0x80, 0x30]), wave(6, RATE, [4.0] * 60, mask=0x3F)),
        "caf": (plain, caf(6, 96000, tone(6, 40))),
        "aiff": (plain, aiff(6, tone(6, 40))),
        "empty": (labelled, wave(6, RATE, [], mask=0x3F)),
    }
    # All of them are read, some are rendered.
    seeds = {f"read-{name}": options + b"\3" + data for name, (options, data) in files.items()}
    for name in ("labelled-5.1", "told-22.2", "normalized", "not-a-number", "clipping", "caf"):
        seeds[f"render-{name}"] = files[name][0] + b"\0" + files[name][1]
    seeds["render-in-threads"] = files["caf"][0] + b"\2" + files["caf"][1]
    return seeds


# Modules: which one, then what it takes.
def modules_seeds():
    numbers = small(0.3) + small(-1) + large(2)
    block = b"\1\x40" + NOISE * 4
    return {
        "ambisonics": b"\0\4\0\0\x19" + numbers * 3,
        "encoder": b"\1\4\3\1\x7f" + b"".join(
            bytes([1, action]) + numbers + extra
            for action, extra in ((3, b"\2"), (0, b""), (1, b""), (2, b""), (7, b"\1\x20\0" + NOISE * 4),
                                  (4, b"\1\x50"), (7, b"\1\x60\4" + NOISE * 4))),
        "rotator": b"\2\4\1\x60" + b"".join(
            b"\2" + numbers + bytes([form]) + b"\5" + block for form in range(3)) + b"\0\5" + block,
        "binauralizer": b"\3\0\x40\4\4" + (b"\5" + block) * 2 + b"\1\0\x50\1" + (b"\5" + block) + b"\0",
        "shoebox": b"\4" + b"".join(large(v) for v in (2, 5)) + (numbers * 3 + b"\1\3" + numbers * 3
                                                              + b"\1\1\0\1" + bytes(70)) * 2,
        "velvet-noise": (b"\5" + b"\0\1" + b"\1\x40\0" + b"\4" + (b"\x09\1\x30\0\0\0" + NOISE) * 3
                         + b"\2\2" + small(0.1) + b"\4" + b"\x09\1\x20\0\1\0" + NOISE + b"\5"),
        "copies": b"\6" + bytes([5, 9]) + b"abcdefghi" + b"\3",
        "matrices": b"\7" + b"\5\3" + NOISE + b"\4\7",
    }


# Ears: whether to fit, then the record's shape and the numbers in it.
def ears_seeds():
    whole = bytes([80, 0, 0, 0, 0, 0, 10, 4, 0, 0])
    return {
        "fit": bytes([31]) + whole,
        "check": bytes([0]) + whole,
        "cartesian": bytes([31]) + bytes([80, 0, 0, 0, 1, 0, 10, 4, 1, 0]),
        "few": bytes([0]) + bytes([20, 1, 0, 0, 0, 0, 10, 4, 0, 0]),
        "one-ear": bytes([0]) + bytes([80, 0, 5, 0, 0, 0, 10, 4, 0, 0]),
        "any-bits": bytes([31]) + whole + b"\1\5\0\xff\0\0\x80\x7f\1\9\1\xff\0\0\x7f\x7f" + b"\0" * 8,
        "short": bytes([0]) + whole + b"\0\0\0\0\xf1\0\0",
    }


write("effect", effect_seeds())
write("renderer", renderer_seeds())
write("modules", modules_seeds())
write("settings", settings_seeds())
write("audio", audio_seeds())
write("ears", ears_seeds())
