#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The LV2 bundle through other people's hosts: its files are valid, and what lv2apply renders with a plug-in is what
orvane-render writes for the same preset and head.

    check_lv2.py BUILD_FOLDER
"""

import os
import pathlib
import subprocess
import sys
import tempfile
import warnings

import numpy
from scipy.io import wavfile

from support.presets import preset_controls

kPose = {"yaw": 40, "pitch": 10, "roll": -5}
kRate = 48000
kFrames = kRate // 2
kLimit = 2e-6  # of the peak


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    os.environ["LV2_PATH"] = str(build / "lv2-bundles")
    run = lambda *command: subprocess.run(command, check=True, capture_output=True, text=True).stdout
    bundle = build / "lv2-bundles" / "orvane.lv2"
    print(run("lv2_validate", *bundle.glob("*.ttl")).splitlines()[-1])
    for layout in ("5.1", "7.1", "7.1.4"):
        info = run("lv2info", f"urn:orvane:headphones:{layout}")
        assert "Has latency:       yes" in info and "Living room" in info, info
    render = str(build / "orvane-render")
    with tempfile.TemporaryDirectory() as folder:
        bed, expected, ears = (f"{folder}/{name}.wav" for name in ("bed", "expected", "ears"))
        noise = numpy.random.default_rng(1).uniform(-1, 1, (kFrames, 6)).astype(numpy.float32)
        wavfile.write(bed, kRate, noise)
        # lv2apply has blocks of one sample; the tail of the longest blocks ends a little earlier.
        run(render, bed, expected, "--keep-latency", "--layout", "5.1", "--block", "512", "--preset", "studio",
            "--pose", ",".join(map(str, kPose.values())))
        controls = {**preset_controls("studio"), **kPose}
        options = [word for symbol, value in controls.items() for word in ("-c", symbol, str(value))]
        run("lv2apply", "-i", bed, "-o", ears, *options, "urn:orvane:headphones:5.1")
        warnings.simplefilter("ignore", wavfile.WavFileWarning)  # chunks beside the samples
        rendered, wanted = (wavfile.read(file)[1].astype(float) for file in (ears, expected))
    difference = numpy.abs(rendered - wanted[:len(rendered)]).max() / numpy.abs(wanted).max()
    print(f"lv2apply against orvane-render: {difference:.1e} of the peak")
    assert difference < kLimit


main()
