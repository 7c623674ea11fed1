#include "tools/validate/room_model.h"

#include <algorithm>
#include <cmath>

#include "tools/validate/effect.h"

namespace validate {
namespace {

constexpr double kSpeedOfSound = 343.0;    // metres per second
constexpr double kLossPerMetre = 0.00137;  // of the amplitude, see docs/parameters.md

}  // namespace

std::vector<Echo> room_echoes(const Room& room, const Direction& loudspeaker) {
  std::vector<Echo> echoes;
  for (size_t wall = 0; wall < 6; ++wall) {
    const size_t axis = wall / 2;
    const double listener = room.listener_m[axis] - (axis == 2 ? 0.5 * room.size_m[2] : 0.0);
    const double plane = (wall % 2 == 0 ? 0.5 : -0.5) * room.size_m[axis];
    Vector way = unit_vector(loudspeaker);  // from the listener, who hears the image there
    way[axis] = 2.0 * (plane - listener) - way[axis];
    const double path = std::sqrt(way[0] * way[0] + way[1] * way[1] + way[2] * way[2]);
    const double longer = std::max(path, 1.0);
    echoes.push_back({path / kSpeedOfSound * kRateHz,
                      (1.0 - room.absorption[wall]) / longer - kLossPerMetre * longer,
                      direction_of(way)});
  }
  return echoes;
}

}  // namespace validate
