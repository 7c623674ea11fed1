# SPDX-License-Identifier: Apache-2.0
"""The renderer and the effect: the same sound, what they refuse, and threads."""

from __future__ import annotations

import pathlib
import threading
import time
from typing import Any, Callable

import numpy as np
import pytest
from conftest import noise

import orvane
from orvane._player import Player

Generator = np.random.Generator


@pytest.mark.parametrize("layout", orvane.LAYOUTS)
def test_renderer_and_effect_give_the_same_samples(layout: str, rng: Generator) -> None:
    room = {"reverb.decay": 0.4, "reflections.mode": 2, "room.length": 9.0, "material.left": 4}
    with orvane.Renderer(layout, parameters=room) as renderer, orvane.Effect(layout, parameters=room) as effect:
        bed = noise(rng, renderer.inputs, 4000)
        path = np.linspace([0, 0, 0], [120, -30, 15], -(-4000 // 480))
        assert np.array_equal(renderer.render(bed, poses=path), effect.render(bed, poses=path))
        assert effect.inputs == len(orvane.LAYOUTS[layout].channels)


def ear_balance(player: Player, bed: Any) -> float:
    """Energy of the left ear to that of the right, in dB, once the head has arrived."""
    player.render(bed)
    left, right = np.sum(player.render(bed) ** 2, axis=1)
    return float(10 * np.log10(left / right))


@pytest.mark.parametrize("make", [orvane.Renderer, orvane.Effect])
def test_a_head_that_looks_to_the_left_hears_what_is_ahead_at_the_right(make: Any, rng: Generator) -> None:
    bed = noise(rng, 6, 9600)
    bed[[0, 1, 3, 4, 5]] = 0  # front centre alone
    with make("5.1", parameters={"reverb.enable": 0}) as player:
        assert abs(ear_balance(player, bed)) < 0.01
        player.pose = (90, 0, 0)
        assert ear_balance(player, bed) < -6
        player.rotation_vector = (0, 0, -np.pi / 2)
        assert ear_balance(player, bed) > 6
        player.pose = (0, 0, 90)  # leaning changes nothing ahead
        assert abs(ear_balance(player, bed)) < 0.01
        player.reset()
        assert np.array_equal(player.pose, [0, 0, 0])


def test_poses_and_rotation_vectors_are_each_others_reverse() -> None:
    for pose in [(0, 0, 0), (170, 0, 0), (30, 20, -10), (-100, -80, 60), (0, 0, 179)]:
        assert np.allclose(orvane.pose_from_vector(orvane.vector_from_pose(pose)), pose)
    # Yaw first and then pitch, about the head's own axes: it looks to the left and down.
    matrix = orvane.rotate(np.eye(4), (90, 45, 0))
    heard = matrix @ orvane.sh_weights([90], [-45], order=1)[0]
    assert np.allclose(heard, orvane.sh_weights(0, order=1), atol=1e-6)


def test_blocks_of_any_length_and_any_view_of_the_samples_sound_alike(rng: Generator) -> None:
    bed = noise(rng, 12, 3000)
    with orvane.Renderer("7.1.4", block=1024) as renderer:
        whole = renderer.render(bed)
    strided = np.zeros((12, 6000), np.float64)
    strided[:, ::2] = bed
    pieces = []
    with orvane.Renderer("7.1.4", block=1024) as renderer:
        for view in np.split(strided[:, ::2], [1, 700, 1700, 2000], axis=1):
            pieces.append(renderer.process(np.asfortranarray(view)))
    assert np.abs(np.concatenate(pieces, axis=1) - whole).max() < 2e-6 * np.abs(whole).max()


def test_out_takes_the_samples_and_nothing_around_it_is_written(rng: Generator) -> None:
    for player in (orvane.Renderer("5.1", block=256), orvane.Effect("5.1", block=256)):
        with player:
            around = np.full((4, 500), 7, np.float32)
            inside = around[1:3, 100:400]
            assert player.render(noise(rng, 6, 300), out=inside) is inside
            assert np.abs(inside).max() < 1
            around[1:3, 100:400] = 7
            assert (around == 7).all()


READ_ONLY = np.zeros((2, 64), np.float32)
READ_ONLY.flags.writeable = False


@pytest.mark.parametrize("samples, out, error", [
    (np.zeros((6, 64), np.int16), None, TypeError),
    (np.zeros((6, 64), np.complex64), None, TypeError),
    (np.zeros((5, 64), np.float32), None, ValueError),
    (np.zeros(64, np.float32), None, ValueError),
    (np.zeros((6, 257), np.float32), None, ValueError),
    (np.zeros((6, 0), np.float32), None, ValueError),
    (np.zeros((6, 64), np.float32), np.zeros((2, 64)), TypeError),
    (np.zeros((6, 64), np.float32), np.zeros((2, 64), ">f4"), TypeError),
    (np.zeros((6, 64), np.float32), np.zeros((2, 63), np.float32), ValueError),
    (np.zeros((6, 64), np.float32), np.zeros((64, 2), np.float32).T, ValueError),
    (np.zeros((6, 64), np.float32), READ_ONLY, ValueError),
    (np.zeros((6, 64), np.float32), np.lib.stride_tricks.as_strided(np.zeros(65, np.float32), (2, 64), (4, 4)),
     ValueError),
])
def test_arrays_that_do_not_fit_are_refused(samples: Any, out: Any, error: type[Exception]) -> None:
    for player in (orvane.Renderer("5.1", block=256), orvane.Effect("5.1", block=256)):
        with player, pytest.raises(error):
            player.process(samples, out)


def test_out_over_the_samples_is_refused() -> None:
    memory = np.zeros((7, 64), np.float32)
    with orvane.Renderer("5.1") as renderer, pytest.raises(ValueError, match="overlaps"):
        renderer.process(memory[:6], memory[5:])


@pytest.mark.parametrize("refused, function, code", [
    (lambda: orvane.Renderer(block=32), "ubr_init", 2),
    (lambda: orvane.Renderer("ambisonics", order=5), "ubr_init", 2),
    (lambda: orvane.Renderer(mode="ambisonic").__setattr__("pose", (1, 0, 0)), "ubr_set_user_orientation", 1),
    (lambda: orvane.Renderer().place(12, (1, 0, 0)), "ubr_set_source_position", 2),
    (lambda: orvane.Renderer().parameters.assign({"reverb.decay": 9}), "ubr_set_reverb_param", 2),
    (lambda: orvane.Effect(0xC063F), "EFFECT_CMD_SET_CONFIG", -22),
    (lambda: orvane.Effect().set_parameter(103, b"123"), "EFFECT_CMD_SET_PARAM", -22),
])
def test_what_the_library_refuses_names_function_and_code(refused: Callable[[], Any], function: str, code: int) -> None:
    with pytest.raises(orvane.Error, match=function) as caught:
        refused()
    assert (caught.value.function, caught.value.code) == (function, code)


@pytest.mark.parametrize("make", [orvane.Renderer, orvane.Effect])
def test_parameters_follow_the_table(make: Any) -> None:
    with make() as player:
        assert dict(player.parameters) == {p.name: p.default for p in orvane.PARAMETERS.values()
                                           if p.default is not None}
        with pytest.raises(orvane.Error, match="reverb.decay = 3.0"):
            player.parameters["reverb.decay"] = 3
        assert player.parameters["reverb.decay"] == orvane.PARAMETERS["reverb.decay"].default
        with pytest.raises(KeyError, match="reverb.length"):
            player.parameters["reverb.length"] = 1
        player.parameters["material.floor"] = 2
        assert player.parameters["absorption.floor"] == 0.2
        player.parameters["absorption.floor"] = 0.5
        assert "material.floor" not in player.parameters
        with pytest.raises(orvane.Error):  # the first is kept, and heard
            player.parameters.assign({"room.length": 7, "listener.x": 3.6})
        assert player.parameters["room.length"] == 7


def test_an_effect_renders_another_layout_and_ends_with_one_that_is_refused(rng: Generator) -> None:
    bed = noise(rng, 12, 480)
    effect = orvane.Effect("5.1", parameters={"reverb.decay": 1})
    effect.configure("7.1.4")
    assert effect.parameters["reverb.decay"] == orvane.PARAMETERS["reverb.decay"].default
    with orvane.Renderer("7.1.4") as renderer:
        assert np.array_equal(effect.process(bed), renderer.process(bed))
    with pytest.raises(orvane.Error, match="mask"):
        effect.configure(0xC063F)
    with pytest.raises(ValueError, match="closed"):
        effect.process(bed)


def test_a_closed_player_refuses_every_call() -> None:
    for player in (orvane.Renderer(), orvane.Effect()):
        player.close()
        player.close()
        with pytest.raises(ValueError, match="closed"):
            player.pose = (1, 0, 0)
        with pytest.raises(ValueError):
            player.process(np.zeros((12, 64), np.float32))


def test_an_effect_has_its_own_lines_of_the_log(capfd: pytest.CaptureFixture[str]) -> None:
    effects = [orvane.Effect(layout) for layout in ("5.1", "22.2")]

    def refuse(effect: orvane.Effect) -> None:
        for _ in range(50):
            with pytest.raises(orvane.Error):
                effect.set_parameter(100, b"")

    threads = [threading.Thread(target=refuse, args=(effect,)) for effect in effects]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    for effect, channels in zip(effects, (6, 24)):
        effect.close()
        assert sum("wrong size" in text for _, text in effect.log) == 50
        assert sum(f"for input channels {channels}," in text for _, text in effect.log) == 1
    assert capfd.readouterr().err == ""


def test_accumulation_adds_to_what_out_holds(rng: Generator) -> None:
    bed = noise(rng, 6, 480)
    with orvane.Effect("5.1") as replacing, orvane.Effect("5.1", accumulate=True) as adding:
        out = np.full((2, 480), 0.5, np.float32)
        adding.process(bed, out)
        assert np.abs(out - 0.5 - replacing.process(bed)).max() < 1e-6


def longest_pause_in_a_call(field: Any) -> float:
    """How long this thread stood still during one call of the library, as a part of the call."""
    took: list[float] = []

    def render() -> None:
        start = time.monotonic()
        orvane.binauralize(field, block=field.shape[1])
        took.append(time.monotonic() - start)

    thread = threading.Thread(target=render)
    longest, last = 0.0, time.monotonic()  # before the start, which a thread with the lock would hold up
    thread.start()
    while thread.is_alive():
        now = time.monotonic()
        longest, last = max(longest, now - last), now
    return longest / took[0]


def test_other_threads_run_while_a_block_is_rendered() -> None:
    field = np.zeros((25, 1 << 20), np.float32)  # tenths of a second
    # With the interpreter's lock held, each is above 0.8. The least of some, as the machine may be busy.
    assert min(longest_pause_in_a_call(field) for _ in range(3)) < 0.5


def test_other_ears_are_heard_until_the_built_in_ones_are_set_again(rng: Generator) -> None:
    left, right = np.zeros((2, 256, 25))
    left[10, 0], right[20, 0] = 0.5, 0.25
    bed = noise(rng, 1, 300)
    dry = {"reverb.enable": 0}
    with orvane.Renderer([(1, 0, 0)], parameters=dry, ears=[left, right]) as renderer, \
            orvane.Renderer([(1, 0, 0)], parameters=dry) as built_in:
        heard = renderer.render(bed)
        assert np.allclose(heard[0, 10:], 0.5 * bed[0, :-10], atol=1e-6)
        assert np.allclose(heard[1, 20:], 0.25 * bed[0, :-20], atol=1e-6)
        renderer.set_responses(left)
        renderer.reset()
        assert np.allclose(renderer.render(bed)[1, 10:], 0.5 * bed[0, :-10], atol=1e-6)
        with pytest.raises(orvane.Error, match="ubr_set_responses"):
            renderer.set_responses(np.full((256, 25), np.nan))
        with pytest.raises(ValueError, match="256, 25"):
            renderer.set_responses(left[:255])
        renderer.set_responses(None)
        renderer.reset()
        assert np.array_equal(renderer.render(bed), built_in.render(bed))


def test_ears_come_from_a_sofa_file(rng: Generator, tmp_path: pathlib.Path, monkeypatch: pytest.MonkeyPatch) -> None:
    sofa = pathlib.Path("/usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa")
    monkeypatch.setenv("XDG_CACHE_HOME", str(tmp_path))
    bed = noise(rng, 12, 2000)
    with orvane.Renderer("7.1.4", ears=sofa) as renderer, orvane.Renderer("7.1.4") as other:
        heard = renderer.render(bed)
        built_in = other.render(bed)
        assert not np.allclose(heard, built_in, atol=1e-3)
        assert np.isclose(np.var(heard), np.var(built_in), rtol=0.2)  # the same head, fitted in another way
        assert list(tmp_path.glob("orvane/ears/*"))
        other.reset()
        other.set_responses(*orvane.load_ears(str(sofa)))
        other.process(np.zeros((12, 1), np.float32))
        other.reset()
        assert np.array_equal(other.render(bed), heard)
    (tmp_path / "-bad.sofa").write_text("no measurement")
    monkeypatch.chdir(tmp_path)
    with pytest.raises(ValueError, match="-bad.sofa"):
        orvane.Renderer(ears="-bad.sofa")
    monkeypatch.setattr("orvane.ears.LIBRARY_PATH", "/none/liborvane.so")
    monkeypatch.setenv("PATH", str(tmp_path))
    with pytest.raises(RuntimeError, match="orvane-tools"):
        orvane.load_ears(sofa)
