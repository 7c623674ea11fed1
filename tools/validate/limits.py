# SPDX-License-Identifier: Apache-2.0
"""The one table of what the report measures, of the limits that it holds the library to, and of their reasons.

Exact limits follow from a definition. Rounding limits lie some 10 dB above what single precision leaves, about -120 dB;
a fault is tens of dB above them. Data limits lie a little above what the compiled-in impulse responses or the design
give: they hold what is there and show a table, a layout or a ramp that changed.
"""

from dataclasses import dataclass

from measure.constants import LATENCY, MAX_ORDER
from measure.levels import EQUAL_DB
from rooms import design


@dataclass(frozen=True)
class Limit:
    """`id` is SECTION.FIGURE; None stands for a limit that does not exist. NaN keeps no limit."""

    id: str
    what: str
    unit: str
    at_least: float | None
    at_most: float | None
    reason: str

    def allows(self, value):
        return (
            value == value
            and (self.at_least is None or value >= self.at_least)
            and (self.at_most is None or value <= self.at_most)
        )

    @property
    def text(self):
        """ "≤ -110 dB", "144 to 146 samples" """
        if self.at_least is None:
            words = f"≤ {self.at_most:g}"
        elif self.at_most is None:
            words = f"≥ {self.at_least:.6g}"
        elif self.at_least == self.at_most:
            words = f"exactly {self.at_least:g}"
        else:
            words = f"{self.at_least:g} to {self.at_most:g}"
        return f"{words} {self.unit}".strip()


ROUNDING = "rounding of single precision leaves about -120 dB"
DATA = "data: a little above what the impulse responses give"
EVEN = "data: the more loudspeakers and the higher, the evener"
WIDEST_AVERAGE_DB = 5.5  # for a layout that has no limit of its own below
AVERAGE = "largest distance of the average from the diffuse field"
BALANCE_SLACK_DB = 0.25  # of the ears of a preset's tail, beyond the target

