#include "tools/demo/hearing.h"

#include <cmath>
#include <cstdio>

#include "tools/demo/bed.h"
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

Side side_of(double azimuth_deg) {
  const double lateral = std::sin(azimuth_deg * kPi / 180.0);
  if (std::fabs(lateral) < 0.1) return Side::kMiddle;
  return lateral > 0.0 ? Side::kLeft : Side::kRight;
}

bool is_on(Side side, const measure::EarDifference& ears) {
  if (side == Side::kMiddle) {
    return std::fabs(ears.level_db) <= kMiddleLevelDb && std::fabs(ears.time_us) <= kMiddleTimeUs;
  }
  const double sign = side == Side::kLeft ? 1.0 : -1.0;
  return sign * ears.level_db >= kSideLevelDb && sign * ears.time_us >= kSideTimeUs;
}

}  // namespace

std::vector<float> hearing_read(const std::string& path, std::optional<size_t> frames) {
  render::AudioReader reader(path);
  const size_t wanted = frames.value_or(reader.frames());
  if (reader.channels() != 2 || reader.sample_rate_hz() != kRateHz || reader.frames() < wanted) {
    throw render::Failure(path, "is no rendering of this demo's bed");
  }
  std::vector<float> ears(wanted * 2);
  reader.read(ears.data(), wanted);
  return ears;
}

std::vector<HeardVoice> hearing_measure(const std::vector<Voice>& voices, const std::string& path,
                                        std::optional<double> yaw_deg) {
  const std::vector<float> ears = hearing_read(path, voices_length(voices));
  std::vector<HeardVoice> heard;
  for (size_t i = 0; i < voices.size(); ++i) {
    const Voice& voice = voices[i];
    const size_t end = i + 1 < voices.size() ? voices[i + 1].start : voices_length(voices);
    const double head_deg = yaw_deg.value_or(voice.azimuth_deg);
    heard.push_back({voice.name, std::remainder(voice.azimuth_deg - head_deg, 360.0),
                     measure::ear_difference_measure(ears.data() + 2 * voice.start,
                                                     end - voice.start, kRateHz)});
  }
  return heard;
}

bool hearing_check(const std::vector<HeardVoice>& heard) {
  bool good = true;
  std::printf("%-14s %8s  %12s  %14s  %s\n", "voice", "azimuth", "level L-R", "left ahead by",
              "heard at");
  for (const HeardVoice& voice : heard) {
    const Side side = side_of(voice.azimuth_deg);
    const char* names[] = {"left", "middle", "right"};
    const bool placed = is_on(side, voice.ears);
    std::printf("%-14s %4.0f deg  %+9.2f dB  %+11.0f us  %s%s\n", voice.name.c_str(),
                voice.azimuth_deg, rounded(voice.ears.level_db), rounded(voice.ears.time_us),
                placed ? "" : "NOT ", names[static_cast<int>(side)]);
    good = good && placed;
  }
  return good;
}

}  // namespace demo
