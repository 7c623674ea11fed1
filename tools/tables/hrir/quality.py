# SPDX-License-Identifier: Apache-2.0
"""Quality figures: how the table's ears differ from the measured ears, in hearing's terms."""

import numpy as np

from measure import ears, erb

from . import grid, hearing, sphere
from .magnitude_fit import diffuse_power

SPLITS_HZ = (2000.0, 5000.0, 10000.0)
LEVEL_DIFFERENCE_LOWEST_HZ = 1500.0
TIME_DIFFERENCE_ELEVATION = np.radians(31.0)
NEAR_EAR_SINE, FAR_EAR_SINE = 0.3, -0.7  # of the angle out of the median plane
BASS_HZ, LFE_HZ = (30.0, 100.0), 60.0
BED_DEGREES = [(45, 0), (-45, 0), (0, 0), (135, 0), (-135, 0), (90, 0), (-90, 0),
               (45, 45), (-45, 45), (135, 45), (-135, 45)]  # 7.1.4

CENTRES, BAND_WEIGHTS = erb.CENTRES_HZ, erb.weights(grid.FREQUENCIES)


def band_levels(spectra):
    """Levels in dB per ERB band, shape (directions, bands)."""
    return hearing.decibels(np.abs(spectra) ** 2 @ BAND_WEIGHTS.T)


def diffuse_deviation(harmonic_spectra):
    """Diffuse-field level per band, in dB relative to its mean."""
    level = 10.0 * np.log10(BAND_WEIGHTS @ diffuse_power(harmonic_spectra))
    return level - level.mean()


def time_differences(left, right):
    """Interaural time differences of spectra in microseconds, positive where the left ear leads."""
    return ears.itd_of_spectra_us(left, right, grid.FREQUENCIES, grid.SAMPLE_RATE)


def diffuse_coherence(even_power, odd_power):
    """Interaural coherence per band in a diffuse field."""
    return ears.diffuse_coherence(BAND_WEIGHTS @ even_power, BAND_WEIGHTS @ odd_power)


def envelope_time_differences(left, right):
    """Interaural delays of the envelopes in microseconds, shape (centres, directions)."""
    return np.stack(
        [ears.envelope_itd_us(left, right, hz, grid.SAMPLE_RATE) for hz in ears.ENVELOPE_CENTRES_HZ]
    )


class Ears:
    """Spectra of both ears per direction, from the table and as measured."""

    def __init__(self, harmonic_spectra, hrtfs, directions):
        self.azimuth, self.elevation = hrtfs.azimuth[directions], hrtfs.elevation[directions]
        basis = sphere.harmonics(self.azimuth, self.elevation)
        mirrored = sphere.nearest_direction(
            hrtfs.azimuth, hrtfs.elevation, -self.azimuth, self.elevation
        )
        self.left = basis @ harmonic_spectra
        self.right = basis @ (harmonic_spectra * sphere.MIRROR_SIGNS[:, None])
        self.measured_left = hrtfs.spectra[directions]
        self.measured_right = hrtfs.spectra[mirrored]
        self.weights = hrtfs.weights[directions] / hrtfs.weights[directions].sum()

    def nearest(self, degrees, elevation=0.0):
        """Index of the direction closest to an azimuth and elevation in degrees."""
        return sphere.nearest_direction(
            self.azimuth, self.elevation, np.radians(degrees), np.radians(elevation)
        )


def evaluate(harmonic_spectra, hrtfs, directions=None):
    """Compares with the measured directions of a set, or those among them in `directions`.

    Returns the figures by name; errors are in dB unless the name says otherwise. Single
    directions, pairs and beds are judged on the whole set.
    """
    everywhere = np.arange(hrtfs.num_measured)
    heard = Ears(harmonic_spectra, hrtfs, everywhere if directions is None else directions)
    whole = Ears(harmonic_spectra, hrtfs, everywhere)
    return (
        _level_figures(heard)
        | _difference_figures(heard)
        | _time_figures(heard)
        | _field_figures(harmonic_spectra, hrtfs)
        | _loudspeaker_figures(whole)
        | _onset_figures(heard)
        | _bass_figures(harmonic_spectra)
    )


def _level_figures(heard):
    error = np.abs(band_levels(heard.left) - band_levels(heard.measured_left))
    per_band = heard.weights @ error
    edges = [0.0, *SPLITS_HZ, np.inf]
    parts = [
        per_band[(CENTRES >= low) & (CENTRES < high)].mean() for low, high in zip(edges, edges[1:])
    ]
    side = np.sin(heard.azimuth) * np.cos(heard.elevation)
    near, far = side > NEAR_EAR_SINE, side < FAR_EAR_SINE
    mean = lambda which, bands: (
        heard.weights[which] @ error[which][:, bands]
    ).mean() / heard.weights[which].sum()
    middle = (CENTRES >= SPLITS_HZ[0]) & (CENTRES < SPLITS_HZ[1])
    return {
        "level, mean": per_band.mean(),
        "level, 99th percentile": np.percentile(error, 99),
        "level below 2 kHz": parts[0],
        "level, 2 to 5 kHz": parts[1],
        "level, 5 to 10 kHz": parts[2],
        "level above 10 kHz": parts[3],
        "near ear above 2 kHz": mean(near, CENTRES >= SPLITS_HZ[0]),
        "far ear, 2 to 5 kHz": mean(far, middle),
    }


