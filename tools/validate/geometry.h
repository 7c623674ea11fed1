// Directions and heads.
#ifndef ORVANE_TOOLS_VALIDATE_GEOMETRY_H_
#define ORVANE_TOOLS_VALIDATE_GEOMETRY_H_

#include <array>
#include <cstddef>
#include <random>
#include <vector>

#include "tools/render/rotation.h"

namespace validate {

constexpr double kPi = 3.14159265358979323846;
constexpr double kDegree = kPi / 180.0;

using Vector = std::array<double, 3>;  // +x ahead, +y left, +z up

struct Direction {
  double azimuth, elevation;  // radians
};

Vector unit_vector(const Direction& direction);
Direction direction_of(const Vector& vector);

render::Rotation inverse(const render::Rotation& rotation);
Vector turn(const render::Rotation& rotation, const Vector& vector);

// As heard by a head that is turned by `head`.
Direction heard_from(const render::Rotation& head, const Direction& direction);

// The head that hears in `direction` what stands straight ahead of a head at rest.
render::Rotation head_hearing_ahead_at(const Direction& direction);

// Uniform over all orientations; the same from every generator of the same seed.
render::Rotation random_head(std::mt19937* generator);

// Evenly spread over the sphere: A. Gonzalez, "Measurement of areas on a sphere using Fibonacci and
// latitude-longitude lattices", Mathematical Geosciences 42, 2010.
std::vector<Direction> spread_directions(size_t count);

// The (order + 1)^2 harmonics of a direction in double precision, ACN and SN3D.
std::vector<double> harmonics(int order, const Direction& direction);

// x of A x = b for a square matrix of rows. Throws std::logic_error where there is none.
std::vector<double> solve(std::vector<std::vector<double>> a, std::vector<double> b);

}  // namespace validate

#endif  // ORVANE_TOOLS_VALIDATE_GEOMETRY_H_
