"""What is heard besides level: envelopes, spaciousness, phantom sources, the front, the bed, and sound before its time."""

import numpy as np

from measure import charts, ears, erb, sphere
from measure.levels import power_db

from .. import measured
from ..geometry import head_hearing_ahead_at
from ..section import Section

DIRECTIONS = 200
AZIMUTH = charts.Axis("azimuth, positive to the left (degrees)", 0.0, 180.0, 30.0)
DELAY = charts.Axis("left ear ahead (µs)", -200.0, 1000.0, 200.0)
COHERENCE = charts.Axis("coherence", -0.4, 1.0, 0.2)
COLOUR = charts.Axis("error (dB)", -4.0, 4.0, 1.0)
DRAWN_CENTRE_HZ = 4000.0


def respond(bed, directions):
    """Spectra of both ears, (directions, 2, bins), for heads that hear the centre from there."""
    responses = []
    for direction in directions:
        bed.settle_head(head_hearing_ahead_at(*direction))
        responses.append(bed.respond("FC"))
    return np.fft.rfft(responses, erb.TRANSFORM)


def check_envelopes(section, bed):
    arc = measured.field("envelope")
    found = respond(bed, [(np.radians(degrees), 0.0) for degrees in arc])
    for i, hz in enumerate(ears.ENVELOPE_CENTRES_HZ):
        delays = ears.envelope_itd_us(found[:, 0], found[:, 1], hz, bed.rate_hz)
        wanted = np.array([values[i] for values in arc.values()])
        section.add(f"envelope_{hz / 1000.0:g}k", np.abs(delays - wanted).mean())
        if hz == DRAWN_CENTRE_HZ:
            chart = charts.Chart("Interaural delay of the envelope around 4 kHz, at ear height", AZIMUTH, DELAY)
            chart.line(list(arc), wanted, charts.REFERENCE, "measured", dashed=True)
            chart.line(list(arc), delays, charts.LEFT, "rendered")
            section.draw(chart, summary=True)


def check_field(section, bed):
    """Coherence and what comes before its time; returns the mean level of the diffuse field in dB."""
    found = respond(bed, zip(*sphere.spread_directions(DIRECTIONS)))
    bands = erb.weights(np.fft.rfftfreq(erb.TRANSFORM, 1.0 / bed.rate_hz)).T
    cross = np.sum(found[:, 0] * np.conj(found[:, 1]), axis=0).real @ bands
    powers = np.sum(np.abs(found) ** 2, axis=0) @ bands
    coherence = cross / np.sqrt(powers[0] * powers[1])
    wanted = measured.field("coherence")[0]
    section.add("coherence", np.abs(coherence - wanted).max())
    chart = charts.Chart("Interaural coherence of the diffuse field", charts.FREQUENCY, COHERENCE)
    chart.line(erb.CENTRES_HZ, wanted, charts.REFERENCE, "measured", dashed=True)
    chart.line(erb.CENTRES_HZ, coherence, charts.LEFT, "rendered")
    section.draw(chart)
    early = ears.energy_before_onset_db(found[:, 0], bed.rate_hz)
    section.add("before_onset", power_db(np.mean(10.0 ** (early / 10.0))))
    return power_db(powers.mean(axis=0) / DIRECTIONS).mean()


def colour_db(responses, wanted_db, zero_db, rate_hz):
    """Level of the left ear per band, of the response or the sum of powers of several, against the measured head's."""
    return power_db(erb.powers(responses, rate_hz).reshape(-1, len(wanted_db)).sum(axis=0)) - zero_db - wanted_db


def check_loudspeakers(section, subject, zero_db):
    chart = charts.Chart("Colour of the left ear against the measured head", charts.FREQUENCY, COLOUR)
    beds = {30: subject.bed("5.1.4"), 45: subject.bed("7.1.4")}
    left = lambda bed, name: bed.respond(name)[0]
    front = colour_db(left(beds[45], "FC"), measured.field("front")[0], zero_db, subject.rate_hz)
    section.add("front", np.abs(front).max())
    chart.line(erb.CENTRES_HZ, front, charts.LEFT, "front")
    for (degrees, bed), line in zip(beds.items(), (charts.RIGHT, charts.REFERENCE)):
        both = left(bed, "FL") + left(bed, "FR")
        phantom = colour_db(both, measured.field("phantom")[degrees], zero_db, subject.rate_hz)
        section.add(f"phantom_{degrees}", np.abs(phantom).max())
        chart.line(erb.CENTRES_HZ, phantom, line, f"phantom centre of ±{degrees}°")
    names = [name for name in beds[45].speakers if not name.startswith("LFE")]
    each = [left(beds[45], name) for name in names]
    section.add("bed_7.1.4", np.abs(colour_db(each, measured.field("bed")[0], zero_db, subject.rate_hz)).max())
    section.draw(chart)
    lfe, centre = (power_db(power_at(beds[45].respond(name), subject.rate_hz)) for name in ("LFE", "FC"))
    section.add("lfe", lfe - centre)


def power_at(responses, rate_hz, at_hz=60.0):
    """Mean power of responses at one frequency."""
    responses = np.asarray(responses, float)
    wave = np.exp(-2j * np.pi * at_hz / rate_hz * np.arange(responses.shape[-1]))
    return np.mean(np.abs(responses @ wave) ** 2)


def check(subject, limits):
    section = Section(
        "hearing", "Envelopes, phantom sources and the field",
        "Above 2 kHz hearing follows envelopes: their delay between the ears, for heads that turn away from the centre at ear"
        " height, against the measured head's. Coherence of the ears in a diffuse field is what spaciousness is heard by."
        " Front, phantom centre (both front loudspeakers with the same signal) and the whole 7.1.4 bed have the measured"
        " head's levels in ERB bands. Little energy comes before a sound's main peak. The LFE is as loud as a loudspeaker.",
        limits)  # fmt: skip
    bed = subject.bed("7.1")
    check_envelopes(section, bed)
    check_loudspeakers(section, subject, check_field(section, bed))
    return section