def _difference_figures(heard):
    reached = band_levels(heard.left) - band_levels(heard.right)
    measured = band_levels(heard.measured_left) - band_levels(heard.measured_right)
    error = np.abs(reached - measured)[:, CENTRES >= LEVEL_DIFFERENCE_LOWEST_HZ]
    return {
        "level difference, mean": (heard.weights @ error).mean(),
        "level difference, 95th percentile": np.percentile(error, 95),
    }


def _time_figures(heard):
    level = np.abs(heard.elevation) < TIME_DIFFERENCE_ELEVATION
    pairs = (heard.left[level], heard.right[level]), (
        heard.measured_left[level],
        heard.measured_right[level],
    )
    weights = heard.weights[level] / heard.weights[level].sum()
    reached, measured = (time_differences(*pair) for pair in pairs)
    fine = np.abs(reached - measured)
    reached, measured = (envelope_time_differences(*pair) for pair in pairs)
    envelopes = np.abs(reached - measured) @ weights
    figures = {
        "time difference, mean (us)": weights @ fine,
        "time difference, 95th percentile (us)": np.percentile(fine, 95),
    }
    for hz, error in zip(ears.ENVELOPE_CENTRES_HZ, envelopes):
        figures[f"envelope time difference, {hz / 1000.0:g} kHz (us)"] = error
    return figures


def _field_figures(harmonic_spectra, hrtfs):
    error = np.abs(table_coherence(harmonic_spectra) - measured_coherence(hrtfs))
    return {
        "diffuse field, largest": np.abs(diffuse_deviation(harmonic_spectra)).max(),
        "coherence, mean (1)": error.mean(),
        "coherence, largest (1)": error.max(),
    }


def _loudspeaker_figures(heard):
    front = heard.nearest(0.0)
    figures = {"front, largest": _largest(heard.left[[front]], heard.measured_left[[front]])}
    for degrees in (30, 45):
        pair = [heard.nearest(degrees), heard.nearest(-degrees)]
        both, measured = heard.left[pair].sum(axis=0), heard.measured_left[pair].sum(axis=0)
        name = f"phantom centre of ±{degrees} degrees, largest"
        figures[name] = _largest(both[None], measured[None])
    bed = [heard.nearest(*direction) for direction in BED_DEGREES]
    powers = (np.sum(np.abs(x[bed]) ** 2, axis=0) for x in (heard.left, heard.measured_left))
    reached, measured = (hearing.decibels(BAND_WEIGHTS @ power) for power in powers)
    return figures | {"7.1.4 bed, largest": np.abs(reached - measured).max()}


def _largest(reached, measured):
    return np.abs(band_levels(reached) - band_levels(measured)).max()


def _onset_figures(heard):
    level = ears.energy_before_onset_db(heard.left, grid.SAMPLE_RATE)
    return {
        "energy before the onset, mean": hearing.decibels(heard.weights @ 10.0 ** (level / 10.0)),
        "energy before the onset, 95th percentile": np.percentile(level, 95),
    }


def _bass_figures(harmonic_spectra):
    """Where the set was extended: diffuse field re 300 Hz to 1 kHz; and the LFE's level re loudspeakers."""
    power = diffuse_power(harmonic_spectra)
    middle = (grid.FREQUENCIES > 300.0) & (grid.FREQUENCIES < 1000.0)
    bass = (grid.FREQUENCIES >= BASS_HZ[0]) & (grid.FREQUENCIES <= BASS_HZ[1])
    level = hearing.decibels(power[bass] / power[middle].mean())
    at = grid.nearest_bin(LFE_HZ)
    basis = sphere.harmonics(*np.radians(np.array(BED_DEGREES, float).T))
    ears_at = basis @ harmonic_spectra[:, at], (basis * sphere.MIRROR_SIGNS) @ harmonic_spectra[:, at]
    loudspeakers = sum(np.abs(ear) ** 2 for ear in ears_at) / 2.0
    lfe = hearing.decibels(np.abs(harmonic_spectra[0, at]) ** 2 / loudspeakers)
    return {
        "bass in the diffuse field, largest": np.abs(level).max(),
        "LFE at 60 Hz against loudspeakers of 7.1.4, mean": np.abs(lfe.mean()),
    }


def table_coherence(harmonic_spectra):
    """Interaural coherence of a table in a diffuse field, per band."""
    even = np.where(sphere.MIRROR_SIGNS[:, None] > 0, harmonic_spectra, 0.0)
    return diffuse_coherence(diffuse_power(even), diffuse_power(harmonic_spectra - even))


def measured_coherence(hrtfs):
    """Interaural coherence of the measured head in a diffuse field, per band."""
    mirrored = sphere.nearest_direction(
        hrtfs.azimuth, hrtfs.elevation, -hrtfs.azimuth, hrtfs.elevation
    )
    even = 0.5 * (hrtfs.spectra + hrtfs.spectra[mirrored])
    odd = hrtfs.spectra - even
    return diffuse_coherence(
        hrtfs.weights @ np.abs(even) ** 2, hrtfs.weights @ np.abs(odd) ** 2
    )
