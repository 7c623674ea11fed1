// SPDX-License-Identifier: Apache-2.0
#include "tools/render/settings.h"

#include <algorithm>
#include <cmath>

#include "ambisonics/binauralizer.h"
#include "room/shoebox.h"
#include "tools/render/effect_host.h"
#include "tools/render/failure.h"
#include "tools/render/text.h"

namespace render {
namespace {

constexpr size_t kEarFilterTaps = BINAURALIZER_TAPS;
constexpr double kSpeedOfSound = static_cast<double>(SHOEBOX_SPEED_OF_SOUND);

// Absorption and material of a wall are one value in the effect, where the last write counts.
int32_t same_wall(int32_t number) {
  if (number < kAbsorption || number >= kMaterial + kNumWalls) return number;
  return number < kMaterial ? number + (kMaterial - kAbsorption)
                            : number - (kMaterial - kAbsorption);
}

// Upper bound of the longest way from a loudspeaker, 1 m from the listener, by a wall: there and
// back from the listener to the farthest wall, and that metre.
double longest_reflection_m(const Settings& settings) {
  double farthest = 0.0;
  for (int32_t axis = 0; axis < 3; ++axis) {
    const double size = settings.value(kRoomLength + axis);
    const double middle = axis == 2 ? 0.5 * size : 0.0;  // heights are from the floor
    const double off_middle = std::fabs(settings.value(kListener + axis) - middle);
    farthest = std::max(farthest, 0.5 * size + std::min(off_middle, 0.5 * size));
  }
  return 2.0 * farthest + 1.0;
}

size_t frames(double seconds) { return static_cast<size_t>(std::ceil(seconds * kEffectRateHz)); }

}  // namespace

void Settings::set(const Parameter& parameter, std::string_view value) {
  const std::optional<double> number = text_number(value);
  if (!number || !parameter_takes(parameter, *number)) {
    throw BadText(std::string(parameter.name) + " takes " + parameter_range(parameter) + ", not " +
                  std::string(value));
  }
  values_.erase(same_wall(parameter.number));
  values_[parameter.number] = *number;
}

void Settings::set_assignment(std::string_view family, std::string_view text) {
  const size_t equals = text.find('=');
  if (equals == std::string_view::npos) {
    throw BadText(std::string(text) + " is not NAME=VALUE");
  }
  const std::string name = std::string(family) + std::string(text_trim(text.substr(0, equals)));
  set(parameter_find(name), text_trim(text.substr(equals + 1)));
}

double Settings::value(int32_t number) const {
  const auto found = values_.find(number);
  return found != values_.end() ? found->second
                                : static_cast<double>(parameter(number).default_value);
}

void Settings::check() const {
  for (const auto& [number, written] : values_) {
    const Parameter& limited = parameter(number);
    if (!limited.limiting) continue;
    const float limit = static_cast<float>(value(limited.limiting));
    if (orvane_parameter_accepts(&limited, limit, static_cast<float>(written))) continue;
    const orvane_range_t range = orvane_parameter_range(&limited, limit);
    throw BadText(text_format("%s takes %g to %g in this room, not %g", limited.name,
                              static_cast<double>(range.minimum),
                              static_cast<double>(range.maximum), written));
  }
}

bool Settings::has_unheard_room() const {
  return !values_.contains(kReflectionsMode) && values_.lower_bound(kRoomLength) != values_.end();
}

std::vector<Settings::Write> Settings::writes() const {
  std::vector<Write> writes;
  for (const Parameter& parameter : parameters()) {
    const auto found = values_.find(parameter.number);
    if (found != values_.end()) writes.push_back({&parameter, found->second});
  }
  const auto mode = std::find_if(writes.begin(), writes.end(), [](const Write& write) {
    return write.parameter->number == kReflectionsMode;
  });
  if (mode != writes.end()) std::rotate(mode, mode + 1, writes.end());
  return writes;
}

void settings_send(const Settings& settings, EffectHost* effect) {
  for (const Settings::Write& write : settings.writes()) {
    effect->set_parameter(write.parameter->number, static_cast<float>(write.value),
                          write.parameter->name);
  }
}

size_t settings_tail_frames(const Settings& settings) {
  size_t reflection = 0;
  if (settings.value(kReflectionsMode) != 0.0) {
    reflection = frames(longest_reflection_m(settings) / kSpeedOfSound);
  }
  size_t reverb = 0;
  if (settings.value(kReverbEnable) != 0.0) {
    reverb =
        frames(settings.value(kReverbPreDelay) / 1000.0) + frames(settings.value(kReverbDecay));
  }
  return reflection + std::max(kEarFilterTaps, reverb) - 1;
}

}  // namespace render
