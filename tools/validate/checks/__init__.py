# SPDX-License-Identifier: Apache-2.0
"""The checks of the report, in its order. Each measures the library and returns a Section."""

from . import blocks, consistency, ears, hearing, latency, loudspeakers, noise, reflections, reverb, rooms, rotation, turns

ALL = [
    rotation.check, consistency.check, ears.check, hearing.check, loudspeakers.check, latency.check, reverb.check,
    reflections.check, rooms.check, noise.check, turns.check, blocks.check,
]  # fmt: skip
