#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The sinks at a desktop: PipeWire and its session manager without hardware, pw-play into a sink, and what arrives at the
headphones against what orvane-render writes.

    check_desktop.py [--build FOLDER] [NAME...]

runs the checks of those names, all without one, with the programs of build/release or of another folder. Starts a
session bus of its own. Exit status 1 when a check fails.
"""

import argparse
import contextlib
import os
import pathlib
import re
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time

import numpy
from scipy.io import wavfile

from support.desktop import Desktop, kRate, read
from support.presets import preset_controls

kBurst = kRate // 8  # of noise, then as much silence, per channel
kRoot = pathlib.Path(__file__).resolve().parent.parent
kResampledDb = 0.05
kEarFrames = 145
kPositions = {"5.1": "FL FR FC LFE RL RR", "7.1": "FL FR FC LFE RL RR SL SR",
              "7.1.4": "FL FR FC LFE RL RR SL SR TFL TFR TRL TRR"}
kAttempts = 4    # a busy machine loses a period now and then, and then what it had in it
kExact = 1e-4    # of the peak: nothing on the way changes a sample, where nothing resamples


def write_bed(file, layout):
    """One burst of noise below 10 kHz after the other, channel by channel: what every rate on the way carries."""
    channels = len(kPositions[layout].split())
    bed = numpy.zeros((2 * kBurst * channels, channels), numpy.float32)
    random = numpy.random.default_rng(1)
    for channel in range(channels):
        begin = 2 * kBurst * channel
        spectrum = numpy.fft.rfft(random.uniform(-0.5, 0.5, kBurst))
        spectrum[10000 * kBurst // kRate:] = 0
        bed[begin:begin + kBurst, channel] = numpy.fft.irfft(spectrum)
    wavfile.write(file, kRate, bed)


def place_of(part, whole):
    """The frame of `whole` where `part` fits best."""
    size = 1 << (len(whole) + len(part)).bit_length()
    product = sum(numpy.fft.rfft(whole[:, ear], size) * numpy.conj(numpy.fft.rfft(part[:, ear], size))
                  for ear in range(2))
    return int(numpy.argmax(numpy.fft.irfft(product, size)[:max(1, len(whole) - len(part))]))


def expected_ears(desktop, bed, layout, options):
    ears = f"{desktop.folder}/expected.wav"
    subprocess.run([desktop.build / "orvane-render", bed, ears, "--layout", layout, *options], check=True,
                   capture_output=True)
    return read(ears)


def bursts(recorded, expected, channels):
    """Per channel what was to come and what came, at the place where it fits best."""
    for channel in range(channels):
        begin = 2 * kBurst * channel
        wanted = expected[begin:begin + kBurst + kBurst // 2]
        at = place_of(wanted, recorded)
        yield wanted, recorded[at:at + len(wanted)]


def difference(wanted, came):
    """The largest, in shares of the peak."""
    return numpy.abs(came - wanted).max() / numpy.abs(wanted).max()


def level_difference(wanted, came):
    """The larger of both ears' differences of level, dB."""
    levels = [10 * numpy.log10((sound ** 2).sum(0) + 1e-12) for sound in (wanted, came)]
    return numpy.abs(levels[0] - levels[1]).max()


def check_plays(desktop, sink, layout, *options, measure=difference, limit=kExact):
    """Every channel is heard where it belongs, as orvane-render has it with those options."""
    positions = kPositions[layout]
    names = positions.split()
    bed = f"{desktop.folder}/bed.wav"
    write_bed(bed, layout)
    expected = expected_ears(desktop, bed, layout, options)
    for _ in range(kAttempts):
        recorded = desktop.play(sink, bed, positions)
        errors = [measure(*burst) for burst in bursts(recorded, expected, len(names))]
        print(f"  {sink} {' '.join(options)}: {measure.__name__} {max(errors):.1e}", flush=True)
        if max(errors) < limit:
            return
    raise AssertionError(f"{dict(zip(names, errors))}\n{desktop.logs()}")


kOscPort, kOpentrackPort = "9377", "9378"
kLive = "orvane-live"
kSink = "orvane-headphones-7.1"


