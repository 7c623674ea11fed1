#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Makes tools/validate/measured_ears.csv, with which the validation report compares the renderer.

Needs the Debian packages libmysofa1 (the measured set), python3-numpy, python3-scipy and python3-h5py.
"""

import cpp_writer  # which finds the shared modules
from hrir import measured_ears, measured_field, pipeline


def main():
    hrtfs = pipeline.prepare()
    for table in (measured_ears, measured_field):
        table.PATH.write_text(table.render(table.make(hrtfs)))


if __name__ == "__main__":
    main()
