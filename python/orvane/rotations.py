# SPDX-License-Identifier: Apache-2.0
"""Head orientations: yaw, pitch and roll, rotation vectors, and the platform's axes."""

from __future__ import annotations

import numpy as np
import numpy.typing as npt

Vector = npt.NDArray[np.float64]


def vector_from_pose(pose: npt.ArrayLike) -> Vector:
    """The rotation vector (radians) of a head that yaws, then pitches, then rolls about its own axes.

    pose  yaw, pitch and roll in degrees, as orvane-render's --pose: yaw 90 looks to the left, pitch
          90 down, roll 90 leans to the right
    """
    half = np.radians(np.asarray(pose, np.float64)) / 2
    (cy, cp, cr), (sy, sp, sr) = np.cos(half), np.sin(half)
    w = cr * cp * cy + sr * sp * sy
    axis = np.array([sr * cp * cy - cr * sp * sy, cr * sp * cy + sr * cp * sy, cr * cp * sy - sr * sp * cy])
    sine = np.linalg.norm(axis)
    sign = -1.0 if w < 0.0 else 1.0  # both signs are the same rotation; the shorter way round
    return np.zeros(3) if sine == 0.0 else np.asarray(axis * (2 * sign * np.arctan2(sine, sign * w) / sine))


def pose_from_vector(vector: npt.ArrayLike) -> Vector:
    """Yaw, pitch and roll in degrees of a rotation vector; the reverse of `vector_from_pose`."""
    v = np.asarray(vector, np.float64)
    angle = float(np.linalg.norm(v))
    w, (x, y, z) = np.cos(angle / 2), v * (np.sinc(angle / (2 * np.pi)) / 2)
    yaw = np.arctan2(2 * (w * z + x * y), 1 - 2 * (y * y + z * z))
    pitch = np.arcsin(np.clip(2 * (w * y - z * x), -1, 1))
    roll = np.arctan2(2 * (w * x + y * z), 1 - 2 * (x * x + y * y))
    return np.degrees([yaw, pitch, roll])


def platform_vector(vector: npt.ArrayLike) -> Vector:
    """A head's rotation vector as that of the stage in the platform's axes, which the effect takes."""
    x, y, z = np.asarray(vector, np.float64)
    return np.array([y, -x, -z])
