# SPDX-License-Identifier: Apache-2.0
"""orvane-ears and orvane-render --ears on SOFA files that are written here: spheres, good and spoiled.

libmysofa reads HDF5 only as netCDF writes it, which h5py does not. So a file here is a copy of the set that
libmysofa1 brings, in which every value is replaced. Sets of other shapes are in ears_test.cpp.

    ears_test.py ORVANE_EARS ORVANE_RENDER LIBRARY
"""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest
import wave
from pathlib import Path

import h5py
import numpy as np

EARS, RENDER, LIBRARY = sys.argv[1:4]
RATE = 48000
TEMPLATE = "/usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa"
COUNT, TAPS = 710, 512  # of the template


def spread(count=COUNT):
    position = np.arange(count)
    azimuth = np.degrees(np.pi * (3 - np.sqrt(5)) * position) % 360
    return np.stack([azimuth, np.degrees(np.arcsin((2 * position + 1) / count - 1)), np.full(count, 1.4)], axis=1)


def sphere_responses(positions, radii=(0.0875, 0.0875), taps=TAPS, rate=RATE):
    """(directions, ears, taps): a delay by the way around a sphere, and a shadow of first order."""
    azimuth, elevation = np.radians(positions[:, 0]), np.radians(positions[:, 1])
    side = np.sin(azimuth) * np.cos(elevation)
    frequencies = np.fft.rfftfreq(4 * taps, 1 / rate)
    ears = []
    for sign, radius in zip((1, -1), radii):
        angle = np.arccos(np.clip(sign * side, -1, 1))[:, None]
        around = np.where(angle < np.pi / 2, -np.cos(angle), angle - np.pi / 2)
        delay = 1e-3 + radius / 343 * (1 + around)
        s = 1j * np.pi * frequencies * radius / 343
        shadow = (1 + (1.05 + 0.95 * np.cos(1.2 * angle)) * s) / (1 + s)
        ears.append(np.fft.irfft(shadow * np.exp(-2j * np.pi * frequencies * delay))[:, :taps])
    return np.stack(ears, axis=1)


def write_sofa(path, positions, responses, *, rate=RATE, convention=None, kind="spherical"):
    """A file of COUNT directions, two ears and TAPS taps."""
    shutil.copy(TEMPLATE, path)
    with h5py.File(path, "r+") as sofa:
        def replace(place, name, text):
            attribute = sofa[place].attrs.get_id(name)
            attribute.write(np.array(text.encode(), attribute.dtype), mtype=attribute.get_type())

        if kind == "cartesian":
            a, e, r = np.radians(positions[:, 0]), np.radians(positions[:, 1]), positions[:, 2]
            positions = np.stack([r * np.cos(e) * np.cos(a), r * np.cos(e) * np.sin(a), r * np.sin(e)], axis=1)
            replace("SourcePosition", "Type", "cartesian")
            replace("SourcePosition", "Units", "metre")
        if convention:
            replace("/", "SOFAConventions", convention)
        sofa["SourcePosition"][...] = positions
        sofa["Data.IR"][...] = responses
        sofa["Data.SamplingRate"][...] = rate
    return path


class EarsTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.environment = os.environ | {"XDG_CACHE_HOME": str(self.folder / "cache")}

    def run_program(self, *arguments):
        return subprocess.run([str(a) for a in arguments], env=self.environment, cwd=self.folder,
                              capture_output=True, text=True, timeout=300)

    def figures(self, *arguments):
        done = self.run_program(EARS, *arguments)
        self.assertEqual(done.returncode, 0, done.stderr)
        return {line.split()[0]: line for line in done.stdout.splitlines()}

    def table_of(self, sofa):
        self.figures(sofa, "--table", "table.npy")
        return np.load(self.folder / "table.npy")

    def test_spheres_of_any_rate_grid_and_kind_of_position_are_fitted_and_told(self):
        rings = np.array([(a, e, 1.2) for e in range(-45, 91, 8) for a in range(0, 360, 8)])[:COUNT]
        cases = {
            "even": (spread(), {}),
            "slow": (spread(), {"rate": 32000}),
            "fast": (spread(), {"rate": 96000}),
            "rings": (rings, {"kind": "cartesian"}),
        }
        for name, (positions, options) in cases.items():
            with self.subTest(name):
                rate = options.get("rate", RATE)
                sofa = write_sofa(self.folder / f"{name}.sofa", positions, sphere_responses(positions, rate=rate),
                                  **options)
                lines = self.figures(sofa)
                self.assertLess(float(lines["level"].split()[1]), 1.0)
                self.assertLess(float(lines["ITD"].split()[1]), 15.0)
                self.assertIn(f"{rate / 1000:g} kHz", lines["set"])

    def test_each_ear_has_its_own_delay(self):
        positions = spread()
        equal = self.table_of(write_sofa(self.folder / "a.sofa", positions, sphere_responses(positions)))
        larger = sphere_responses(positions, radii=(0.0875, 0.11))
        unequal = self.table_of(write_sofa(self.folder / "b.sofa", positions, larger))
        negative = [1, 4, 5, 9, 10, 11, 16, 17, 18, 19]
        mirrored = unequal[0].copy()
        mirrored[:, negative] *= -1
        rest = lambda a, b: np.sum((a - b) ** 2) / np.sum(b**2)
        same = equal[0].copy()
        same[:, negative] *= -1
        self.assertLess(rest(equal[1], same), 1e-3)
        self.assertGreater(rest(unequal[1], mirrored), 0.1)

    def test_a_file_is_fitted_once(self):
        positions = spread()
        sofa = write_sofa(self.folder / "my.sofa", positions, sphere_responses(positions))
        first = self.figures(sofa)
        self.assertEqual(len(list((self.folder / "cache/orvane/ears").iterdir())), 1)
        sofa.rename(self.folder / "moved.sofa")
        self.assertEqual(self.figures(self.folder / "moved.sofa")["level"], first["level"])
        self.assertEqual(len(list((self.folder / "cache/orvane/ears").iterdir())), 1)

    def test_what_cannot_be_fitted_is_refused_in_one_line(self):
        positions = spread()
        good = sphere_responses(positions)
        spoiled = good.copy()
        spoiled[7, 1, 3] = np.nan
        silent = good.copy()
        silent[:, 1] = 0
        few, flat = spread(), spread()
        few[20:] = few[0]
        flat[:, 1] = 0
        files = {
            "20 directions, 36 are needed": (few, good, {}),
            "not finite": (positions, spoiled, {}),
            "silent at the right ear": (positions, silent, {}),
            "of the sphere": (flat, good, {}),
            "SimpleFreeFieldHRIR is needed": (positions, good, {"convention": "GeneralFIR"}),
            "Data.SamplingRate": (positions, good, {"rate": 100.0}),
        }
        for reason, (where, responses, options) in files.items():
            with self.subTest(reason):
                sofa = write_sofa(self.folder / "bad.sofa", where, responses, **options)
                self.assert_refused(sofa, reason)
        (self.folder / "bad.sofa").write_bytes(b"RIFF, no SOFA file" * 100)
        self.assert_refused(self.folder / "bad.sofa", "bad.sofa")
        self.assert_refused(self.folder / "none.sofa", "cannot be read")

    def assert_refused(self, sofa, reason):
        done = self.run_program(EARS, sofa)
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stderr.count("\n"), 1, done.stderr)
        self.assertIn(reason, done.stderr)
        self.assertFalse((self.folder / "cache/orvane/ears").exists())

    def test_a_bed_is_heard_by_them(self):
        positions = spread()
        write_sofa(self.folder / "my.sofa", positions, sphere_responses(positions))
        with wave.open(str(self.folder / "bed.wav"), "wb") as bed:
            bed.setparams((6, 2, RATE, 0, "NONE", ""))
            samples = np.zeros((4800, 6), "<i2")
            samples[:, 0] = np.random.default_rng(1).integers(-9000, 9000, 4800)  # front left alone
            bed.writeframes(samples.tobytes())
        common = ["--layout", "5.1", "--library", LIBRARY, "--reverb", "enable=0"]
        own = self.run_program(RENDER, "bed.wav", "own.wav", "--ears", "my.sofa", *common)
        self.assertEqual(own.returncode, 0, own.stderr)
        self.assertIn("dB off", own.stderr)
        again = self.run_program(RENDER, "bed.wav", "again.wav", "--ears", "my.sofa", *common)
        self.assertNotIn("dB off", again.stderr, "it comes from the cache")
        self.assertEqual((self.folder / "own.wav").read_bytes(), (self.folder / "again.wav").read_bytes())
        self.run_program(RENDER, "bed.wav", "built_in.wav", *common)
        self.assertNotEqual((self.folder / "own.wav").read_bytes(), (self.folder / "built_in.wav").read_bytes())
        refused = self.run_program(RENDER, "bed.wav", "out.wav", "--ears", "bed.wav", *common)
        self.assertEqual(refused.returncode, 1)
        self.assertIn("bed.wav", refused.stderr)
        self.assertFalse((self.folder / "out.wav").exists())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
