#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The measuring of the report, the demo and the table generators, on signals whose figures are known."""

import json
import sys
import tempfile
import unittest
from pathlib import Path
from types import SimpleNamespace

import numpy as np

ROOT = Path(__file__).resolve().parents[1]
sys.path.append(str(ROOT / "tools"))

from measure import charts, decay, ears, erb, levels, sine, sphere
from measure.constants import LATENCY, SAMPLE_RATE_HZ
from measure.random import Random
from rooms import figures, measures
from validate import geometry, other_tables
from validate.limits import Limit, limits
from validate.report import Report
from validate.room_model import Room, echoes
from validate.section import Section

RATE_HZ = SAMPLE_RATE_HZ


class SineTest(unittest.TestCase):
    def test_tells_the_sine_from_what_is_beside_it(self):
        tone = lambda hz, amplitude: sine.sine(hz, amplitude, 16384, RATE_HZ)
        self.assertLess(sine.residue_db(tone(997.0, 0.5), 997.0, RATE_HZ), -140.0)
        self.assertAlmostEqual(-60.0, sine.residue_db(tone(997.0, 0.5) + tone(1994.0, 0.0005), 997.0, RATE_HZ), delta=0.1)
        near = tone(997.0, 0.5) + tone(1100.0, 0.05)
        self.assertLess(sine.beside_db(near, 997.0, 300.0, RATE_HZ), -85.0)
        self.assertAlmostEqual(-40.0, sine.beside_db(near + tone(5000.0, 0.005), 997.0, 300.0, RATE_HZ), delta=0.1)
        frequencies, level_db = sine.spectrum_curve(tone(5000.0, 0.005), RATE_HZ, 100.0, 24)
        self.assertAlmostEqual(5000.0, frequencies[level_db.argmax()], delta=RATE_HZ / 16384)
        both = np.stack([near, tone(997.0, 0.1) + tone(5000.0, 0.002)])
        self.assertAlmostEqual(-48.0, sine.largest_beside_db(both, 997.0, 300.0, RATE_HZ), delta=0.1)


class EarsTest(unittest.TestCase):
    def test_bands_hold_the_power_of_a_response(self):
        echo = np.zeros(512)
        echo[100] = 0.5
        np.testing.assert_allclose(erb.powers(echo, RATE_HZ), 0.25, rtol=1e-9)
        echo[101] = 0.5  # cos^2 of half a sample: nothing lost in the lows, all at half the rate
        found = erb.powers(echo, RATE_HZ)
        self.assertAlmostEqual(1.0, found[0], delta=1e-3)
        np.testing.assert_allclose(found, np.cos(np.pi * erb.CENTRES_HZ / RATE_HZ) ** 2, atol=0.03)
        self.assertAlmostEqual(2000.0, erb.band_mean(erb.CENTRES_HZ, 1800.0, 2200.0), delta=100.0)

    def test_itd_and_ild_from_signals_and_from_spectra(self):
        frames = np.arange(1024)
        left = np.sinc(0.05 * (frames - 400.0)) * np.exp(-(((frames - 400.0) / 100.0) ** 2))
        right = 0.5 * np.interp(frames - 10.25, frames, left)  # later and quieter
        both = np.stack([left, right])
        expected_us = 1e6 * 10.25 / RATE_HZ
        self.assertAlmostEqual(expected_us, ears.itd_us(both, RATE_HZ), delta=0.5)
        spectra = np.fft.rfft(both)
        frequencies = np.fft.rfftfreq(1024, 1.0 / RATE_HZ)
        self.assertAlmostEqual(expected_us, ears.itd_of_spectra_us(*spectra, frequencies, RATE_HZ), delta=1.0)
        self.assertAlmostEqual(-expected_us, ears.itd_us(both[::-1], RATE_HZ), delta=0.5)
        self.assertAlmostEqual(6.02, ears.ild_db(both), delta=0.05)
        np.testing.assert_allclose(erb.band_mean(ears.band_ild_db(both, RATE_HZ), 100.0, 1000.0), 6.02, atol=0.05)

    def test_differences_show_what_is_no_number(self):
        sound = np.array([[0.5, 0.25], [-1.0, 0.0]])
        self.assertEqual(levels.EQUAL_DB, levels.difference_db(sound, sound))
        other = sound.copy()
        other[0, 0] = 0.501
        self.assertAlmostEqual(-60.0, levels.difference_db(other, sound), delta=0.01)
        self.assertAlmostEqual(-12.04, levels.difference_db(sound[:, :1], sound), delta=0.01)  # the shorter is silent
        other[0, 1] = np.nan
        self.assertTrue(np.isnan(levels.difference_db(other, sound)))


