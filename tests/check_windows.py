#!/usr/bin/env python3
"""orvane-render for Windows, under Wine: it does what the program for this system does.

check_windows.py NATIVE WINDOWS.exe: the two programs, each beside its library. WINEPREFIX is where Wine keeps its files.
A small program stands in for ffmpeg and ffprobe (tests/support/ffmpeg_stand_in.c).
"""
# SPDX-License-Identifier: Apache-2.0
import os
import pathlib
import pty
import random
import select
import signal
import struct
import subprocess
import sys
import tempfile
import time

WINE = "/usr/lib/wine/wine64"
CONTROL_C_EXIT = 0xC000013A & 0xFF  # as much of the status as is handed on
RAW = ["--raw", "f32", "--layout", "5.1"]
native, windows = (str(pathlib.Path(program).resolve()) for program in sys.argv[1:])


def run(command, input=None):
    return subprocess.run(command, input=input, capture_output=True, timeout=120)


def both(*arguments, input=None):
    """What the two programs answer, which have to end alike."""
    here, there = run([native, *arguments], input), run([WINE, windows, *arguments], input)
    assert here.returncode == there.returncode, (arguments, here, there)
    return here, there


def samples(wav):
    size = struct.unpack_from("<I", wav, wav.index(b"data") + 4)[0]
    floats = wav[wav.index(b"data") + 8 :][:size]
    return struct.unpack(f"<{len(floats) // 4}f", floats)


def compare(name, here, there, limit):
    assert len(here) == len(there) > 10000 and max(here) > 0.01, (name, len(here), len(there))
    worst = max(abs(a - b) for a, b in zip(here, there))
    assert worst <= limit, (name, worst)
    print(f"{name}: the same within {worst:.1e}")


def rendered(name, limit, *arguments):
    """The file on the right of `arguments` from both programs, which both replace what is there."""
    pathlib.Path(arguments[-1]).write_text("an older file")
    sounds = []
    for program in ([native], [WINE, windows]):
        done = run([*program, *arguments])
        assert done.returncode == 0, done
        sounds.append(samples(pathlib.Path(arguments[-1]).read_bytes()))
    compare(name, *sounds, limit)
    return sounds[0]


def cut_off():
    """Nobody reads on: the program ends and says nothing, as with SIGPIPE."""
    program = subprocess.Popen([WINE, windows, *RAW, "long.f32", "-"], stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    assert program.stdout.read(4096)
    program.stdout.close()
    errors = program.stderr.read()
    assert program.wait() == 1 and not errors, (program.returncode, errors)


def interrupted(output):
    """Ctrl-C at a terminal, once the file has been begun. Returns the exit status, or None without pseudo-terminals."""
    try:
        child, terminal = pty.fork()
    except OSError:
        return None
    if child == 0:
        os.execv(WINE, [WINE, windows, *RAW, "long.f32", output])
    end, last = time.monotonic() + 60, 0.0
    try:
        while time.monotonic() < end:
            if select.select([terminal], [], [], 0.1)[0]:
                os.read(terminal, 4096)
            is_begun = any(name.startswith(".orvane-render") for name in os.listdir())
            if is_begun and time.monotonic() > last + 1:  # the terminal answers each with what it shows of it
                os.write(terminal, b"\x03")
                last = time.monotonic()
        os.kill(child, signal.SIGKILL)
    except OSError:  # its end
        pass
    return os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])


def main():
    random.seed(1)
    bed = struct.pack("<144000f", *(random.uniform(-0.2, 0.2) for _ in range(144000)))  # 5.1, half a second
    pathlib.Path("bed.f32").write_bytes(bed)
    header = struct.pack("<4sI8sIHHIIHH4sI", b"RIFF", 36 + len(bed), b"WAVEfmt ", 16, 3, 6, 48000, 48000 * 24, 24, 32,
                         b"data", len(bed))
    pathlib.Path("bed.wav").write_bytes(header + bed)

    rendered("a room", 1e-6, "--preset", "living-room", "--pose", "30,0,0", "bed.wav", "room.wav")
    rendered("another rate", 1e-6, "--rate", "44100", "--loudness", "-20", "bed.wav", "größer.wav")
    for here, there in both("info", "bed.wav"), both("info", "none.wav"), both("info", "größer.wav"):
        assert here.stdout == there.stdout and here.stderr == there.stderr, (here, there)
    here, there = both(*RAW, "-", "-", input=bed)
    dry = samples(here.stdout)
    compare("pipes", dry, samples(there.stdout), 1e-6)

    there = run([WINE, windows, "--ears", "bed.wav", "bed.wav", "out.wav"])
    assert there.returncode == 1 and b"without libmysofa" in there.stderr, there

    film = pathlib.Path("ein Film's 1 ö.mkv")
    film.write_bytes(bed)
    decoded = run([WINE, windows, film.name, "film.wav"])
    assert decoded.returncode == 0, decoded
    compare("a film", dry, samples(pathlib.Path("film.wav").read_bytes())[: len(dry)], 1e-6)
    piped = run([WINE, windows, "-", "-"], bed)
    assert piped.returncode == 0, piped
    compare("a film from a pipe", dry, samples(piped.stdout)[: len(dry)], 1e-6)
    encoded = run([WINE, windows, "bed.wav", "aus gabe.ogg"])
    assert encoded.returncode == 0, encoded
    written = pathlib.Path("aus gabe.ogg").read_bytes()
    compare("an encoded file", dry, struct.unpack(f"<{len(written) // 4}f", written), 1e-6)

    before = sorted(os.listdir())
    with open("long.f32", "wb") as file:
        file.truncate(1 << 30)  # a quarter of an hour, which takes no room
    cut_off()
    for output in "never.wav", "never.ogg":
        status = interrupted(output)
        assert status in (CONTROL_C_EXIT, None), status
    os.remove("long.f32")
    assert sorted(os.listdir()) == before, os.listdir()
    print("Ctrl-C was not tried: there are no pseudo-terminals" if status is None else "Ctrl-C leaves nothing behind")


os.environ.update(LC_ALL="C.UTF-8", WINEDEBUG="-all")
with tempfile.TemporaryDirectory() as folder:
    sources = pathlib.Path(__file__).resolve().parent
    programs = pathlib.Path(folder) / "programs"
    programs.mkdir()
    compiler = "x86_64-w64-mingw32-gcc-posix"
    for name in "ffmpeg.exe", "ffprobe.exe":
        subprocess.run([compiler, "-std=c11", "-Wall", "-Wextra", "-Werror", "-municode", "-static",
                        sources / "support/ffmpeg_stand_in.c", "-o", programs / name], check=True)
    os.environ["WINEPATH"] = f"Z:{programs}"
    work = pathlib.Path(folder) / "work"
    work.mkdir()
    os.chdir(work)
    main()
    os.chdir("/")