_ROWS = [
    *((f"rotation.order_{n}", f"worst error of a turned plane wave, order {n}", "dB", None, -110.0, ROUNDING)
      for n in range(1, MAX_ORDER + 1)),
    ("consistency.round_trip", "worst error of a signal encoded, turned and decoded", "dB", None, -110.0, ROUNDING),
    ("consistency.facing", "ears of a loudspeaker faced by the head against the centre's", "dB", None, -110.0, ROUNDING),
    ("ears.time_mean", "error of the time difference, mean over azimuth", "µs", None, 7.5, DATA),
    ("ears.time_largest", "error of the time difference, largest", "µs", None, 22.0,
     "data; a step of 5 degrees is some 50 µs in front"),
    ("ears.level_mean", "error of the level difference from 1.5 kHz, mean over azimuth", "dB", None, 1.7, DATA),
    ("ears.level_largest", "error of the level difference from 1.5 kHz, worst azimuth", "dB", None, 3.5,
     "data; the far ear straight at the side is the known weakness"),
    ("ears.median", "error of one ear's level in the median plane, 5 to 10 kHz, mean", "dB", None, 1.2, DATA),
    *((f"hearing.envelope_{khz}k", f"error of the interaural delay of the envelope around {khz} kHz, mean over azimuth", "µs",
       None, at_most, "data; a fit of magnitudes alone leaves 370 to 440")
      for khz, at_most in ((2, 160.0), (3, 220.0), (4, 160.0), (6, 160.0), (8, 130.0))),
    ("hearing.coherence", "error of the interaural coherence of the diffuse field, largest", "", None, 0.1, DATA),
    ("hearing.before_onset", "energy 0.7 ms and more before the main peak, mean over directions", "dB", None, -15.5, DATA),
    ("hearing.front", "error of the front's level, largest", "dB", None, 2.0, DATA),
    ("hearing.phantom_30", "error of a phantom centre's level, largest, loudspeakers at 30 degrees", "dB", None, 3.0, DATA),
    ("hearing.phantom_45", "error of a phantom centre's level, largest, loudspeakers at 45 degrees", "dB", None, 3.0, DATA),
    ("hearing.bed_7.1.4", "error of the level of the 7.1.4 bed, largest", "dB", None, 1.2, DATA),
    ("hearing.lfe", "level of the LFE against the front centre's at 60 Hz", "dB", -0.2, 0.2,
     "data; both have gain 1 where a head is small against the wave"),
    ("loudspeakers.level", "mean level of the diffuse field", "dB", -13.0, -12.0, "data: the gain of the table"),
    ("loudspeakers.diffuse_field", "largest distance of the diffuse field from its mean", "dB", None, 0.5,
     "data, as the generator of the table holds it"),
    ("loudspeakers.average_5.1", f"{AVERAGE}, 5.1", "dB", None, 5.5, EVEN),
    ("loudspeakers.average_7.1", "the same for 7.1", "dB", None, 5.0, EVEN),
    ("loudspeakers.average_5.1.2", "the same for 5.1.2", "dB", None, 4.0, EVEN),
    ("loudspeakers.average_5.1.4", "the same for 5.1.4", "dB", None, 3.0, EVEN),
    ("loudspeakers.average_7.1.4", "the same for 7.1.4", "dB", None, 3.0, EVEN),
    ("loudspeakers.average_22.2", "the same for 22.2", "dB", None, 2.0, EVEN),
    ("loudspeakers.asymmetry", "ears of a right loudspeaker against the exchanged ears of the left", "dB", None, -110.0,
     "rounding: a pair gives exchanged ears"),
    ("latency.centre", "from an impulse at the centre to the peak at the ears", "samples", 140.0, 151.0,
     "data: the taps that hold the main peaks of the table's channels"),
    ("latency.field", "of encoder and rotator", "samples", 0.0, 0.0, "exact: both are products of matrices"),
    ("latency.ear_filters", "of the ear filters", "samples", LATENCY, LATENCY, "exact: peak of the omnidirectional channel"),
    ("latency.reverb", "from an impulse to the first pulse of the tail", "samples", 1440.0, 1520.0,
     "exact: the pre-delay of 30 ms, and a pulse within 80 samples"),
    ("latency.pose_begins", "from a pose to where it begins to be heard", "samples", 0.0, 160.0,
     "exact: a step of the ramp, and the response up to its peak"),
    ("latency.pose_done", "from a pose to where only it is heard", "samples", 512.0, 767.0,
     "exact: the block and the 255 samples of a response"),
    ("reverb.time", "largest deviation of a band's reverberation time from the setting", "%", None, 5.0,
     "chance leaves less than half of it; also the least difference that is heard (ISO 3382-1)"),
    ("reverb.density", "largest deviation of the pulses per second from rate / spacing", "%", None, 1.0,
     "pulses that fall together"),
    ("reverb.envelope", "largest distance of a pulse from the envelope", "dB", None, 0.01,
     "rounding, 80 dB below the first pulse"),
    ("reverb.balance", "largest level difference of the ears", "dB", None, 0.3, "chance"),
    ("reverb.correlation", "largest correlation of the ears", "", None, 0.05, "chance: the ears have pulses of their own"),
    ("reverb.mono", "correlation of the ears with stereo off", "", 0.999999, None, "exact: they share their pulses"),
    ("reflections.delay", "largest distance of an echo from its exact delay", "samples", None, 0.51,
     "exact: delays are whole samples"),
    ("reflections.level", "largest error of an echo's level", "dB", None, 0.01, "rounding"),
    ("reflections.field", "worst error of an echo in all channels, direction included", "dB", None, -100.0,
     "rounding, against the echo in all channels"),
    ("reflections.unexpected", "samples that sound where there is no echo", "", 0.0, 0.0,
     "exact: an impulse has six echoes per loudspeaker"),
    ("reflections.ears", "ears of a room against the sum of its echoes", "dB", None, -110.0, ROUNDING),
    ("noise.sine", "distortion and noise against the sine, worst of four sines", "dB", None, -115.0, ROUNDING),
    ("noise.silence", "peak of silence", "dBFS", None, -240.0,
     "exact: silence stays silence (-240 stands for nothing at all)"),
    ("noise.after_sound", "peak after a sound and its room", "dBFS", None, -140.0,
     "rounding: nothing circulates, everything ends"),
    ("turns.slow", "rotation artefacts of a head turning at 90 degrees per second", "dB", None, -85.0,
     "data: the steps of the ramp"),
    ("turns.fast", "rotation artefacts of a head turning at 720 degrees per second", "dB", None, -55.0,
     "data: the steps of the ramp"),
    ("turns.jump", "rotation artefacts of a head that jumps by 90 degrees", "dB", None, -45.0,
     "data: a ramp over one block of 512"),
    *((f"turns.every_block_{block}", f"strongest component that a turn of 90 degrees per second adds, a pose for every block of"
       f" {block}", "dB", None, -80.0, "data: the steps of the ramp, whatever the block") for block in (64, 256, 1024)),
    *((f"turns.stepped_{block}", f"the same for a pose every 10 ms, blocks of {block}", "dB", None, at_most,
       "data: a head that turns in steps; host programs interpolate poses") for block, at_most in
      ((64, -57.0), (256, -75.0), (1024, -82.0))),
    ("rooms.dry", "difference of the preset dry from loudspeakers without any room", "dB", None, EQUAL_DB,
     "exact: they are the same"),
    ("blocks.dry", "difference between block lengths, 7.1 without a room", "dB", None, -110.0, ROUNDING),
    ("blocks.room", "the same for 7.1.4 in a room", "dB", None, -110.0, ROUNDING),
    ("blocks.large", "the same for 22.2 without a room", "dB", None, -110.0, ROUNDING),
]  # fmt: skip