class OtherTablesTest(unittest.TestCase):
    def test_reads_responses_with_delays_and_blends_neighbours(self):
        counts, taps = (1, 4, 1), 4  # one ear below, around and above
        head = b"MinPHR02" + RATE_HZ.to_bytes(4, "little") + bytes((1, 0, taps, 1, 0, 0, len(counts), *counts))
        gains = [0.0, 0.5, 0.25, -0.5, 0.125, 0.0]  # around: ahead, right, behind, left
        samples = b"".join(round(gain * 2**23).to_bytes(3, "little", signed=True) + bytes(3 * (taps - 1)) for gain in gains)
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder) / "table.mhr"
            path.write_bytes(head + samples + bytes((0, 10, 20, 10, 30, 0)))
            table = other_tables.openal(path)
            path.write_bytes(b"MinPHR03" + head[8:] + samples)
            for unreadable in (path, path.with_name("none.mhr")):
                with self.assertRaises(other_tables.Unreadable):
                    other_tables.openal(unreadable)
        ears_at = lambda azimuth, elevation: table.respond(np.radians([azimuth]), np.radians([elevation]))[0]
        for azimuth, elevation, places, values in ((0.0, 0.0, (10, 10), (0.5, 0.5)), (90.0, 0.0, (30, 20), (0.125, 0.25)),
                                                   (-45.0, 0.0, (15, 20), (0.375, 0.3125)), (0.0, 45.0, (5, 5), (0.25, 0.25))):
            for response, place, value in zip(ears_at(azimuth, elevation), places, values):
                self.assertAlmostEqual(value, response[other_tables.OPENAL_LEAD + place], delta=1e-6)
                self.assertAlmostEqual(value**2, (response**2).sum(), delta=1e-6)


class DecayTest(unittest.TestCase):
    def test_measures_a_decaying_noise(self):
        frames = round(1.5 * RATE_HZ)
        noise = Random(1).noise((8, frames)) * 10.0 ** (-3.0 * np.arange(frames) / RATE_HZ)
        band = decay.energy_sum(decay.octave_band(noise, 1000.0, RATE_HZ))
        curve = decay.curve(band, RATE_HZ, 48)
        self.assertAlmostEqual(1.0, decay.time_s(*curve), delta=0.03)
        for limits_db in (decay.EDT, decay.T20, decay.T30):
            self.assertAlmostEqual(1.0, decay.fit(*curve, limits_db).time_s, delta=0.05)
        late = decay.fit(*curve, decay.T20, from_s=0.3)
        self.assertAlmostEqual(-18.0, late.level_db(0.3), delta=1.0)
        self.assertIsNone(decay.fit(*curve, decay.T30, from_s=1.3))
        self.assertAlmostEqual(0.0, ears.ild_db(noise[:2]), delta=0.3)
        self.assertLess(abs(ears.correlation(noise[:2])), 0.05)

    def test_the_octave_keeps_its_centre_and_loses_its_neighbours(self):
        level = lambda hz: np.std(decay.octave_band(sine.sine(hz, 1.0, 9600, RATE_HZ), 1000.0, RATE_HZ)[4800:])
        self.assertAlmostEqual(np.sqrt(0.5), level(1000.0), delta=0.01)
        self.assertLess(max(level(250.0), level(4000.0)), 0.02)


