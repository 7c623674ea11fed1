# SPDX-License-Identifier: Apache-2.0
"""Makes the beds of the demonstration, checks their renderings and draws what was heard. scripts/demo runs it."""

import argparse
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "python"), str(ROOT / "tools")]


def parse_arguments():
    parser = argparse.ArgumentParser(prog="demo", description=__doc__)
    verbs = parser.add_subparsers(dest="verb", required=True)
    verbs.add_parser("beds", help="write FOLDER/bed.wav (seven voices, 7.1, 48 kHz), impulse.wav (one from the front left)"
                     " and facing.csv (a trajectory of a head that faces each voice)")  # fmt: skip
    verbs.add_parser("check", help="measure FOLDER/speakers.wav and turning.wav, dry renderings of the bed, the"
                     " second with facing.csv; status 1 if a voice is misplaced")  # fmt: skip
    verbs.add_parser("draw", help="draw FOLDER/speakers.svg: the voices of speakers.wav, and room-response.wav")
    for verb in verbs.choices.values():
        verb.add_argument("folder", metavar="FOLDER", type=Path)
    return parser.parse_args()


def main():
    arguments = parse_arguments()
    from demo import hearing, picture, voices

    folder, programme = arguments.folder, voices.read()
    if arguments.verb == "beds":
        voices.write_wav(folder / "bed.wav", voices.bed(programme))
        voices.write_wav(folder / "impulse.wav", voices.impulse())
        (folder / "facing.csv").write_text(voices.facing(programme))
    elif arguments.verb == "check":
        good = True
        for name, yaw_deg in (("speakers.wav", 0.0), ("turning.wav", None)):
            heard = hearing.measure(programme, folder / name, yaw_deg)
            print(f"\n{folder / name}\n{hearing.table(heard)}")
            good = good and all(voice.is_placed for voice in heard)
        return 0 if good else 1
    else:
        heard = hearing.measure(programme, folder / "speakers.wav", 0.0)
        response = voices.read_wav(folder / "room-response.wav", 2)
        (folder / "speakers.svg").write_text(picture.draw(heard, response))
    return 0


if __name__ == "__main__":
    sys.exit(main())
