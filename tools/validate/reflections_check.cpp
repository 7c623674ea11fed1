#include <cmath>
#include <map>
#include <string>

#include "renderer/ubr.h"
#include "tools/validate/checks.h"
#include "tools/validate/effect.h"
#include "tools/validate/field.h"
#include "tools/validate/larger.h"
#include "tools/validate/power_spectrum.h"
#include "tools/validate/room_model.h"

namespace validate {
namespace {

using measure::Axis;
using measure::Chart;
using render::Speaker;

constexpr size_t kBlock = 1024, kBlocks = 4;
constexpr size_t kChannels = 25;
constexpr double kQuiet = 1e-6;  // of the impulse: below any echo, above rounding

const Room kRooms[] = {
    {{5.0, 6.0, 4.0}, {0.2, 0.2, 0.2, 0.2, 0.11, 0.63}, {0.0, 0.0, 1.6}},  // the defaults
    {{9.0, 7.0, 3.0}, {0.1, 0.5, 0.3, 0.7, 0.25, 0.4}, {1.5, -1.2, 1.4}},
    {{3.2, 12.0, 5.5}, {0.05, 0.15, 0.9, 0.35, 0.6, 0.45}, {-0.3, 3.0, 3.1}},
};

// The room of a renderer, whose reflections can be had as a field.
class RoomField {
 public:
  RoomField(const Library& library, const Room& room, int mode) : library_(library) {
    expect_ok(library.function<decltype(ubr_init)>("ubr_init")(
                  &renderer_, UBR_INPUT_SOURCES, 1, UBR_MODE_BINAURAL_TRACKED, kBlock, 4),
              "ubr_init");
    set(UBR_REFLECTIONS_MODE, mode);
    for (uint32_t axis = 0; axis < 3; ++axis) {
      set(UBR_REFLECTIONS_ROOM_X + axis, room.size_m[axis]);
      set(UBR_REFLECTIONS_LISTENER_X + axis, room.listener_m[axis]);
    }
    for (uint32_t wall = 0; wall < 6; ++wall) {
      set(UBR_REFLECTIONS_ABSORPTION + wall, room.absorption[wall]);
    }
    expect_ok(
        library.function<decltype(ubr_compute_reflections)>("ubr_compute_reflections")(&renderer_),
        "ubr_compute_reflections");
  }
  ~RoomField() { library_.function<decltype(ubr_cleanup)>("ubr_cleanup")(&renderer_); }
  RoomField(const RoomField&) = delete;
  RoomField& operator=(const RoomField&) = delete;

  // Where the virtual loudspeakers stand around the listener.
  std::vector<Direction> loudspeakers() const {
    const ubr_reflections_t& r = *renderer_.reflections;
    std::vector<Direction> directions;
    for (float i = 0.0f; i < r.scene.source_count; ++i) {
      const ubr_virtual_source_t& source = r.virtual_sources[static_cast<size_t>(i)];
      directions.push_back(
          {static_cast<double>(source.azimuth), static_cast<double>(source.elevation)});
    }
    return directions;
  }

  // The reflections alone of an impulse as a plane wave from a direction. There are as many virtual
  // loudspeakers as channels, so that one from the direction of a loudspeaker is in it alone.
  void respond(const Direction& direction, Field* reflections) {
    library_.function<decltype(ubr_reset_reflections)>("ubr_reset_reflections")(
        renderer_.reflections, kBlock);
    const auto process =
        library_.function<decltype(ubr_process_reflections)>("ubr_process_reflections");
    Field wave(kChannels, kBlock);
    wave.set_frame(0, harmonics(4, direction));
    const Field silence(kChannels, kBlock);
    for (size_t block = 0; block < kBlocks; ++block) {
      std::vector<float*> rows;
      for (size_t c = 0; c < kChannels; ++c) {
        rows.push_back(reflections->rows()[c] + block * kBlock);
      }
      expect_ok(
          process(renderer_.reflections, (block == 0 ? wave : silence).rows(), rows.data(), kBlock),
          "ubr_process_reflections");
    }
  }

