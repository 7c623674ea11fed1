# SPDX-License-Identifier: Apache-2.0
"""Whether the presets of the host programs are the rooms that their design asks for."""

import numpy as np

from measure import charts
from measure.levels import difference_db
from rooms import design, figures, measures, room

from ..section import Section

OCTAVE = charts.Axis("octave band (Hz)", 55.0, 9000.0, logarithmic=True)
LEAD = charts.Axis("direct sound over all else (dB)", 0.0, 18.0, 3.0)
SHARE = charts.Axis("time against the target (%)", 40.0, 140.0, 20.0)
COLOUR = charts.Axis("level against its mean (dB)", -5.0, 5.0, 1.0)
FADING = charts.Axis("time after the direct sound (ms)", 0.0, 600.0, 100.0)
ENERGY = charts.Axis(f"energy per {1e3 * figures.FADING_STEP_S:g} ms (dB)", -70.0, 0.0, 10.0)


def farthest(values):
    """The value farthest from 0, with its sign."""
    return values[np.abs(values).argmax()]


def off_lead(found, wanted):
    """How much further than wanted the direct sound leads, in dB per octave."""
    return found.direct_to_reverberant_octaves - wanted.lead_db


def off_decay(a_room, wanted):
    """EDT and T20 of the tail alone against the target, per octave, in per cent of it."""
    return 100.0 * (np.array(figures.tail_decays(a_room)) / wanted.decay_s - 1.0)


def figures_of(a_room, found, wanted):
    """By name, as the table of limits has them."""
    lead, mean_octaves = off_lead(found, wanted), figures.MEAN_OCTAVES
    values = figures.single_figures(a_room, found)
    return {
        "lead": lead[mean_octaves].mean(),
        "lead_octave": farthest(lead[mean_octaves]),
        "lead_8k": lead[-1],
        "tail_edt_octave": farthest(off_decay(a_room, wanted)[0][design.BALANCED_OCTAVES]),
        "single": found.single.max(),
        "phantom": farthest(found.phantom),
        "balance": farthest(found.balance[design.BALANCED_OCTAVES]),
    } | {name: value for name, value in values.items() if not name.startswith("direct")}


def dry_difference_db(subject):
    """How far the preset dry is from new effects whose reverb is off."""
    dry, speakers = room.read_preset(room.PRESETS / "dry.preset"), room.loudspeakers()
    found = [room.responses(dry, [speaker], room.DRY_SAMPLES)[0] for speaker in speakers]
    expected = [subject.bed(room.LAYOUT).respond(speaker, room.DRY_SAMPLES) for speaker in speakers]
    return difference_db(found, expected)


def draw(section, rooms, measured):
    fading = charts.Chart("How the rooms die away", FADING, ENERGY)
    lead = charts.Chart("Direct sound over all else; dashed: the target", OCTAVE, LEAD)
    decay = charts.Chart("Tail alone: EDT; dashed: T20", OCTAVE, SHARE)
    phantom = charts.Chart("Colour of a phantom centre", OCTAVE, COLOUR)
    octaves, targets = measures.OCTAVES_HZ, design.LEVEL_OCTAVES
    for colour, (name, found) in zip(charts.SERIES, measured.items()):
        wanted = design.DESIGNS[name]
        seconds, level_db = figures.fading(rooms[name])
        heard = level_db > ENERGY.low
        fading.line(1e3 * seconds[heard], level_db[heard], colour, name, width=1.0)
        lead.line(octaves, found.direct_to_reverberant_octaves, colour, name)
        lead.line(octaves[targets], wanted.lead_db[targets], colour, dashed=True, width=1.0)
        edt, t20 = 100.0 + off_decay(rooms[name], wanted)[:, targets]
        decay.line(octaves[targets], edt, colour, name)
        decay.line(octaves[targets], t20, colour, dashed=True, width=1.0)
        phantom.line(octaves, found.phantom, colour, name)
    for sign in (1.0, -1.0):
        phantom.level(sign * design.PHANTOM_LIMIT_DB, charts.LIMIT, "limit")
    for chart in (fading, lead, decay, phantom):
        section.draw(chart)


def check(subject, limits):
    section = Section(
        "rooms", "Rooms of the presets",
        "The impulse responses of 7.1.4 in the presets of the host programs, against what each was designed for"
        " (docs/rooms.md): how far the direct sound leads all that the room adds, how early reflections and tail decay and meet,"
        " how much a room colours loudspeakers and phantom centre, and how loud and how dense it is. Levels, times and gaps are"
        " the front centre's, where no other loudspeaker is named; EDT and T20 are those of ISO 3382-1.", limits)  # fmt: skip
    section.add("dry", dry_difference_db(subject))
    rooms = room.presets(design.DESIGNS)
    measured = {name: figures.measure(a_room) for name, a_room in rooms.items()}
    for name, found in measured.items():
        for what, value in figures_of(rooms[name], found, design.DESIGNS[name]).items():
            section.add(f"{name}_{what}", value)
    draw(section, rooms, measured)
    return section
