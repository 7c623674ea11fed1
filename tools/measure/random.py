# SPDX-License-Identifier: Apache-2.0
"""Random numbers that are the same everywhere: MT19937, whose outputs the C++ standard fixes too."""

import numpy as np


class Random:
    """Deviates from a seed."""

    def __init__(self, seed):
        self._generator = np.random.RandomState(seed)

    def integers(self, count):
        """Raw outputs of the generator, 32 bits each."""
        return self._generator.randint(0, 2**32, count, dtype=np.uint32)

    def unit(self, count):
        """Between 0 and 1, neither included."""
        return (self.integers(count) + 0.5) / 2.0**32

    def noise(self, shape):
        """White, between -0.5 and 0.5, float32."""
        return (self.unit(int(np.prod(shape))) - 0.5).astype(np.float32).reshape(shape)

    def quaternion(self):
        """Uniform over all rotations, as (w, x, y, z), from two pairs of normal deviates (Box and Muller)."""
        values = self.unit(4)
        radius = np.sqrt(-2.0 * np.log(values[0::2]))
        angle = 2.0 * np.pi * values[1::2]
        four = np.stack([radius * np.cos(angle), radius * np.sin(angle)], axis=1).ravel()
        return four / np.linalg.norm(four)
