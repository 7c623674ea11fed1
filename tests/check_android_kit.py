# SPDX-License-Identifier: Apache-2.0
"""Compares the files for Android with what CMake builds.

Android.bp has the same sources and compiles with the same options, and audio_effects.xml registers
the file and the effect that are there.

    check_android_kit.py ROOT LIBRARY SOURCE... OPTION...
"""
import ctypes
import pathlib
import re
import struct
import sys
import uuid
import xml.etree.ElementTree as ElementTree


class EffectLibrary(ctypes.Structure):
    """The head and the functions of the record AELI."""

    _fields_ = [
        ("tag", ctypes.c_uint32),
        ("version", ctypes.c_uint32),
        ("name", ctypes.c_char_p),
        ("implementor", ctypes.c_char_p),
        ("create_effect", ctypes.c_void_p),
        ("release_effect", ctypes.c_void_p),
        ("get_descriptor", ctypes.CFUNCTYPE(ctypes.c_int32, ctypes.c_char_p, ctypes.c_char_p)),
    ]


def effect_uuid(text):
    """The 16 bytes of an effect_uuid_t."""
    fields = uuid.UUID(text)
    clock = fields.clock_seq_hi_variant << 8 | fields.clock_seq_low
    head = struct.pack("<IHHH", fields.time_low, fields.time_mid, fields.time_hi_version, clock)
    return head + fields.node.to_bytes(6, "big")


def strings_of(blueprint, list_name):
    body = re.search(rf"\b{list_name}: \[(.*?)\]", blueprint, re.DOTALL).group(1)
    return re.findall(r'"([^"]*)"', re.sub(r"//.*", "", body))


def compare(what, of_android, of_cmake):
    different = sorted(set(of_android) ^ set(of_cmake))
    return [f"{what} of only one of Android.bp and CMake: {different}"] if different else []


def check_registration(path, library_path):
    tree = ElementTree.parse(path).getroot()
    place = "{" + re.match(r"{(.*)}", tree.tag).group(1) + "}"
    library = tree.find(f"{place}libraries/{place}library")
    effect = tree.find(f"{place}effects/{place}effect")
    record = EffectLibrary.in_dll(ctypes.CDLL(str(library_path)), "AELI")
    descriptor = ctypes.create_string_buffer(172)
    faults = []
    if library.get("path") != library_path.name or effect.get("library") != library.get("name"):
        faults.append("audio_effects.xml: the effect's library is not " + library_path.name)
    if record.get_descriptor(effect_uuid(effect.get("uuid")), descriptor) != 0:
        faults.append("audio_effects.xml: the library has no effect " + effect.get("uuid"))
    return faults


def main():
    root, library, *built = sys.argv[1:]
    options = [item for item in built if item.startswith("-")]
    sources = [item for item in built if not item.startswith("-")]
    blueprint = pathlib.Path(root, "Android.bp").read_text()
    kit = pathlib.Path(root, "android")
    faults = compare("sources", strings_of(blueprint, "srcs"), sources)
    faults += compare("options", strings_of(blueprint, "cppflags"), options)
    faults += check_registration(kit / "audio_effects.xml", pathlib.Path(library))
    ElementTree.parse(kit / "audio_policy_spatializer.xml")
    sys.exit("\n".join(faults) or None)


main()
