# SPDX-License-Identifier: Apache-2.0
"""The stages by themselves: against the renderer, which goes through all of them, and against formulas."""

from __future__ import annotations

import pathlib
import re
import subprocess
from typing import Any

import numpy as np
import pytest
from conftest import noise

import orvane
from orvane._library import ffi

Generator = np.random.Generator


def test_the_stages_in_a_row_are_the_renderer(rng: Generator) -> None:
    sources = noise(rng, 3, 5000)
    azimuth, elevation = np.array([40, -110, 0]), np.array([0, 30, -20])
    a, e = np.radians([azimuth, elevation])
    positions = np.array([np.cos(e) * np.cos(a), np.cos(e) * np.sin(a), np.sin(e)]).T
    for order in (1, 4):
        with orvane.Renderer(positions, order=order, parameters={"reverb.enable": 0}) as renderer:
            renderer.pose = (50, 10, -20)
            renderer.render(np.zeros((3, 480), np.float32))  # the turn is over
            expected = renderer.render(sources)
        field = orvane.encode(sources, azimuth, elevation, order=order)
        assert np.abs(orvane.sh_weights(azimuth, elevation, order=order).T @ sources - field).max() < 1e-6
        ears = orvane.binauralize(orvane.rotate(field, (50, 10, -20)), block=300)
        assert np.abs(ears - expected).max() < 2e-6 * np.abs(expected).max()


def test_a_rotation_keeps_the_energy_of_every_degree(rng: Generator) -> None:
    matrix = orvane.rotate(np.eye(25), rotation_vector=rng.standard_normal(3))
    degree = np.floor(np.sqrt(np.arange(25)))
    assert np.abs(matrix @ matrix.T - np.eye(25)).max() < 1e-5
    assert np.abs(matrix[degree[:, None] != degree]).max() < 1e-6
    with pytest.raises(TypeError):
        orvane.rotate(np.eye(25))


def test_reflections_come_from_the_images_of_the_sources() -> None:
    sources = np.array([[1.0, 0.5, 1.2], [-2.0, 2.5, 3.0]] * 13)  # more than a scene of the library takes
    listener, size, absorption = np.array([0.3, -0.4, 1.6]), np.array([5, 6, 4]), [0, 0.1, 0.2, 0.3, 0.4, 0.5]
    taps = orvane.shoebox(size, listener, sources, absorption=absorption)
    assert taps.delay.shape == (26, 6)
    walls = [size[0] / 2, -size[0] / 2, size[1] / 2, -size[1] / 2, size[2], 0]
    for wall, place in enumerate(walls):
        image = sources.copy()
        image[:, wall // 2] = 2 * place - image[:, wall // 2]
        path = image - listener
        distance, direct = np.linalg.norm(path, axis=1), np.linalg.norm(sources - listener, axis=1)
        assert np.allclose(taps.delay[:, wall], distance / 343, rtol=1e-5)
        gain = (1 - absorption[wall]) * direct / distance - 0.00137 * distance
        assert np.allclose(taps.gain[:, wall], gain, atol=1e-5)
        assert np.allclose(taps.azimuth[:, wall], np.degrees(np.arctan2(path[:, 1], path[:, 0])), atol=1e-3)
        assert np.allclose(taps.elevation[:, wall], np.degrees(np.arcsin(path[:, 2] / distance)), atol=1e-3)
    assert np.allclose(orvane.shoebox(size, listener, sources, materials=4).gain,
                       orvane.shoebox(size, listener, sources, absorption=0.75).gain)


@pytest.mark.parametrize("arguments", [
    {"size": (5, 6, 0.1)}, {"size": (5, 6)}, {"listener": (0, 0, np.nan)}, {"sources": (0, 0, 1)},
    {"absorption": 1.5}, {"absorption": [0.1] * 5}, {"materials": 28},
])
def test_rooms_that_mean_nothing_are_refused(arguments: dict[str, object]) -> None:
    room: dict[str, object] = {"size": (5, 6, 4), "listener": (0, 0, 1.6), "sources": [(1, 0, 1.6)]}
    with pytest.raises(ValueError):
        orvane.shoebox(**{**room, **arguments})  # type: ignore[arg-type]


def test_the_tail_is_the_response_convolved_and_what_the_renderer_adds(rng: Generator) -> None:
    settings: dict[str, Any] = {"decay_s": 0.1, "pre_delay_ms": 10.0}
    response = orvane.velvet_noise(**settings)
    assert (response[:, :480] == 0).all()
    assert np.abs(response[:, 480:580]).max() > 0
    assert np.abs(response[0] - response[1]).max() > 0.01  # each ear has pulses of its own
    again = orvane.velvet_noise(draw=1, **settings)
    assert np.abs(again - response).max() > 0.01

    mono = noise(rng, 1, 4000)[0]
    tail = orvane.velvet_noise(mono, **settings)
    convolved = [np.convolve(mono.astype(np.float64), r)[:4000] for r in response]
    assert np.abs(tail - convolved).max() < 1e-5 * np.abs(tail).max()

    with pytest.raises(AttributeError, match="decay"):
        orvane.velvet_noise(decay=1)
    with pytest.raises(orvane.Error, match="vn_prepare_to_play"):
        orvane.velvet_noise(pulse_spacing=0)


def test_fields_of_another_shape_are_refused() -> None:
    for channels in (0, 2, 36):
        with pytest.raises(ValueError, match="channels"):
            orvane.binauralize(np.zeros((channels, 8)))
    with pytest.raises(ValueError):
        orvane.rotate(np.zeros((1, 8)), (0, 0, 0))
    with pytest.raises(orvane.Error, match="ambisonics_base_init"):
        orvane.encode(np.zeros((1, 8)), 0, order=5)
    with pytest.raises(ValueError):
        orvane.encode(np.zeros((2, 8)), [0, 0, 0])
    assert orvane.encode(np.zeros((2, 0)), 0).shape == (25, 0)


def test_records_are_as_large_as_the_compiler_makes_them(tmp_path: pathlib.Path) -> None:
    root = pathlib.Path(__file__).resolve().parents[2]
    records = ["ubr_t", "encoder_t", "rotator_t", "binauralizer_t", "vn_state_t", "ubr_reflections_t",
               "ubr_reverb_t", "shoebox_scene_t", "effect_config_t", "audio_effect_library_t"]
    lines = "".join(f'printf("%zu ", sizeof({record}));' for record in records)
    source = tmp_path / "sizes.c"
    source.write_text("#include <stdio.h>\n#include <platform/effect_abi.h>\n#include <renderer/ubr.h>\n"
                      f"#include <room/shoebox_scene.h>\nint main(void) {{ {lines} }}\n")
    subprocess.run(["cc", "-std=c11", f"-I{root}", source, "-o", tmp_path / "sizes"], check=True)
    sizes = subprocess.run([tmp_path / "sizes"], check=True, capture_output=True, text=True).stdout
    assert [int(size) for size in sizes.split()] == [ffi.sizeof(record) for record in records]


def test_what_the_documents_show_runs() -> None:
    page = pathlib.Path(__file__).resolve().parents[2] / "docs/python.md"
    names: dict[str, Any] = {}
    for block in re.findall(r"^```python\n(.*?)^```$", page.read_text(), re.M | re.S):
        exec(block, names)
    assert names["response"].shape[0] == 2
