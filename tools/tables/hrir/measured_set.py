# SPDX-License-Identifier: Apache-2.0
"""Input: the measured impulse responses, as left-ear spectra on the 48 kHz grid."""

import hashlib
from dataclasses import dataclass, replace
from pathlib import Path

import h5py
import numpy as np

from . import grid, sphere

# KEMAR dummy head, normal pinna: B. Gardner and K. Martin, "HRTF measurements of a KEMAR
# dummy-head microphone", MIT Media Lab Perceptual Computing Technical Report 280, 1994.
# The file is installed by Debian's package libmysofa1.
DEFAULT_PATH = Path("/usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa")
SHA256 = "2768ac841213a7ae11d1ea7fd0f25a69b39216102dc5dd913ea6ba0f0dc57e28"

LEFT_EAR = 0
SAME_DIRECTION_COSINE = 1.0 - 5e-7  # closer than 0.06 degrees


@dataclass(frozen=True)
class HrtfSet:
    """Left-ear responses of many directions; the right ear is the mirror image.

    azimuth, elevation  (directions,) radians
    spectra             (directions, bins) complex
    weights             (directions,) quadrature weights, sum 1
    num_measured        the first so many directions are measured, later ones are filled in
    """

    azimuth: np.ndarray
    elevation: np.ndarray
    spectra: np.ndarray
    weights: np.ndarray
    num_measured: int

    def with_spectra(self, spectra):
        """The same directions with other responses."""
        return replace(self, spectra=spectra)

    def diffuse_power(self):
        """Power averaged over all directions, per bin."""
        return self.weights @ np.abs(self.spectra) ** 2

    def subset(self, keep):
        """Only the directions marked in `keep`, with weights of their own."""
        azimuth, elevation = self.azimuth[keep], self.elevation[keep]
        return HrtfSet(
            azimuth,
            elevation,
            self.spectra[keep],
            sphere.area_weights(azimuth, elevation),
            int(np.count_nonzero(keep[: self.num_measured])),
        )


def verify_checksum(path):
    """Raises ValueError unless `path` is exactly the file that the table is made from."""
    digest = hashlib.sha256(Path(path).read_bytes()).hexdigest()
    if digest != SHA256:
        raise ValueError(f"{path}: SHA-256 is {digest}, expected {SHA256}")


def load(path=DEFAULT_PATH):
    """Reads a SimpleFreeFieldHRIR file (AES69) and returns its left ear as an HrtfSet."""
    verify_checksum(path)
    with h5py.File(path, "r") as sofa:
        position = sofa["SourcePosition"][:]
        responses = sofa["Data.IR"][:, LEFT_EAR, :]
        rate = float(sofa["Data.SamplingRate"][0])
    azimuth, elevation = np.radians(position[:, 0]), np.radians(position[:, 1])
    keep = distinct_directions(azimuth, elevation)
    azimuth, elevation = azimuth[keep], elevation[keep]
    spectra = resample_to_grid(responses[keep], rate)
    weights = capped_area_weights(azimuth, elevation)
    return HrtfSet(azimuth, elevation, spectra, weights, len(azimuth))


def distinct_directions(azimuth, elevation):
    """Indices of the directions with repetitions (the zenith) dropped."""
    vectors = sphere.unit_vectors(azimuth, elevation)
    repeats = np.triu(vectors @ vectors.T > SAME_DIRECTION_COSINE, k=1).any(axis=0)
    return np.flatnonzero(~repeats)


def resample_to_grid(responses, rate):
    """Fourier transform evaluated at the bins of the 48 kHz grid: an exact resampling."""
    seconds = np.arange(responses.shape[1]) / rate
    return responses @ grid.delay_phase(seconds)


def capped_area_weights(azimuth, elevation):
    """Area weights in which the lowest ring does not stand for the unmeasured cap below it."""
    weights = sphere.area_weights(azimuth, elevation)
    upper = np.abs(elevation) < np.radians(60.0)
    weights = np.minimum(weights, 3.0 * np.median(weights[upper]))
    return weights / weights.sum()
