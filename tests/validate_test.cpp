// The measuring of the validation report, on signals whose figures are known.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "tools/measure/decay.h"
#include "tools/validate/effect.h"
#include "tools/validate/geometry.h"
#include "tools/validate/power_spectrum.h"
#include "tools/validate/random.h"
#include "tools/validate/report.h"
#include "tools/validate/reverb_measure.h"
#include "tools/validate/room_model.h"
#include "tools/validate/sine.h"

namespace validate {
namespace {

std::vector<float> add(std::vector<float> a, const std::vector<float>& b) {
  for (size_t i = 0; i < a.size(); ++i) a[i] += b[i];
  return a;
}

TEST(ValidateSineTest, TellsTheSineFromWhatIsBesideIt) {
  const size_t frames = 16384;
  const std::vector<float> tone = sine(997.0, 0.5, frames);
  EXPECT_LT(residue_db(tone, 997.0, frames), -140.0);
  EXPECT_NEAR(-60.0, residue_db(add(tone, sine(1994.0, 0.0005, frames)), 997.0, frames), 0.1);
  const std::vector<float> near = add(tone, sine(1100.0, 0.05, frames));
  EXPECT_LT(splatter_db(near, 997.0, 300.0, frames), -85.0);
  EXPECT_NEAR(-40.0, splatter_db(add(near, sine(5000.0, 0.005, frames)), 997.0, 300.0, frames),
              0.1);
}

TEST(ValidateSpectrumTest, ErbPowersSumTheBandsOfAResponse) {
  std::vector<float> echo(512);
  echo[100] = 0.5f;
  for (const double power : erb_powers(echo)) EXPECT_NEAR(0.25, power, 1e-9);
  echo[101] = 0.5f;  // cos^2 of half a sample: nothing lost in the lows, all at half the rate
  EXPECT_NEAR(1.0, erb_powers(echo).front(), 1e-3);
  EXPECT_NEAR(std::pow(std::cos(kPi * 4121.0 / kRateHz), 2.0), erb_powers(echo)[24], 0.01);
}

TEST(ValidateReverbTest, MeasuresADecayingNoise) {
  std::mt19937 generator(1);
  std::vector<std::vector<float>> tails(8);
  for (std::vector<float>& tail : tails) {
    for (double t = 0.0; t < 1.5; t += 1.0 / kRateHz) {
      tail.push_back(random_sample(&generator) * static_cast<float>(std::pow(10.0, -3.0 * t)));
    }
  }
  std::vector<std::vector<float>> bands;
  for (const std::vector<float>& tail : tails) bands.push_back(octave_band(tail, 1000.0));
  const measure::Curve decay = measure::decay_curve(energy_sum(bands), 48, 48000);
  EXPECT_NEAR(1.0, measure::decay_time_s(decay, 0.0), 0.03);
  EXPECT_NEAR(0.375, expected_reverberation_s(0.25, 0.1), 1e-9);
  EXPECT_NEAR(0.0, balance_db(tails[0], tails[1]), 0.3);
  EXPECT_LT(std::fabs(correlation(tails[0], tails[1])), 0.05);
}

TEST(ValidateRoomTest, MirrorsALoudspeakerInTheWalls) {
  const Room room = {{10.0, 8.0, 6.0}, {0.5, 0.0, 0.0, 0.0, 0.0, 1.0}, {1.0, 0.0, 2.0}};
  const std::vector<Echo> echoes = room_echoes(room, {0.0, 0.0});  // straight ahead
  ASSERT_EQ(6u, echoes.size());
  EXPECT_NEAR(7.0 / 343.0 * 48000.0, echoes[0].delay_samples, 1e-9);  // 3 m on, 4 m back
  EXPECT_NEAR(0.5 / 7.0 - 7.0 * 0.00137, echoes[0].gain, 1e-12);
  EXPECT_NEAR(0.0, echoes[0].from.azimuth, 1e-12);
  EXPECT_NEAR(kPi, std::fabs(echoes[1].from.azimuth), 1e-12);
  EXPECT_NEAR(std::atan2(8.0, 1.0), echoes[2].from.azimuth, 1e-12);
  EXPECT_NEAR(std::atan2(-4.0, 1.0), echoes[5].from.elevation, 1e-12);
  EXPECT_LT(echoes[5].gain, 0.0);
}

TEST(ValidateGeometryTest, AHeadHearsWhatItTurnsAwayFrom) {
  const render::Rotation left = render::rotation_from_vector({0.0, 0.0, 0.5 * kPi});
  EXPECT_NEAR(-0.5 * kPi, heard_from(left, {0.0, 0.0}).azimuth, 1e-12);
  const Direction wanted = {2.0, -0.7};
  const Direction heard = heard_from(head_hearing_ahead_at(wanted), {0.0, 0.0});
  EXPECT_NEAR(wanted.azimuth, heard.azimuth, 1e-12);
  EXPECT_NEAR(wanted.elevation, heard.elevation, 1e-12);
  EXPECT_THROW(solve({{1.0, 2.0}, {2.0, 4.0}}, {1.0, 1.0}), std::logic_error);
  const std::vector<double> solution = solve({{0.0, 2.0}, {3.0, 1.0}}, {4.0, 5.0});
  EXPECT_NEAR(1.0, solution[0], 1e-12);
  EXPECT_NEAR(2.0, solution[1], 1e-12);
}

TEST(ValidateEffectTest, DifferencesShowWhatIsNoNumber) {
  const Ears sound = {{0.5f, -1.0f, 0.25f, 0.0f}};
  Ears other = sound;
  EXPECT_EQ(-200.0, difference_db(other, sound));
  other.samples[0] = 0.501f;
  EXPECT_NEAR(-60.0, difference_db(other, sound), 0.01);
  other.samples[2] = std::numeric_limits<float>::quiet_NaN();
  EXPECT_TRUE(std::isnan(difference_db(other, sound)));
}

TEST(ValidateReportTest, MissesWhatIsBeyondALimitOrNoNumberOrNotMeasured) {
  Section section = {"latency", "", ""};
  section.add("ear_filters", 145.0);
  EXPECT_TRUE(report_missed({section}).empty());
  EXPECT_FALSE(report_passed({section}));
  section.add("centre", 143.0);
  section.add("field", std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(2u, report_missed({section}).size());
  EXPECT_EQ(limits().size() - 3, report_unmeasured({section}).size());
  EXPECT_NE(std::string::npos, report_json({section}).find("\"value\": null"));
  EXPECT_NE(std::string::npos, report_json({section}).find("\"passed\": false,\n  \"figures\""));
  EXPECT_NE(std::string::npos,
            report_page({section}).find("2 miss their limits, " +
                                        std::to_string(limits().size() - 3) + " were not"));
  EXPECT_THROW(section.add("unheard_of", 1.0), std::logic_error);
}

}  // namespace
}  // namespace validate
