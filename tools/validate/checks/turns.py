"""What a turning head adds to a sine."""

from measure import charts
from measure.sine import beside_db, sine, spectrum_curve

from ..geometry import head
from ..section import Section

FRAMES = 32768  # the last half of the rendering
BIN = 683  # a whole bin, of 1000.5 Hz, leaves no skirts
BESIDE_HZ = 300.0  # a turn of the head bends the sine itself by much less
BLOCK = 512
FREQUENCY = charts.Axis("frequency (Hz)", 100.0, 24000.0, logarithmic=True)
LEVEL = charts.Axis("level against the sine (dB)", -180.0, 0.0, 30.0)

# Figure, label, colour, degrees per second; None is a jump by 90 degrees in the middle of what is measured.
TURNS = [
    ("slow", "90°/s", charts.LEFT, 90.0),
    ("fast", "720°/s", charts.RIGHT, 720.0),
    ("jump", "jump by 90°", charts.THIRD, None),
]


def hear(subject, degrees_per_s):
    """The left ear of a sine from the centre, for a head with a new pose before every block."""
    bed = subject.bed("7.1")

    def plan(start):
        if degrees_per_s is None:
            yaw_deg = 0.0 if start < FRAMES + FRAMES // 2 else 90.0
        else:
            yaw_deg = degrees_per_s * (start + BLOCK) / subject.rate_hz
        bed.turn_head(head(yaw_deg))
        return BLOCK

    wave = sine(BIN * subject.rate_hz / FRAMES, 1.0, 2 * FRAMES, subject.rate_hz)
    return bed.render(bed.signal("FC", wave), plan)[0][-FRAMES:]


def check(subject, limits):
    section = Section(
        "turns", "Rotation artefacts",
        "A sine of 1 kHz from the centre, heard by a head that turns steadily, with a new pose before every block of"
        " 512, and by one that jumps by 90 degrees: the energy further than 300 Hz from the sine. A head that turns"
        " bends the sine itself by far less. A ramp that is missing, late or broken puts energy there.", limits)  # fmt: skip
    hz = BIN * subject.rate_hz / FRAMES
    chart = charts.Chart("Spectrum of the sine", FREQUENCY, LEVEL)
    for figure, label, colour, degrees_per_s in TURNS:
        ear = hear(subject, degrees_per_s)
        section.add(figure, beside_db(ear, hz, BESIDE_HZ, subject.rate_hz))
        chart.line(*spectrum_curve(ear, subject.rate_hz, FREQUENCY.low, 24), colour, label)
    chart.upright(hz - BESIDE_HZ, charts.REFERENCE)
    chart.upright(hz + BESIDE_HZ, charts.REFERENCE, "300 Hz beside")
    section.draw(chart)
    return section
