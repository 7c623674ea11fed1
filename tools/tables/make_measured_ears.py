#!/usr/bin/python3
"""Makes tools/validate/measured_ears.csv, with which the validation report compares the renderer.

Needs the Debian packages libmysofa1 (the measured set), python3-numpy, python3-scipy and python3-h5py.
"""

import cpp_writer  # which finds the shared modules
from hrir import measured_ears, pipeline


def main():
    measured_ears.PATH.write_text(measured_ears.render(measured_ears.make(pipeline.prepare())))


if __name__ == "__main__":
    main()
