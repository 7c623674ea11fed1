# SPDX-License-Identifier: Apache-2.0
"""What the terms of the cost share: levels and robust errors."""

import numpy as np

HIGHEST_HZ = 20000.0  # of what is compared


def decibels(power):
    """Level of a power; silence is -120 dB."""
    return 10.0 * np.log10(np.maximum(power, 1e-12))


def pseudo_huber(error, scale):
    """A cost that is half the square of small errors and grows like `scale` times large ones.

    Returns the cost and its derivative, both like `error` (Charbonnier et al., "Deterministic
    edge-preserving regularization in computed imaging", IEEE Transactions on Image Processing 6,
    1997).
    """
    root = np.sqrt(1.0 + (error / scale) ** 2)
    return scale * scale * (root - 1.0), error / root
