# SPDX-License-Identifier: Apache-2.0
"""What a room does to sound, measured on impulse responses: level, decay, clarity, colour, diffusion.

Responses are arrays of shape (..., ears, samples) at 48 kHz; octaves are centred as in OCTAVES_HZ.
"""

import numpy as np

from measure import decay
from measure.constants import SAMPLE_RATE_HZ as RATE
from measure.levels import power_db

OCTAVES_HZ = np.array([63.0, 125.0, 250.0, 500.0, 1000.0, 2000.0, 4000.0, 8000.0])
SPEECH_OCTAVES = slice(3, 6)  # 500 Hz to 2 kHz, where room acoustics state single figures
DENSITY_WINDOW_S = 0.02
NORMAL_OUTSIDE = 0.3173  # share of a normal distribution beyond its standard deviation


def octave_energies(responses):
    """Energy per octave with sharp edges, both ears added up, shape (..., octaves)."""
    size = 1 << int(np.ceil(np.log2(responses.shape[-1])))
    power = np.abs(np.fft.rfft(responses, size, axis=-1)) ** 2
    power = power.sum(axis=-2)
    edges = np.round(np.outer([0.5**0.5, 2.0**0.5], OCTAVES_HZ) * size / RATE).astype(int)
    return np.stack([power[..., low:high].sum(axis=-1) for low, high in edges.T], axis=-1)


def decay_times(response):
    """Early decay time and T20 per octave, in seconds, of both ears together, shape (2, octaves)."""
    times = []
    for centre in OCTAVES_HZ:
        energy = decay.energy_sum(decay.octave_band(response, centre, RATE))
        curve = decay.curve(energy, RATE)
        times.append([decay.time_s(*curve, limits) for limits in (decay.EDT, decay.T20)])
    return np.array(times).T


def clarity(response, arrival, milliseconds=80):
    """Energy up to so many milliseconds after the arrival (a sample) over the energy after, in dB."""
    split = arrival + milliseconds * RATE // 1000
    return float(power_db(np.sum(response[..., :split] ** 2) / np.sum(response[..., split:] ** 2)))


def coherence(response):
    """Interaural coherence (real part) per octave, shape (octaves,)."""
    size = 1 << int(np.ceil(np.log2(response.shape[-1])))
    left, right = np.fft.rfft(response, size, axis=-1)
    edges = np.round(np.outer([0.5**0.5, 2.0**0.5], OCTAVES_HZ) * size / RATE).astype(int)
    result = []
    for low, high in edges.T:
        cross = np.sum(left[low:high] * np.conj(right[low:high])).real
        powers = np.sum(np.abs(left[low:high]) ** 2) * np.sum(np.abs(right[low:high]) ** 2)
        result.append(cross / np.sqrt(max(powers, 1e-30)))
    return np.array(result)


def echo_density(channel, samples):
    """Share of taps beyond a standard deviation around each of `samples`; 1 in Gaussian noise.

    Abel and Huang, "A simple, robust measure of reverberation echo density", AES 121, 2006.
    """
    half = int(DENSITY_WINDOW_S * RATE) // 2
    weights = np.hanning(2 * half + 3)[1:-1]
    weights /= weights.sum()
    result = []
    for middle in samples:
        around = channel[middle - half : middle + half + 1]
        deviation = np.sqrt(weights @ around**2)
        result.append(weights @ (np.abs(around) > deviation) / NORMAL_OUTSIDE)
    return np.array(result)


def colouration(response, dry):
    """Octave levels relative to dry, around their mean, in dB."""
    gain = power_db(octave_energies(response) / octave_energies(dry))
    return gain - gain.mean(axis=-1, keepdims=True)


def loudness(response):
    """K-weighted loudness of pink noise through a response, relative; differences are in LU.

    ITU-R BS.1770: a high-pass at 38 Hz and a shelf of 4 dB above 1.7 kHz.
    """
    size = 1 << int(np.ceil(np.log2(response.shape[-1])))
    hz = np.fft.rfftfreq(size, 1.0 / RATE)
    weight = _k_weight(hz) / np.maximum(hz, 20.0)
    inside = (hz > 20.0) & (hz < 20000.0)
    power = (np.abs(np.fft.rfft(response, size, axis=-1)) ** 2).reshape(-1, len(hz)).sum(axis=0)
    return float(power_db(power[inside] @ weight[inside]))


def _k_weight(hz):
    """Power response of the K-weighting: the two filters that the recommendation tabulates."""
    z = np.exp(-2j * np.pi * hz / RATE)
    shelf = np.polyval([1.19839281085285, -2.69169618940638, 1.53512485958697], z) / np.polyval(
        [0.73248077421585, -1.69065929318241, 1.0], z
    )
    high_pass = np.polyval([1.0, -2.0, 1.0], z) / np.polyval(
        [0.99007225036621, -1.99004745483398, 1.0], z
    )
    return np.abs(shelf * high_pass) ** 2
