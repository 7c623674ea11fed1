# SPDX-License-Identifier: Apache-2.0
"""Whole programs: how long orvane-render takes for a file, with one thread and with all."""
import os
import statistics
import subprocess
import tempfile
import time
from pathlib import Path

import numpy as np
import scipy.io.wavfile

PROGRAM = Path("build/release/orvane-render").resolve()
SECONDS = 120  # of sound in each file
REPETITIONS = 3  # of everything, in turn: the median counts

# Names of the rows, the file of each, and options.
ROWS = {
    f"{rate / 1000:g} kHz, 7.1.4, {room}": (f"bed{rate}.wav", options)
    for room, options in (("dry", ["--dry"]), ("living room", ["--preset", "living-room"]))
    for rate in (48000, 44100)
} | {
    "film: AC-3 5.1 to FLAC, living room": ("film.mkv", ["--preset", "living-room"]),
}


def make_files(folder):
    rng = np.random.default_rng(1)
    for rate in (48000, 44100):
        noise = rng.uniform(-0.1, 0.1, (SECONDS * rate, 12)).astype(np.float32)
        scipy.io.wavfile.write(folder / f"bed{rate}.wav", rate, noise)
    subprocess.run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i", f"testsrc2=s=640x360:r=25:d={SECONDS}",
                    "-i", folder / "bed48000.wav", "-af", "pan=5.1(side)|" + "|".join(f"c{i}=c{i}" for i in range(6)),
                    "-c:v", "mpeg4", "-c:a", "ac3", "-b:a", "640k", folder / "film.mkv"], check=True)


def run(folder, file, options, threads):
    """Seconds and processor seconds, of the children as well."""
    output = folder / ("out" + Path(file).suffix)
    before, begin = os.times(), time.monotonic()
    subprocess.run([PROGRAM, folder / file, output, *options, "--threads", str(threads)], check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    taken, after = time.monotonic() - begin, os.times()
    return taken, (after.children_user + after.children_system
                   - before.children_user - before.children_system)


def measure():
    """By row: median of the seconds with one thread and with all, and of the processor seconds."""
    threads = len(os.sched_getaffinity(0))
    times = {}
    with tempfile.TemporaryDirectory(dir="build") as name:
        folder = Path(name).resolve()
        make_files(folder)
        for _ in range(REPETITIONS):
            for row, (file, options) in ROWS.items():
                for count in (1, threads):
                    times.setdefault((row, count), []).append(run(folder, file, options, count))

    def median(row, count, which):
        return statistics.median(taken[which] for taken in times[row, count])

    return {row: {"realtime": SECONDS / median(row, 1, 0), "realtime_threads": SECONDS / median(row, threads, 0),
                  "processor_s": median(row, 1, 1)} for row in ROWS}, threads
