// SPDX-License-Identifier: Apache-2.0
// The room and reverb that a rendering asks for: values of the effect's parameters, checked, and
// sent in an order in which the effect accepts each.
#ifndef ORVANE_TOOLS_RENDER_SETTINGS_H_
#define ORVANE_TOOLS_RENDER_SETTINGS_H_

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tools/render/parameters.h"

namespace render {

class EffectHost;

class Settings {
 public:
  // Replaces what was set before, a wall's material its absorption and the other way round. Throws
  // BadText with the parameter and its range.
  void set(const Parameter& parameter, std::string_view value);

  // Reads "NAME=VALUE", where NAME may be a number; `family` is put before the name.
  void set_assignment(std::string_view family, std::string_view text);

  // In force: what was set, else what a new effect has. Not for materials.
  double value(int32_t number) const;

  // Throws BadText for what is only wrong together: a listener outside the room.
  void check() const;

  // Whether something was set that is heard in reflections only, and nothing said of reflections.
  bool has_unheard_room() const;

  struct Write {
    const Parameter* parameter;
    double value;
  };

  // What was set, in the order to send: room before listener, both before the reflections' mode,
  // which is what makes the effect compute; the reverb's enable before what it would rebuild.
  std::vector<Write> writes() const;

 private:
  std::map<int32_t, double> values_;  // by number
};

// Sends what was set. Throws Failure when the effect refuses it.
void settings_send(const Settings& settings, EffectHost* effect);

// Frames that the effect sounds on after its input has ended: the last reflection, followed by its
// passage through the ear filters or by the reverb's pre-delay and decay, whichever is longer.
size_t settings_tail_frames(const Settings& settings);

}  // namespace render

#endif  // ORVANE_TOOLS_RENDER_SETTINGS_H_
