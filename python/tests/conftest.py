# SPDX-License-Identifier: Apache-2.0
"""Signals for the tests."""

from __future__ import annotations

import numpy as np
import pytest

from orvane._samples import Samples


@pytest.fixture
def rng() -> np.random.Generator:
    return np.random.default_rng(1)


def noise(rng: np.random.Generator, channels: int, frames: int) -> Samples:
    return (0.1 * rng.standard_normal((channels, frames))).astype(np.float32)
