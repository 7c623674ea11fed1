# SPDX-License-Identifier: Apache-2.0
"""Preset files as controls of the LV2 plug-ins."""

import pathlib

kPresets = pathlib.Path(__file__).resolve().parent.parent.parent / "presets"


def preset_controls(name):
    """The controls that a preset file sets, by symbol."""
    lines = (kPresets / f"{name}.preset").read_text().splitlines()
    pairs = [line.split("=") for line in lines if "=" in line and not line.startswith("#")]
    return {key.strip().replace(".", "_").replace("-", "_"): value.strip() for key, value in pairs}