# Why the presets have their limits; the targets are in tools/rooms/design.py.
TARGET = "target of the design"
CHANCE = "target of the design, and what chance leaves"
CUT = "target of the design; the envelope ends 22 to 28 dB below its start, which T20 sees"
LEAD = "direct sound over all else, off its target"
ROOM_EDT_S = {"studio": (0.2, 0.3), "living-room": (0.3, 0.45), "cinema": (0.8, 0.95), "hall": (1.55, 1.8)}
# In place of the limits of _room_rows.
ROOM_EXCEPTIONS = {
    ("living-room", "lead_8k"): (-3.5, 2.0, "data: early reflections have no filter and are too loud there"),
    ("cinema", "gap_largest"): (None, 15.0, "data: the sides' and the back's later reflections are too quiet to count"),
    ("studio", "density"): (0.85, None, "data: the design wants 0.9, and the tail has few pulses left by then"),
    ("living-room", "density"): (0.75, None, "data: the design wants 0.9, and the tail has few pulses left by then"),
    ("hall", "loudness"): (-1.0, 1.2, "data: the target is 1 LU"),
}


def _room_rows(name, wanted):
    """Rows of one preset, front centre where no other loudspeaker is named."""
    times = lambda factor: round(factor * wanted.decay_s, 4)
    lowest, highest = wanted.clarity_db
    balance = design.BALANCE_LIMIT_DB + BALANCE_SLACK_DB
    rows = [
        ("lead", f"{LEAD}, mean of octaves from 125 Hz to 4 kHz", "dB", -1.0, 1.0, TARGET),
        ("lead_octave", f"{LEAD}, largest of these octaves", "dB", -2.0, 2.0, CHANCE),
        ("lead_8k", f"{LEAD}, octave of 8 kHz", "dB", -2.0, 2.0, CHANCE),
        ("reflections", "early reflections against the direct sound, white impulse", "dB", wanted.reflections_db - 3.0,
         wanted.reflections_db + 1.0, f"data: the design aims at {wanted.reflections_db:g} dB"),
        ("tail_edt", "EDT of the tail alone, 500 Hz to 2 kHz", "s", times(0.9), times(1.1), TARGET),
        ("tail_edt_octave", "EDT of the tail alone off its target, largest octave from 250 Hz", "%", -15.0, 15.0, CHANCE),
        ("tail_t20", "T20 of the tail alone, 500 Hz to 2 kHz", "s", times(0.7), times(1.05), CUT),
        ("edt", "EDT of reflections and tail, 500 Hz to 2 kHz", "s", *ROOM_EDT_S[name],
         "data: early reflections first, and the tail only 20 to 43 ms after the direct sound"),
        ("t20", "T20 of reflections and tail, 500 Hz to 2 kHz", "s", times(0.8), times(1.05), CUT),
        ("c80", "C80 of a white impulse", "dB", lowest, highest + 0.5, "target of the design, and half a decibel"),
        ("gap", "last reflection to first pulse of the tail", "ms", 0.0, 5.0, TARGET),
        ("gap_least", "the same, loudspeaker of the least", "ms", -4.0, None, "data: all loudspeakers share the tail's begin"),
        ("gap_largest", "the same, loudspeaker of the largest", "ms", None, 5.0, TARGET),
        ("single", "colour of a loudspeaker of 7.1.4, worst octave of the worst one", "dB", None, design.SINGLE_LIMIT_DB, TARGET),
        ("phantom", "colour of a phantom centre, worst octave", "dB", -design.PHANTOM_LIMIT_DB, design.PHANTOM_LIMIT_DB, TARGET),
        ("balance", "left over right ear of the tail, worst octave from 250 Hz", "dB", -balance, balance, CHANCE),
        ("loudness", "loudness of a 7.1.4 bed against dry", "LU", -design.LOUDNESS_LIMIT, design.LOUDNESS_LIMIT, TARGET),
        ("density", "echo density 80 ms after the direct sound", "", design.DENSITY_WANTED - 0.02, None, CHANCE),
        ("coherence", "interaural coherence of the early reflections, 500 Hz to 2 kHz", "", None, 0.65,
         f"data: the design wants {design.COHERENCE_LIMIT:g}; six directions give more"),
    ]  # fmt: skip
    for figure, what, unit, *limit in rows:
        yield Limit(f"rooms.{name}_{figure}", f"{name}: {what}", unit, *ROOM_EXCEPTIONS.get((name, figure), limit))


def limits(layouts):
    """All limits by their ids, those of each layout and of each preset among them."""
    table = {row[0]: Limit(*row) for row in _ROWS}
    for name in layouts:
        key = f"loudspeakers.average_{name}"
        table.setdefault(key, Limit(key, f"{AVERAGE}, {name}", "dB", None, WIDEST_AVERAGE_DB, EVEN))
    for name, wanted in design.DESIGNS.items():
        table |= {limit.id: limit for limit in _room_rows(name, wanted)}
    return table