 private:
  void set(uint32_t id, double value) {
    expect_ok(library_.function<decltype(ubr_set_reflections_param)>("ubr_set_reflections_param")(
                  &renderer_, id, static_cast<float>(value)),
              "ubr_set_reflections_param");
  }

  const Library& library_;
  ubr_t renderer_ = {};
};

struct Worst {
  double delay_samples = 0.0;  // off the exact delay
  double level_db = 0.0;
  double field_db = -1000.0;  // all channels: direction and level in one
  double unexpected = 0.0;    // frames with sound where there is no echo
};

bool sounds(const Field& field, size_t frame) {
  return frame < field.frames() && std::abs(field.frame(frame)[0]) > kQuiet;
}

// The frame in which an echo is heard: the nearest whole one, or else the nearest that sounds.
size_t find_echo(const Field& found, double delay_samples) {
  const size_t frame = static_cast<size_t>(std::lround(delay_samples));
  for (size_t away = 0; away < frame; ++away) {
    for (const size_t near : {frame - away, frame + away}) {
      if (sounds(found, near)) return near;
    }
  }
  return 0;
}

// The echoes of one loudspeaker against what was found.
void compare(const std::vector<Echo>& echoes, const Field& found, Worst* worst) {
  std::map<size_t, std::vector<double>> expected;
  for (const Echo& echo : echoes) {
    const size_t frame = find_echo(found, echo.delay_samples);
    worst->delay_samples =
        larger(worst->delay_samples, std::fabs(static_cast<double>(frame) - echo.delay_samples));
    std::vector<double>& field = expected[frame];
    field.resize(kChannels);
    const std::vector<double> beam = harmonics(4, echo.from);
    for (size_t c = 0; c < kChannels; ++c) field[c] += echo.gain * beam[c];
  }
  for (size_t t = 0; t < found.frames(); ++t) {
    const auto echo = expected.find(t);
    const std::vector<double> frame = found.frame(t);
    if (echo == expected.end()) {
      worst->unexpected += std::fabs(frame[0]) > kQuiet;
      continue;
    }
    double error = 0.0;
    double power = 0.0;
    for (size_t c = 0; c < kChannels; ++c) {
      error += (frame[c] - echo->second[c]) * (frame[c] - echo->second[c]);
      power += echo->second[c] * echo->second[c];
    }
    worst->field_db = larger(worst->field_db, power_db(error / power));
    worst->level_db = larger(worst->level_db,
                             std::fabs(20.0 * std::log10(std::fabs(frame[0] / echo->second[0]))));
  }
}

Worst check_rooms(const Library& library) {
  Worst worst;
  for (const Room& room : kRooms) {
    for (int mode = 1; mode <= 4; ++mode) {
      RoomField field(library, room, mode);
      for (const Direction& loudspeaker : field.loudspeakers()) {
        Field found(kChannels, kBlocks * kBlock);
        field.respond(loudspeaker, &found);
        compare(room_echoes(room, loudspeaker), found, &worst);
      }
    }
  }
  return worst;
}

// One loudspeaker of mode 1 in the second room.
Chart draw_echoes(const Library& library) {
  const Axis time = {"time after the direct sound (ms)", 0.0, 50.0, 10.0};
  const Axis level = {"level (dB)", -60.0, 0.0, 10.0};
  Chart chart = chart_wide("Echoes of one virtual loudspeaker, 9 x 7 x 3 m", time, level);
  RoomField field(library, kRooms[1], 1);
  const Direction loudspeaker = field.loudspeakers()[1];
  Field found(kChannels, kBlocks * kBlock);
  field.respond(loudspeaker, &found);
  const auto ms = [](double samples) { return 1000.0 * samples / kRateHz; };
  for (const Echo& echo : room_echoes(kRooms[1], loudspeaker)) {
    const double x = ms(echo.delay_samples);
    chart.line({{x, level.minimum}, {x, power_db(echo.gain * echo.gain)}},
               measure::kStyleReference);
  }
  for (size_t t = 0; t < found.frames(); ++t) {
    const double omni = static_cast<double>(found.at(0, t));
    if (std::fabs(omni) > kQuiet) {
      chart.dot(ms(static_cast<double>(t)), power_db(omni * omni), measure::kStyleLeft);
    }
  }
  chart.legend("rendered", measure::kStyleLeft);
  chart.legend("geometry", measure::kStyleReference);
  return chart;
}

void set_room(Effect* effect, const Room& room, int mode) {
  const char* axes[] = {"length", "width", "height"};
  const char* walls[] = {"front", "back", "left", "right", "ceiling", "floor"};
  for (size_t axis = 0; axis < 3; ++axis) {
    effect->set(std::string("room.") + axes[axis], room.size_m[axis]);
    effect->set(std::string("listener.") + "xyz"[axis], room.listener_m[axis]);
  }
  for (size_t wall = 0; wall < 6; ++wall) {
    effect->set(std::string("absorption.") + walls[wall], room.absorption[wall]);
  }
  effect->set("reflections.mode", mode);
}

// What the virtual loudspeakers of mode 4 are fed with of a plane wave.
std::vector<double> feeds_of(const std::vector<Direction>& loudspeakers, const Direction& wave) {
  std::vector<std::vector<double>> beams(kChannels, std::vector<double>(kChannels));
  for (size_t v = 0; v < kChannels; ++v) {
    const std::vector<double> beam = harmonics(4, loudspeakers[v]);
    for (size_t c = 0; c < kChannels; ++c) beams[c][v] = beam[c];
  }
  return solve(beams, harmonics(4, wave));
}

// The ears of a whole effect in the second room, mode 4, against the sum of all echoes, each heard
// through the effect without a room from where it arrives.
double ears_error_db(const Library& library) {
  const Room& room = kRooms[1];
  const size_t frames = kBlocks * kBlock;
  Effect dry(library, "7.1");
  Effect wet(library, "7.1");
  set_room(&wet, room, 4);
  const Ears found = difference(wet.respond(Speaker::kFrontLeft, frames),
                                dry.respond(Speaker::kFrontLeft, frames));
  const std::vector<Direction> loudspeakers = RoomField(library, room, 4).loudspeakers();
  const std::vector<double> feeds = feeds_of(loudspeakers, {45.0 * kDegree, 0.0});
  std::vector<double> sum(2 * frames);
  for (size_t v = 0; v < kChannels; ++v) {
    for (const Echo& echo : room_echoes(room, loudspeakers[v])) {
      dry.settle_head(head_hearing_ahead_at(echo.from));
      const Ears heard = dry.respond(Speaker::kFrontCenter, kResponseFrames);
      const size_t start = 2 * static_cast<size_t>(std::lround(echo.delay_samples));
      for (size_t i = 0; i < heard.samples.size(); ++i) {
        sum[start + i] += feeds[v] * echo.gain * static_cast<double>(heard.samples[i]);
      }
    }
  }
  return difference_db(found, {{sum.begin(), sum.end()}});
}

}  // namespace

Section reflections_check(const Library& library) {
  Section section = {"reflections", "Reflections against the room's geometry",
                     "Every virtual loudspeaker of every mode in three rooms: delay, level and "
                     "direction of its six echoes against image sources in double precision. And "
                     "the ears of the whole effect in one of the rooms against the sum of all "
                     "echoes, each heard from where it arrives."};
  const Worst worst = check_rooms(library);
  section.add("delay", worst.delay_samples);
  section.add("level", worst.level_db);
  section.add("field", worst.field_db);
  section.add("unexpected", worst.unexpected);
  section.add("ears", ears_error_db(library));
  section.draw(kChartRow, {draw_echoes(library)});
  return section;
}

}  // namespace validate
