#include "tools/validate/limits.h"

#include <algorithm>
#include <iterator>
#include <list>
#include <stdexcept>
#include <vector>

#include "tools/render/channel_map.h"
#include "tools/render/text.h"

namespace validate {
namespace {

constexpr std::nullopt_t kNone = std::nullopt;

// clang-format off
constexpr Limit kLimits[] = {
    {"rotation.order_1", "worst error of a turned plane wave, order 1", "dB", kNone, -110.0},
    {"rotation.order_2", "worst error of a turned plane wave, order 2", "dB", kNone, -110.0},
    {"rotation.order_3", "worst error of a turned plane wave, order 3", "dB", kNone, -110.0},
    {"rotation.order_4", "worst error of a turned plane wave, order 4", "dB", kNone, -110.0},
    {"consistency.round_trip", "worst error of a signal encoded, turned and decoded", "dB", kNone, -110.0},
    {"consistency.facing", "ears of a loudspeaker faced by the head against the centre's", "dB", kNone, -110.0},
    {"ears.time_mean", "error of the time difference, mean over azimuth", "µs", kNone, 7.5},
    {"ears.time_largest", "error of the time difference, largest", "µs", kNone, 20.0},
    {"ears.level_mean", "error of the level difference from 1.5 kHz, mean over azimuth", "dB", kNone, 1.7},
    {"ears.level_largest", "error of the level difference from 1.5 kHz, worst azimuth", "dB", kNone, 3.5},
    {"loudspeakers.level", "mean level of the diffuse field", "dB", -13.0, -12.0},
    {"loudspeakers.diffuse_field", "largest distance of the diffuse field from its mean", "dB", kNone, 0.5},
    {"loudspeakers.average_5.1", "largest distance of the average from the diffuse field, 5.1", "dB", kNone, 5.5},
    {"loudspeakers.average_7.1", "the same for 7.1", "dB", kNone, 5.0},
    {"loudspeakers.average_5.1.2", "the same for 5.1.2", "dB", kNone, 4.0},
    {"loudspeakers.average_5.1.4", "the same for 5.1.4", "dB", kNone, 3.0},
    {"loudspeakers.average_7.1.4", "the same for 7.1.4", "dB", kNone, 3.0},
    {"loudspeakers.average_22.2", "the same for 22.2", "dB", kNone, 2.0},
    {"loudspeakers.asymmetry", "ears of a right loudspeaker against the exchanged ears of the left", "dB", kNone, -110.0},
    {"latency.centre", "from an impulse at the centre to the peak at the ears", "samples", 144.0, 146.0},
    {"latency.field", "of encoder and rotator", "samples", 0.0, 0.0},
    {"latency.ear_filters", "of the ear filters", "samples", 145.0, 145.0},
    {"latency.reverb", "from an impulse to the first pulse of the tail", "samples", 1440.0, 1520.0},
    {"latency.pose_begins", "from a pose to where it begins to be heard", "samples", 0.0, 160.0},
    {"latency.pose_done", "from a pose to where only it is heard", "samples", 512.0, 767.0},
    {"reverb.time", "largest deviation of a band's reverberation time from the setting", "%", kNone, 5.0},
    {"reverb.density", "largest deviation of the pulses per second from 48000 / spacing", "%", kNone, 1.0},
    {"reverb.envelope", "largest distance of a pulse from the envelope", "dB", kNone, 0.01},
    {"reverb.balance", "largest level difference of the ears", "dB", kNone, 0.3},
    {"reverb.correlation", "largest correlation of the ears", "", kNone, 0.05},
    {"reverb.mono", "correlation of the ears with stereo off", "", 0.999999, kNone},
    {"reflections.delay", "largest distance of an echo from its exact delay", "samples", kNone, 0.51},
    {"reflections.level", "largest error of an echo's level", "dB", kNone, 0.01},
    {"reflections.field", "worst error of an echo in all channels, direction included", "dB", kNone, -100.0},
    {"reflections.unexpected", "samples that sound where there is no echo", "", 0.0, 0.0},
    {"reflections.ears", "ears of a room against the sum of its echoes", "dB", kNone, -110.0},
    {"noise.sine", "distortion and noise against the sine, worst of four sines", "dB", kNone, -115.0},
    {"noise.silence", "peak of silence", "dBFS", kNone, -240.0},
    {"noise.after_sound", "peak after a sound and its room", "dBFS", kNone, -140.0},
    {"turns.slow", "splatter of a head turning at 90 degrees per second", "dB", kNone, -85.0},
    {"turns.fast", "splatter of a head turning at 720 degrees per second", "dB", kNone, -55.0},
    {"turns.jump", "splatter of a head that jumps by 90 degrees", "dB", kNone, -45.0},
    {"blocks.dry", "difference between block lengths, 7.1 without a room", "dB", kNone, -110.0},
    {"blocks.room", "the same for 7.1.4 in a room", "dB", kNone, -110.0},
    {"blocks.large", "the same for 22.2 without a room", "dB", kNone, -110.0},
};
// clang-format on

constexpr double kWidestAverageDb = 5.5;  // for a layout that has no limit of its own above

// The limits above, and one for each layout that they leave out.
std::vector<Limit> with_every_layout() {
  static std::list<std::string> ids;
  std::vector<Limit> all(std::begin(kLimits), std::end(kLimits));
  for (const render::Layout& layout : render::layouts()) {
    const std::string id = "loudspeakers.average_" + layout.name;
    if (std::any_of(all.begin(), all.end(), [&](const Limit& limit) { return id == limit.id; })) {
      continue;
    }
    ids.push_back(id);
    all.push_back({ids.back().c_str(), "largest distance of the average from the diffuse field",
                   "dB", kNone, kWidestAverageDb});
  }
  return all;
}

}  // namespace

std::span<const Limit> limits() {
  static const std::vector<Limit> all = with_every_layout();
  return all;
}

const Limit& limit_find(const std::string& id) {
  const std::span<const Limit> all = limits();
  const auto found =
      std::find_if(all.begin(), all.end(), [&](const Limit& limit) { return id == limit.id; });
  if (found == all.end()) throw std::logic_error(id + " has no limit");
  return *found;
}

std::string limit_text(const Limit& limit) {
  const std::string unit = *limit.unit ? std::string(" ") + limit.unit : "";
  if (limit.at_least && limit.at_most) {
    if (*limit.at_least == *limit.at_most) {
      return render::text_format("exactly %g", *limit.at_least) + unit;
    }
    return render::text_format("%g to %g", *limit.at_least, *limit.at_most) + unit;
  }
  return limit.at_least ? render::text_format("at least %.6g", *limit.at_least) + unit
                        : render::text_format("at most %g", *limit.at_most) + unit;
}

}  // namespace validate
