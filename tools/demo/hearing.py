# SPDX-License-Identifier: Apache-2.0
"""Where a rendering of the demo's programme puts its voices."""

from dataclasses import dataclass

import numpy as np

from measure import ears

from . import voices

# A voice from a side differs by at least this, one in the median plane by at most this.
SIDE_DB, SIDE_US = 1.0, 100.0
MIDDLE_DB, MIDDLE_US = 0.5, 20.0
MIDDLE_SINE = 0.1


@dataclass(frozen=True)
class Heard:
    """The azimuth is that of the loudspeaker from the head; all are positive where the left ear is favoured."""

    name: str
    azimuth_deg: float
    ild_db: float
    itd_us: float

    @property
    def side(self):
        lateral = np.sin(np.radians(self.azimuth_deg))
        return "middle" if abs(lateral) < MIDDLE_SINE else "left" if lateral > 0.0 else "right"

    @property
    def is_placed(self):
        if self.side == "middle":
            return abs(self.ild_db) <= MIDDLE_DB and abs(self.itd_us) <= MIDDLE_US
        sign = 1.0 if self.side == "left" else -1.0
        return sign * self.ild_db >= SIDE_DB and sign * self.itd_us >= SIDE_US


def measure(programme, path, yaw_deg):
    """Of a rendering for a head turned by `yaw_deg` to the left; None stands for one that faces each voice."""
    rendered = voices.read_wav(path, 2)
    if rendered.shape[1] < programme[-1].end:
        raise ValueError(f"{path}: shorter than the demo's bed")
    heard = []
    for voice in programme:
        part = rendered[:, voice.start : voice.end]
        turned = voice.azimuth_deg if yaw_deg is None else yaw_deg
        azimuth_deg = (voice.azimuth_deg - turned + 180.0) % 360.0 - 180.0
        heard.append(Heard(voice.name, azimuth_deg, float(ears.ild_db(part)), ears.itd_us(part, voices.RATE_HZ)))
    return heard


def table(heard):
    """A line per voice; without a minus for what rounds to nothing."""
    lines = [f"{'voice':14} {'azimuth':>8}  {'level L-R':>12}  {'left ahead by':>14}  heard at"]
    for voice in heard:
        level, time = round(voice.ild_db, 2) + 0.0, round(voice.itd_us) + 0.0
        lines.append(f"{voice.name:14} {voice.azimuth_deg:4.0f} deg  {level:+9.2f} dB  {time:+11.0f} us  "
                     f"{'' if voice.is_placed else 'NOT '}{voice.side}")
    return "\n".join(lines)
