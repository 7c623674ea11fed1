# SPDX-License-Identifier: Apache-2.0
"""Levels as hearing resolves them: bands one ERB apart.

B. R. Glasberg and B. C. J. Moore, "Derivation of auditory filter shapes from notched-noise data", Hearing Research
47, 1990; the skirts of a band are those of a fourth-order gammatone filter.
"""

import numpy as np

LOWEST_HZ, HIGHEST_HZ = 100.0, 16000.0  # centres of the first and at most the last band
TRANSFORM = 1024  # the grid on which responses are judged
SILENCE = 1e-12  # of the power
NARROWEST_HZ = 30.0  # about what TRANSFORM resolves


def _number(hz):
    return 21.4 * np.log10(1.0 + 0.00437 * hz)


def centres(lowest_hz, highest_hz, step=1.0):
    """Frequencies in Hz from `lowest_hz` to at most `highest_hz`, `step` bands apart."""
    numbers = np.arange(_number(lowest_hz), _number(highest_hz) + 1e-6, step)
    return (10.0 ** (numbers / 21.4) - 1.0) / 0.00437


CENTRES_HZ = centres(LOWEST_HZ, HIGHEST_HZ)


def weights(frequencies_hz, centres_hz=CENTRES_HZ, width=1.0):
    """Weight of every frequency in every band, shape (bands, frequencies); those of a band add up to 1.

    Bands are `width` times as wide as the ear's; narrower ones never less than NARROWEST_HZ.
    """
    bandwidths = 1.019 * 24.7 * (0.00437 * centres_hz + 1.0) * width
    if width < 1.0:
        bandwidths = np.maximum(bandwidths, NARROWEST_HZ)
    offset = (np.asarray(frequencies_hz)[None, :] - centres_hz[:, None]) / bandwidths[:, None]
    response = (1.0 + offset**2) ** -4.0
    return response / response.sum(axis=1, keepdims=True)


def powers(responses, rate_hz):
    """Power per band of impulse responses of shape (..., frames), up to TRANSFORM frames: (..., bands)."""
    responses = np.asarray(responses, float)
    if responses.shape[-1] > TRANSFORM:
        raise ValueError(f"a response of more than {TRANSFORM} frames")
    spectra = np.fft.rfft(responses, TRANSFORM)
    return np.abs(spectra) ** 2 @ weights(np.fft.rfftfreq(TRANSFORM, 1.0 / rate_hz)).T


def band_mean(levels, low_hz, high_hz=np.inf):
    """Mean over the bands of (..., bands) whose centres lie from `low_hz` up to `high_hz`."""
    return levels[..., (CENTRES_HZ >= low_hz) & (CENTRES_HZ < high_hz)].mean(axis=-1)
