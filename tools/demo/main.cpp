// orvane-demo: makes a spoken 7.1 bed, and checks that its rendering puts every voice on its side.
#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <exception>

#include "tools/demo/ear_measure.h"
#include "tools/demo/voices.h"
#include "tools/render/audio_reader.h"
#include "tools/render/failure.h"

namespace demo {
namespace {

constexpr double kPi = 3.14159265358979323846;

// A voice from a side differs by at least this, one in the median plane by at most this.
constexpr double kSideLevelDb = 1.0;
constexpr double kSideTimeUs = 100.0;
constexpr double kMiddleLevelDb = 0.5;
constexpr double kMiddleTimeUs = 20.0;

// To two decimals, without a sign for what rounds to nothing.
double rounded(double value) { return std::round(value * 100.0) / 100.0 + 0.0; }

enum class Side { kLeft, kMiddle, kRight };

// Where a voice is for a head turned by `yaw_deg` to the left.
Side expected_side(const Voice& voice, double yaw_deg) {
  const double lateral = std::sin((voice.azimuth_deg - yaw_deg) * kPi / 180.0);
  if (std::fabs(lateral) < 0.1) return Side::kMiddle;
  return lateral > 0.0 ? Side::kLeft : Side::kRight;
}

bool is_on(Side side, const EarDifference& ears) {
  if (side == Side::kMiddle) {
    return std::fabs(ears.level_db) <= kMiddleLevelDb && std::fabs(ears.time_us) <= kMiddleTimeUs;
  }
  const double sign = side == Side::kLeft ? 1.0 : -1.0;
  return sign * ears.level_db >= kSideLevelDb && sign * ears.time_us >= kSideTimeUs;
}

std::vector<float> read_rendering(const std::string& path, size_t frames) {
  render::AudioReader reader(path);
  if (reader.channels() != 2 || reader.sample_rate_hz() != kRateHz || reader.frames() < frames) {
    throw render::Failure(path, "is no rendering of this demo's bed");
  }
  std::vector<float> ears(frames * 2);
  reader.read(ears.data(), frames);
  return ears;
}

// Prints a line per voice; returns whether all are where they belong.
bool measure(const std::vector<Voice>& voices, const std::string& path, double yaw_deg) {
  const std::vector<float> ears = read_rendering(path, voices_length(voices));
  bool good = true;
  std::printf("%-14s %8s  %12s  %14s  %s\n", "voice", "azimuth", "level L-R", "left ahead by",
              "heard at");
  for (size_t i = 0; i < voices.size(); ++i) {
    const Voice& voice = voices[i];
    const size_t end = i + 1 < voices.size() ? voices[i + 1].start : voices_length(voices);
    const EarDifference difference =
        ear_difference_measure(ears.data() + 2 * voice.start, end - voice.start, kRateHz);
    const Side side = expected_side(voice, yaw_deg);
    const char* names[] = {"left", "middle", "right"};
    const bool placed = is_on(side, difference);
    std::printf("%-14s %4.0f deg  %+9.2f dB  %+11.0f us  %s%s\n", voice.name.c_str(),
                std::remainder(voice.azimuth_deg - yaw_deg, 360.0), rounded(difference.level_db),
                rounded(difference.time_us), placed ? "" : "NOT ", names[static_cast<int>(side)]);
    good = good && placed;
  }
  return good;
}

}  // namespace
}  // namespace demo

int main(int argc, char** argv) {
  CLI::App app("Makes a spoken 7.1 bed, and checks a rendering of it.", "orvane-demo");
  std::string directory = "/usr/share/sounds/alsa";
  std::string file;
  double yaw_deg = 0.0;
  app.add_option("--voices", directory, "Recordings of the channel names")->capture_default_str();
  app.require_subcommand(1);
  CLI::App* bed = app.add_subcommand("bed", "Write the bed to FILE: seven voices, 7.1, 48 kHz");
  bed->add_option("FILE", file)->required();
  CLI::App* check = app.add_subcommand(
      "check", "Measure FILE, a rendering of the bed; status 1 if a voice is on the wrong side");
  check->add_option("FILE", file)->required();
  check->add_option("--yaw", yaw_deg, "Yaw of the pose it was rendered with, degrees to the left");
  try {
    app.parse(argc, argv);
    const std::vector<demo::Voice> voices = demo::voices_read(directory);
    if (!bed->parsed()) return demo::measure(voices, file, yaw_deg) ? 0 : 1;
    demo::voices_write_bed(voices, file);
    return 0;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "orvane-demo: %s\n", failure.what());
    return 1;
  }
}
