# SPDX-License-Identifier: Apache-2.0
"""Terms of the cost for the sound field as a whole, for time, and for the taps themselves."""

import numpy as np

from measure import erb

from . import constraints, grid, hearing, sphere
from .cost_ears import LEVEL_BANDS_HZ, LEVEL_STEP_ERB
from .cost_target import LEVEL_PER_LOG, MEAN_POWER, Bands

EVEN = sphere.MIRROR_SIGNS > 0.0

COMPACT_BANDS_HZ = (2000.0, 3000.0, 4500.0, 6700.0, 10000.0)
COMPACT_HALF_WIDTH_OCTAVES = 0.7
# Energy costs nothing up to so many milliseconds from the arrival; beyond, the cost grows with the
# square of the time over the second figure, to at most the square of the limit.
BEFORE_MS, AFTER_MS, COMPACT_LIMIT = (0.1, 0.4), (0.25, 0.5), 3.0
COMPACT_LEVEL_EXPONENT = 0.8  # 1 would count quiet directions as much as loud ones

PEAK_RANGE_MARGIN = 1e-2  # below constraints.PEAK_MARGIN, so that imposing the constraints moves little


class DiffuseField:
    """Level and interaural coherence of sound from everywhere, per ERB band.

    The ears are sum and difference of the fields that are even and odd from left to right; coherence
    is what spaciousness is heard by (Menzer and Faller, "Investigations on an early-reflection-free
    model for BRIRs", JAES 58, 2010).
    """

    def __init__(self, target, level_weight, coherence_weight):
        centres = erb.centres(*LEVEL_BANDS_HZ, LEVEL_STEP_ERB)
        self.bands = Bands(centres, 1.0, np.float64, 1e-12, grid.FREQUENCIES)
        even, odd = map(self.bands.powers, target.even_and_odd_power())
        self.level, self.coherence = hearing.decibels(even + odd), (even - odd) / (even + odd)
        self.level_weight, self.coherence_weight = level_weight, coherence_weight

    def __call__(self, field):
        power = np.abs(field.harmonics) ** 2 * MEAN_POWER[:, None]
        even, odd = self.bands.powers(power[EVEN].sum(axis=0)), self.bands.powers(power[~EVEN].sum(axis=0))
        both = even + odd
        level, coherence = hearing.decibels(both) - self.level, (even - odd) / both - self.coherence
        level_slope = self.level_weight * 2.0 / len(level) * level * LEVEL_PER_LOG / both
        coherence_slope = self.coherence_weight * 2.0 / len(level) * coherence / both**2
        even_slope = (level_slope + 2.0 * odd * coherence_slope) @ self.bands.backward
        odd_slope = (level_slope - 2.0 * even * coherence_slope) @ self.bands.backward
        slope = np.where(EVEN[:, None], even_slope, odd_slope)
        field.harmonics_slope += 2.0 * slope * MEAN_POWER[:, None] * field.harmonics
        return float(
            self.level_weight * np.mean(level**2) + self.coherence_weight * np.mean(coherence**2)
        )


class Compactness:
    """Energy away from each direction's own arrival, in bands above 2 kHz.

    Energy long before the arrival is heard as a pre-echo, energy long after as smearing; a magnitude
    fit that leaves phases free has both.
    """

    def __init__(self, target, weight):
        self.weight = weight / len(COMPACT_BANDS_HZ)
        basis = target.basis.astype(float)
        products = (basis[:, :, None] * basis[:, None, :]).reshape(len(basis), -1)
        self.filters, self.forms = [], []
        for centre in COMPACT_BANDS_HZ:
            band = self._band(centre)
            penalty = self._penalties(target.unturned * band, target.area)
            form = (penalty.T @ products).reshape(grid.FFT_SIZE, *[sphere.NUM_CHANNELS] * 2)
            self.filters.append(band)
            self.forms.append(form)

    @staticmethod
    def _band(centre):
        octaves = np.abs(grid.OCTAVES - np.log2(centre)) / COMPACT_HALF_WIDTH_OCTAVES
        return np.where(octaves < 1.0, np.cos(0.5 * np.pi * octaves), 0.0)

    @staticmethod
    def _penalties(spectra, area):
        """Weight of the energy at every sample of every direction, shape (directions, samples)."""
        energy = np.fft.irfft(spectra, grid.FFT_SIZE, axis=1) ** 2
        samples = np.arange(grid.FFT_SIZE)
        circle = 2.0 * np.pi / grid.FFT_SIZE
        arrival = np.angle(energy @ np.exp(1j * circle * samples)) / circle
        half = grid.FFT_SIZE // 2
        distance = (samples - arrival[:, None] + half) % grid.FFT_SIZE - half
        milliseconds = distance / grid.SAMPLE_RATE * 1e3
        side = np.where(milliseconds < 0.0, [[BEFORE_MS[1]]], [[AFTER_MS[1]]])
        free = np.where(milliseconds < 0.0, [[BEFORE_MS[0]]], [[AFTER_MS[0]]])
        penalty = np.clip((np.abs(milliseconds) - free) / side, 0.0, COMPACT_LIMIT) ** 2
        total = energy.sum(axis=1)
        mean = area @ total
        return penalty * (area / (total / mean) ** COMPACT_LEVEL_EXPONENT / mean)[:, None]

    def __call__(self, field):
        total = 0.0
        for band, form in zip(self.filters, self.forms):
            responses = np.fft.irfft(field.harmonics * band, grid.FFT_SIZE, axis=1).T
            pulled = (form @ responses[:, :, None])[:, :, 0]
            total += self.weight * np.sum(responses * pulled)
            slope = np.fft.rfft(2.0 * self.weight * pulled.T, axis=1) / grid.FFT_SIZE
            slope[:, 1:-1] *= 2.0
            field.harmonics_slope += slope * band
        return float(total)


class Peaks:
    """Taps that outgrow their channel's main peak, in units of the table's gain."""

    def __init__(self, weight, gain):
        self.scale, self.gain = weight / sphere.NUM_CHANNELS / gain**2, gain

    def __call__(self, field):
        total = 0.0
        for channel, taps in enumerate(field.taps):
            peak, others = constraints.peak_and_others(channel, taps)
            margin = constraints.PEAK_MARGIN - PEAK_RANGE_MARGIN
            excess = np.where(others, np.maximum(np.abs(taps) - margin * abs(taps[peak]), 0.0), 0.0)
            total += np.sum(excess**2)
            slope = 2.0 * excess * np.sign(taps)
            slope[peak] -= 2.0 * margin * np.sign(taps[peak]) * excess.sum()
            field.taps_slope[channel] += self.scale * slope
        return float(self.scale * total)