def filter_chain(build, folder):
    """The plug-in in PipeWire's own filter chain: every channel, the head and the room."""
    with Desktop(build, folder, chains=["orvane-7.1.conf"]) as desktop:
        desktop.wait_for("the sink", lambda: desktop.node(kSink))
        check_plays(desktop, kSink, "7.1", "--dry")
        desktop.set(kSink, yaw=90)
        check_plays(desktop, kSink, "7.1", "--dry", "--pose", "90,0,0")
        desktop.set(kSink, yaw=0, reverb_enable=1, **preset_controls("studio"))
        check_plays(desktop, kSink, "7.1", "--preset", "studio", limit=1e-3)


def filter_chain_at_44100(build, folder):
    """The same in a graph of 44.1 kHz, which PipeWire resamples: levels at both ears."""
    with Desktop(build, folder, rate=44100, chains=["orvane-7.1.conf"]) as desktop:
        desktop.wait_for("the sink", lambda: desktop.node(kSink))
        check_plays(desktop, kSink, "7.1", "--dry", measure=level_difference, limit=kResampledDb)


@contextlib.contextmanager
def flood_of_garbage(port):
    """Sends random packets, and some that begin like a message, until its end; yields how many, in a list."""
    random = numpy.random.default_rng(2)
    packets = [random.bytes(int(size)) for size in random.integers(1, 600, 50)]
    packets += [b"/ypr\0\0\0\0,fff\0\0\0\0" + random.bytes(int(size)) for size in random.integers(0, 11, 50)]
    sent, ended = [0], threading.Event()

    def send():
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as out:
            while not ended.wait(0.01):
                for packet in packets:
                    out.sendto(packet, ("127.0.0.1", port))
                    sent[0] += 1

    thread = threading.Thread(target=send)
    thread.start()
    try:
        yield sent
    finally:
        ended.set()
        thread.join()


def start_live(desktop, *options):
    """orvane-live as a sink, dry."""
    desktop.start("orvane-live", desktop.build / "orvane-live", "--sink", "--dry", "--osc-port", kOscPort, *options)
    desktop.wait_for("the sink", lambda: desktop.node(kLive))
    desktop.wait_for("the ears", lambda: f"{kLive}.ears:output_FR" in desktop.links())


