# SPDX-License-Identifier: Apache-2.0
"""liborvane for numpy: the renderer, the effect as a device loads it, and each stage by itself.

Samples are planar: arrays of the shape (channels, frames), float32 inside, at 48 kHz. Float arrays of
another precision are converted; integers are refused, as nothing would scale them. Axes are +x ahead,
+y left, +z up. Angles are in degrees (azimuth to the left, elevation upwards), rotation vectors in
radians. The library is ORVANE_LIBRARY if that is set, else that of the package's checkout
(build/release) or installation.

What has no wrapper can be called through `ffi` and `lib`, cffi's view of the headers; `Rows` makes the
arrays of row pointers that the functions take. Such calls are checked by nobody.
"""

from orvane._library import LIBRARY_PATH, Error, ffi, lib
from orvane._samples import Rows
from orvane.ears import load_ears
from orvane.effect import Effect
from orvane.renderer import Renderer
from orvane.rotations import pose_from_vector, vector_from_pose
from orvane.stages import Reflections, binauralize, encode, rotate, sh_weights, shoebox, velvet_noise
from orvane.tables import LAYOUTS, MAX_BLOCK, PARAMETERS, SAMPLE_RATE, Layout, Parameter

__all__ = [
    "LAYOUTS", "LIBRARY_PATH", "MAX_BLOCK", "PARAMETERS", "SAMPLE_RATE", "Effect", "Error", "Layout", "Parameter",
    "Reflections", "Renderer", "Rows", "binauralize", "encode", "ffi", "lib", "load_ears", "pose_from_vector",
    "rotate", "sh_weights", "shoebox", "vector_from_pose", "velvet_noise",
]
