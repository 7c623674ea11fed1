// SPDX-License-Identifier: Apache-2.0
// Rotations in space as unit quaternions.
#ifndef ORVANE_TOOLS_RENDER_ROTATION_H_
#define ORVANE_TOOLS_RENDER_ROTATION_H_

#include <array>

namespace render {

struct Rotation {
  double w = 1.0, x = 0.0, y = 0.0, z = 0.0;
};

// First `b`, then `a`, about fixed axes; the other way round about the axes that turn along.
Rotation rotation_multiply(const Rotation& a, const Rotation& b);

// Rotation vectors are axis times angle, right-handed, in radians. What comes out has an angle of
// at most pi: the shorter way round.
Rotation rotation_from_vector(const std::array<double, 3>& vector);
std::array<double, 3> rotation_to_vector(const Rotation& rotation);

// From `a` (fraction 0) to `b` (fraction 1) about one axis at constant speed, the shorter way.
Rotation rotation_slerp(const Rotation& a, const Rotation& b, double fraction);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_ROTATION_H_