def live_sink(build, folder):
    """orvane-live as a sink: every channel, the head from OSC and from opentrack, garbage from the network, its end."""
    with Desktop(build, folder) as desktop:
        start_live(desktop, "--tracker", "opentrack", "--opentrack", kOpentrackPort)
        desktop.wait_for("the latency of the ear filters",
                         lambda: desktop.latency_ns(kLive) == kEarFrames * 10**9 // kRate)
        check_plays(desktop, kLive, "7.1", "--dry")
        # To the left: angles of this tracker grow to the right, over OSC too.
        desktop.run("oscsend", "localhost", kOscPort, "/ypr", "fff", "-90", "0", "0", check=True)
        check_plays(desktop, kLive, "7.1", "--dry", "--pose", "90,0,0")
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as tracker:  # x, y, z; 90 degrees to the right
            tracker.sendto(struct.pack("<6d", 0, 0, 0, 90, 0, 0), ("127.0.0.1", int(kOpentrackPort)))
        check_plays(desktop, kLive, "7.1", "--dry", "--pose", "-90,0,0")
        with flood_of_garbage(int(kOscPort)) as sent:
            check_plays(desktop, kLive, "7.1", "--dry", "--pose", "-90,0,0")
        print(f"  {sent[0]} packets of garbage meanwhile")
        assert desktop.stop("orvane-live") == 0, desktop.logs()
        assert desktop.node(kLive) is None
        print(f"  {desktop.log('orvane-live').splitlines()[-1]}")


def live_sink_at_44100(build, folder):
    """The same with 12 channels in a graph of 44.1 kHz: levels at both ears."""
    with Desktop(build, folder, rate=44100) as desktop:
        start_live(desktop, "--layout", "7.1.4")
        check_plays(desktop, kLive, "7.1.4", "--dry", measure=level_difference, limit=kResampledDb)


def live_sink_survives(build, folder):
    """orvane-live as a sink: a hold-up, other periods, itself the default, suspension, loss of the output, restart of
    the server."""
    with Desktop(build, folder, other_rate=44100) as desktop:
        write_bed(f"{folder}/bed.wav", "7.1")
        start_live(desktop)
        desktop.start("player", "pw-play", "--target", kLive, f"{folder}/bed.wav")
        time.sleep(0.5)
        desktop.processes["orvane-live"].send_signal(signal.SIGSTOP)
        time.sleep(0.5)
        desktop.processes["orvane-live"].send_signal(signal.SIGCONT)
        desktop.wait_for("a line of what was lost",
                         lambda: re.search(r"^lost +[1-9]\d* skipped", desktop.log("orvane-live"), re.M))
        desktop.stop("player")

        desktop.run("pw-metadata", "-n", "settings", "0", "clock.force-quantum", "1500", check=True)
        check_plays(desktop, kLive, "7.1", "--dry")
        desktop.run("pw-metadata", "-n", "settings", "0", "clock.force-quantum", "0", check=True)

        command = re.search(r"^until wpctl .*", (kRoot / "docs/desktop.md").read_text(), re.M)[0]
        desktop.run("sh", "-c", command, check=True)
        desktop.wait_for("the new default", lambda: f'"{kLive}"' in desktop.run(
            "pw-metadata", "0", "default.configured.audio.sink").stdout)
        time.sleep(1)
        check_plays(desktop, kLive, "7.1", "--dry")

        desktop.wait_for("suspension", lambda: "suspended" in desktop.run("pw-cli", "info", desktop.node(kLive)).stdout)
        check_plays(desktop, kLive, "7.1", "--dry")

        desktop.run("pw-metadata", "-n", "settings", "0", "clock.force-rate", "44100", check=True)
        check_plays(desktop, kLive, "7.1", "--dry", measure=level_difference, limit=kResampledDb)
        desktop.run("pw-metadata", "-n", "settings", "0", "clock.force-rate", "0", check=True)

        desktop.run("pw-cli", "create-node", "adapter", "{ factory.name=support.null-audio-sink node.name=other "
                    "media.class=Audio/Sink object.linger=true audio.position=[FL FR] }", check=True)
        other = desktop.wait_for("another output", lambda: desktop.node("other"))
        desktop.run("wpctl", "set-default", other, check=True)
        desktop.wait_for("the ears at the new default output", lambda: desktop.hears(kLive, "other"))
        desktop.run("pw-cli", "destroy", other, check=True)
        desktop.wait_for("the ears at the output that is left", lambda: desktop.hears(kLive, "headphones"))

        desktop.stop("wireplumber")
        desktop.stop("pipewire", signal.SIGKILL)
        desktop.wait_for("notice of the loss", lambda: "1 server gone" in desktop.log("orvane-live"))
        desktop.wait_for("a line that says so", lambda: "is not running" in desktop.log("orvane-live"))
        desktop.start_server()
        desktop.wait_for("the sink, again", lambda: desktop.node(kLive))
        desktop.wait_for("the ears, again", lambda: f"{kLive}.ears:output_FR" in desktop.links())
        check_plays(desktop, kLive, "7.1", "--dry")
        assert desktop.stop("orvane-live") == 0, desktop.logs()


kChecks = {check.__name__: check for check in (filter_chain, filter_chain_at_44100, live_sink, live_sink_at_44100,
                                               live_sink_survives)}


def main():
    if not os.environ.get("DBUS_SESSION_BUS_ADDRESS") or os.environ.get("ORVANE_DESKTOP") is None:
        environment = dict(os.environ, ORVANE_DESKTOP="1")
        os.execvpe("dbus-run-session", ["dbus-run-session", "--", sys.executable, *sys.argv], environment)
    if os.getuid() == 0:  # without them the session manager ends at once
        for name in ("seats", "sessions", "users", "machines"):
            pathlib.Path("/run/systemd", name).mkdir(parents=True, exist_ok=True)
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", type=pathlib.Path, default=kRoot / "build/release")
    parser.add_argument("names", nargs="*", choices=[[], *kChecks])
    options = parser.parse_args()
    build = options.build.resolve()
    for name in options.names or kChecks:
        print(f"{name}: {kChecks[name].__doc__}", flush=True)
        begin = time.monotonic()
        with tempfile.TemporaryDirectory() as folder:
            kChecks[name](build, folder)
        print(f"  {time.monotonic() - begin:.0f} s", flush=True)


main()
