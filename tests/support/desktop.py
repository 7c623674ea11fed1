# SPDX-License-Identifier: Apache-2.0
"""A desktop's sound without hardware: PipeWire, its session manager, and the programs that play and record."""

import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import time
import warnings

from scipy.io import wavfile

kRate = 48000
kPatienceS = 20  # for what takes a moment


def read(file):
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", wavfile.WavFileWarning)
        return wavfile.read(file)[1].astype(float)


class Desktop:
    """A session of PipeWire whose default output is a sink without hardware, "headphones"."""

    def __init__(self, build, folder, rate=kRate, other_rate="", chains=()):
        self.build, self.folder = build, pathlib.Path(folder)
        self.processes = {}
        self.environment = dict(os.environ, XDG_RUNTIME_DIR=folder, XDG_CONFIG_HOME=f"{folder}/config",
                                XDG_STATE_HOME=f"{folder}/state", HOME=folder, LV2_PATH=str(build / "lv2-bundles"),
                                DBUS_SYSTEM_BUS_ADDRESS=os.environ["DBUS_SESSION_BUS_ADDRESS"])
        self.drop_ins = self.folder / "config/pipewire/pipewire.conf.d"
        self.drop_ins.mkdir(parents=True, exist_ok=True)
        # Long periods: a machine that is busy with other tests keeps up with them.
        (self.drop_ins / "10-test.conf").write_text(f"""
context.properties = {{ default.clock.rate = {rate} default.clock.allowed-rates = [ {rate} {other_rate} ]
  default.clock.quantum = 2048 default.clock.min-quantum = 2048 default.clock.max-quantum = 8192 }}
context.objects = [ {{ factory = adapter args = {{ factory.name = support.null-audio-sink node.name = headphones
  media.class = Audio/Sink object.linger = true audio.position = [ FL FR ] }} }} ]
""")
        for chain in chains:
            shutil.copy(build / "pipewire" / chain, self.drop_ins)

    def __enter__(self):
        self.start_server()
        return self

    def __exit__(self, *_):
        for name in reversed(list(self.processes)):
            self.stop(name)

    def start_server(self):
        self.start("pipewire", "pipewire")
        self.wait_for("the server", lambda: self.run("pw-cli", "info", "0").returncode == 0)
        self.start("wireplumber", "wireplumber")
        self.wait_for("the headphones", lambda: self.node("headphones"))

    def stop_server(self):
        self.stop("wireplumber")
        self.stop("pipewire")

    def start(self, name, *command):
        with open(self.folder / f"{name}.log", "ab") as log:
            self.processes[name] = subprocess.Popen(command, stdout=log, stderr=log, env=self.environment)
        return self.processes[name]

    def stop(self, name, how=signal.SIGTERM):
        process = self.processes.pop(name)
        process.send_signal(how)
        try:
            return process.wait(kPatienceS)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()
            raise

    def log(self, name):
        return (self.folder / f"{name}.log").read_text(errors="replace")

    def run(self, *command, check=False):
        return subprocess.run(command, capture_output=True, text=True, env=self.environment, check=check,
                              timeout=60)

    def wait_for(self, what, condition):
        end = time.monotonic() + kPatienceS
        while not (result := condition()):
            assert time.monotonic() < end, f"{what}: not within {kPatienceS} s\n{self.logs()}"
            time.sleep(0.1)
        return result

    def logs(self):
        return "\n".join(f"--- {file.name}\n{file.read_text(errors='replace')[-2000:]}"
                         for file in sorted(self.folder.glob("*.log")))

    def node(self, name):
        """The id of a node, or None."""
        current = None
        for line in self.run("pw-cli", "ls", "Node").stdout.splitlines():
            if found := re.match(r"\s*id (\d+), type", line):
                current = found[1]
            if re.search(rf'node.name = "{re.escape(name)}"', line):
                return current
        return None

    def links(self):
        return self.run("pw-link", "-l").stdout

    def latency_ns(self, sink):
        """From the sink to the end, as a player sees it."""
        for entry in json.loads(self.run("pw-dump", "-N").stdout):
            info = entry.get("info") or {}
            properties = info.get("props") or {}
            if properties.get("port.name") == "playback_FL" and str(properties.get("node.id")) == self.node(sink):
                ways = info["params"].get("Latency") or []
                return next((way["minNs"] for way in ways if way["direction"] == "Input"), None)
        return None

    def hears(self, sink, output):
        """Whether the ears of a sink go there."""
        return re.search(rf"{sink}.ears:output_FL\n *\|-> {output}:playback_FL", self.links())

    def set(self, sink, **controls):
        """Controls of the plug-in in the filter chain."""
        params = [f'"orvane:{symbol}" {float(value)}' for symbol, value in controls.items()]
        node = self.node(sink)
        for first in range(0, len(params), 4):  # pw-cli drops a longer line
            self.run("pw-cli", "set-param", node, "Props", f"{{ params = [ {' '.join(params[first:first + 4])} ] }}",
                     check=True)

    def play(self, sink, bed, positions):
        """What arrives at the headphones while `bed` plays into `sink`."""
        recording = str(self.folder / "recording.wav")
        self.start("recorder", "pw-record", "--target", "headphones", "-P", "{ stream.capture.sink = true }",
                   "--rate", str(kRate), "--channels", "2", "--format", "f32", recording)
        self.wait_for("the recorder", lambda: "pw-record:input_FL" in self.links())
        time.sleep(0.5)
        self.run("pw-play", "--target", sink, "--channel-map", ",".join(positions.split()), bed, check=True)
        time.sleep(0.7)
        self.stop("recorder", signal.SIGINT)
        return read(recording)
