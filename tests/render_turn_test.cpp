// SPDX-License-Identifier: Apache-2.0
// What orvane-render adds to a tone whose listener turns the head.
#include <cmath>

#include "tests/support/render_program.h"
#include "tools/render/effect_host.h"

namespace render {
namespace {

using RenderedTurnTest = RenderProgramTest;

constexpr double kTurn = 6.283185307179586;
constexpr size_t kFrames = 24000, kBegin = 9600, kEnd = 21600;  // of all, and of the measured part
constexpr double kToneHz = 1000.0, kErbHz = 133.0;

// The measured part of one ear under a four-term Blackman-Harris window.
std::vector<double> measured_part(const std::vector<float>& ears, size_t ear) {
  std::vector<double> part(kEnd - kBegin);
  for (size_t i = 0; i < part.size(); ++i) {
    const double phase = kTurn * static_cast<double>(i) / static_cast<double>(part.size());
    const double weight = 0.35875 - 0.48829 * std::cos(phase) + 0.14128 * std::cos(2.0 * phase) -
                          0.01168 * std::cos(3.0 * phase);
    part[i] = weight * static_cast<double>(ears[2 * (kBegin + i) + ear]);
  }
  return part;
}

// Of one component; `turn` is its phase per sample (G. Goertzel, "An algorithm for the evaluation
// of finite trigonometric series", Amer. Math. Monthly 65, 1958).
double power_at(const std::vector<double>& samples, double turn) {
  const double factor = 2.0 * std::cos(turn);
  double last = 0.0, before = 0.0;
  for (const double sample : samples) {
    const double next = sample + factor * last - before;
    before = last;
    last = next;
  }
  return last * last + before * before - factor * last * before;
}

// The strongest component further than one ERB from the tone against the tone, in dB.
double strongest_beside_db(const std::vector<double>& samples) {
  double tone = 0.0, beside = 0.0;
  for (size_t bin = 1; bin < samples.size() / 2; ++bin) {
    const double share = static_cast<double>(bin) / static_cast<double>(samples.size());
    double& strongest = std::fabs(share * kEffectRateHz - kToneHz) > kErbHz ? beside : tone;
    strongest = std::max(strongest, power_at(samples, kTurn * share));
  }
  return 10.0 * std::log10(beside / tone);
}

// The fade of a block runs straight between two poses, so that ears differ a little by the length
// of blocks. A head that turned in steps of 10 ms would be a hundred times as far off in blocks of
// 64 frames, and would add -57 dB there.
TEST_F(RenderedTurnTest, AToneStaysATone) {
  std::vector<float> bed(6 * kFrames);
  for (size_t i = 0; i < kFrames; ++i) {
    const double phase = kTurn * kToneHz / kEffectRateHz * static_cast<double>(i);
    bed[6 * i + 2] = 0.5f * static_cast<float>(std::sin(phase));  // front centre
  }
  write("bed.wav", "5.1", kEffectRateHz, bed);
  std::ofstream(path("turn.csv")) << "time,yaw,pitch,roll\n0,0,0,0\n0.5,45,0,0\n";
  ASSERT_EQ(0, run("bed.wav out.wav --dry --trajectory turn.csv")) << errors_;
  const std::vector<float> usual = read("out.wav");
  for (const char* block : {"64", "256", "1024"}) {
    ASSERT_EQ(0, run(std::string("bed.wav out.wav --dry --trajectory turn.csv --block ") + block));
    const std::vector<float> ears = read("out.wav");
    ASSERT_EQ(usual.size(), ears.size());
    for (size_t i = 0; i < ears.size(); ++i) ASSERT_NEAR(usual[i], ears[i], 5e-5f) << block;
    for (const size_t ear : {0u, 1u}) {
      EXPECT_LT(strongest_beside_db(measured_part(ears, ear)), -80.0) << block << " " << ear;
    }
  }
}

}  // namespace
}  // namespace render