class GeometryTest(unittest.TestCase):
    def test_mirrors_a_loudspeaker_in_the_walls(self):
        room = Room((10.0, 8.0, 6.0), (0.5, 0.0, 0.0, 0.0, 0.0, 1.0), (1.0, 0.0, 2.0))
        delays, gains, (azimuth, elevation) = echoes(room, 0.0, 0.0, RATE_HZ)  # straight ahead
        self.assertAlmostEqual(7.0 / 343.0 * RATE_HZ, delays[0])  # 3 m on, 4 m back
        self.assertAlmostEqual(0.5 / 7.0 - 7.0 * 0.00137, gains[0])
        self.assertAlmostEqual(0.0, azimuth[0])
        self.assertAlmostEqual(np.pi, abs(azimuth[1]))
        self.assertAlmostEqual(np.arctan2(8.0, 1.0), azimuth[2])
        self.assertAlmostEqual(np.arctan2(-4.0, 1.0), elevation[5])
        self.assertLess(gains[5], 0.0)

    def test_a_head_hears_what_it_turns_away_from(self):
        self.assertAlmostEqual(-0.5 * np.pi, geometry.heard_from(geometry.head(90.0), 0.0, 0.0)[0])
        found = geometry.heard_from(geometry.head_hearing_ahead_at(2.0, -0.7), 0.0, 0.0)
        np.testing.assert_allclose(found, (2.0, -0.7))
        _, elevation = geometry.heard_from(geometry.head(0.0, 30.0), 0.0, 0.0)  # nose down: ahead is above
        self.assertAlmostEqual(np.pi / 6.0, elevation)

    def test_harmonics_are_orthogonal_over_spread_directions(self):
        values = sphere.harmonics(*sphere.spread_directions(4000))
        power = 1.0 / (2.0 * sphere.DEGREES + 1.0)  # SN3D
        np.testing.assert_allclose(values.T @ values / 4000.0, np.diag(power), atol=2e-3)
        angles = np.array([0.3, -2.0]), np.array([0.2, -1.0])
        np.testing.assert_allclose(sphere.directions_of(sphere.unit_vectors(*angles)), angles)


class EnvelopeTest(unittest.TestCase):
    def test_tells_the_delay_of_an_envelope_from_that_of_its_carrier(self):
        frequencies = np.fft.rfftfreq(erb.TRANSFORM, 1.0 / RATE_HZ)
        left = np.exp(-2j * np.pi * frequencies * 0.005)[None]
        for delay_us in (0.0, 430.0, -700.0):
            # The carrier is turned by a phase that is the same at all frequencies: its delay is another.
            right = left * np.exp(-2j * np.pi * frequencies * delay_us * 1e-6 + 1.1j)
            for centre_hz in ears.ENVELOPE_CENTRES_HZ:
                found = ears.envelope_itd_us(left, right, centre_hz, RATE_HZ)
                np.testing.assert_allclose(found, delay_us, atol=2.0)

    def test_finds_the_share_of_energy_before_the_main_peak(self):
        response = np.zeros((1, erb.TRANSFORM))
        response[0, [300, 380, 500]] = 0.5, 1.0, 0.5
        found = ears.energy_before_onset_db(np.fft.rfft(response), RATE_HZ)
        self.assertAlmostEqual(found[0], 10.0 * np.log10(0.25 / 1.5), delta=0.3)  # the band's edges ring


