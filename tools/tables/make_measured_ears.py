#!/usr/bin/python3
"""Makes tools/validate/measured_ears_table.cpp, with which orvane-validate compares the renderer.

Needs the Debian packages libmysofa1 (the measured set), python3-numpy, python3-scipy and python3-h5py.
"""

from hrir import measured_ears, pipeline


def main():
    measured_ears.PATH.write_text(measured_ears.render(measured_ears.make(pipeline.prepare())))


if __name__ == "__main__":
    main()