class RoomTest(unittest.TestCase):
    def setUp(self):
        self.noise = np.random.default_rng(1).normal(size=(2, 2 * RATE_HZ))
        self.seconds = np.arange(2 * RATE_HZ) / RATE_HZ

    def test_finds_how_a_room_decays(self):
        early, t20 = measures.decay_times(self.noise * 10.0 ** (-3.0 * self.seconds / 0.8))
        np.testing.assert_allclose(t20[1:], 0.8, rtol=0.12)
        np.testing.assert_allclose(early[3:], 0.8, rtol=0.12)

    def test_tells_dense_from_sparse(self):
        sparse = np.where(np.arange(RATE_HZ) % 80 == 0, 1.0, 0.0)
        self.assertAlmostEqual(measures.echo_density(self.noise[0], [RATE_HZ])[0], 1.0, delta=0.1)
        self.assertLess(measures.echo_density(sparse, [RATE_HZ // 2])[0], 0.1)

    def test_levels_are_those_of_octaves_and_ears(self):
        tone = np.sin(2.0 * np.pi * 1000.0 * self.seconds)
        energies = measures.octave_energies(np.stack([tone, 0.0 * tone]))
        self.assertEqual(energies.argmax(), list(measures.OCTAVES_HZ).index(1000.0))
        self.assertAlmostEqual(measures.loudness(2.0 * self.noise) - measures.loudness(self.noise), 6.02, places=2)
        np.testing.assert_allclose(measures.coherence(np.stack([tone, tone]))[4], 1.0)
        np.testing.assert_allclose(measures.colouration(3.0 * self.noise, self.noise), 0.0, atol=1e-9)

    def test_tells_the_parts_of_a_room_apart(self):
        speakers, late = ["FC", "FL", "FR"], LATENCY + 2400
        dry, reflections, tail = (np.zeros((3, 2, 2 * RATE_HZ)) for _ in range(3))
        dry[..., LATENCY] = 1.0
        reflections[..., LATENCY + 1200] = 0.2
        reflections[0, :, LATENCY + 2304] = 0.1  # 2 ms before the tail, and only the centre has it
        tail[..., late:] = (self.noise * 10.0 ** (-3.0 * self.seconds / 0.5))[:, :-late]
        tail *= 0.5 / np.sqrt(np.sum(tail[0, 0] ** 2))
        tail[..., late] = tail.max()
        room = SimpleNamespace(dry=dry, reflections=reflections, tail=tail, full=dry + reflections + tail, speakers=speakers)
        room.of = lambda responses, speaker: responses[speakers.index(speaker)]
        measured = figures.measure(room)
        found = figures.single_figures(room, measured)
        self.assertAlmostEqual(found["reflections"], 10.0 * np.log10(0.05), places=6)
        self.assertAlmostEqual(found["direct_to_reflections"], 13.0, delta=0.5)
        self.assertAlmostEqual(found["direct_to_tail"], 6.0, delta=0.7)
        self.assertAlmostEqual(found["direct_to_all"], 5.2, delta=0.7)
        np.testing.assert_allclose([found["tail_edt"], found["tail_t20"]], 0.5, rtol=0.12)
        self.assertGreater(found["edt"], 0.6)  # its fall begins 50 ms after the direct sound
        np.testing.assert_allclose([found["gap"], found["gap_least"], found["gap_largest"]], [2.0, 2.0, 25.0])
        self.assertLess(np.abs(measured.balance[2:]).max(), 1.5)


class ReportTest(unittest.TestCase):
    def test_misses_what_is_beyond_a_limit_or_no_number_or_not_measured(self):
        table = limits(["7.1", "9.1"])
        self.assertIn("loudspeakers.average_9.1", table)
        section = Section("latency", "title", "text", table)
        section.add("ear_filters", 145.0)
        report = Report([section], table, [])
        self.assertFalse(report.missed)
        self.assertFalse(report.passed)
        section.add("centre", 139.0)
        section.add("field", np.nan)
        report = Report([section], table, [("commit", "<none>")])
        self.assertEqual(["latency.centre", "latency.field"], [figure.limit.id for figure in report.missed])
        self.assertEqual(len(table) - 3, len(report.unmeasured))
        read = json.loads(report.json())
        self.assertFalse(read["passed"])
        self.assertEqual([145.0, 139.0, None], [figure["value"] for figure in read["figures"]])
        self.assertIn("2 miss their limits", report.page())
        self.assertIn("&lt;none&gt;", report.page())
        with self.assertRaises(KeyError):
            section.add("unheard_of", 1.0)

    def test_limits_include_their_ends(self):
        limit = Limit("a.b", "", "dB", 1.0, 2.0, "")
        self.assertEqual([False, True, True, False], [limit.allows(value) for value in (0.99, 1.0, 2.0, np.nan)])
        self.assertEqual("1 to 2 dB", limit.text)


class ChartTest(unittest.TestCase):
    def test_labels_stay_apart_and_colours_can_follow_the_scheme(self):
        chart = charts.Chart("Same & same", charts.Axis("x", 0.0, 1.0, 0.5), charts.Axis("y", 0.0, 1.0, 0.5))
        for name in ("one", "two", "three"):
            chart.line([0.0, 1.0], [0.0, 0.5], charts.LEFT, name)
        text = chart.svg()
        places = [float(line.split(' y="')[1].split('"')[0]) for line in text.splitlines()
                  if line.endswith(("one</text>", "two</text>", "three</text>"))]
        self.assertEqual(3, len(places))
        self.assertGreaterEqual(min(abs(np.diff(sorted(places)))), charts.LABEL_POINTS)
        self.assertIn(f'stroke="{charts.LEFT}"', text)
        self.assertIn('aria-label="Same &amp; same"', text)


if __name__ == "__main__":
    unittest.main()
