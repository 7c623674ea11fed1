// SPDX-License-Identifier: Apache-2.0
// orvane-live from the outside, against a JACK server of its own and a real sender of OSC.
#include "tests/support/live_program.h"

#include <gtest/gtest.h>
#include <jack/jack.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tests/support/jack_probe.h"

namespace live {
namespace {

bool sounds(float sample) { return sample != 0.0f; }

// Compares what was recorded, from its first sound on, with `expected` from its first sound on;
// both start a whole number of periods earlier.
void expect_same(const std::vector<float>& expected, const JackProbe& probe) {
  const auto first = std::find_if(expected.begin(), expected.end(), sounds) - expected.begin();
  const auto& recorded = probe.recorded();
  const auto at = std::find_if(recorded.begin(), recorded.end(), sounds) - recorded.begin();
  ASSERT_GE(at, first);
  ASSERT_LE(expected.size() + static_cast<size_t>(at - first), 2 * probe.recorded_frames());
  EXPECT_EQ(0u, static_cast<size_t>(at - first) / 2 % kPeriod);
  size_t different = 0;
  for (size_t i = 0; i < expected.size(); ++i) {
    const float heard = recorded[i + static_cast<size_t>(at - first)];
    different += std::memcmp(&heard, &expected[i], sizeof(float)) == 0 ? 0 : 1;
  }
  EXPECT_EQ(0u, different) << "of " << expected.size();
}

// Plays `bed` to the program's ports, from where the ears are to hear `expected`.
void expect_heard(JackProbe* player, const std::vector<float>& bed,
                  const std::vector<float>& expected, const JackProbe& ears) {
  ASSERT_TRUE(player->connect_to("orvane-live"));
  const size_t before = ears.recorded_frames();
  player->play(bed, false);
  wait_until([&] { return ears.recorded_frames() > before + expected.size() / 2 + 8 * kPeriod; });
  expect_same(expected, ears);
}

TEST_F(LiveProgramTest, PlaysAFileBitForBitAsTheOfflineRenderer) {
  ASSERT_NO_FATAL_FAILURE(start_server(kPeriod));
  const struct {
    const char *layout, *arguments;
    size_t tail;
  } cases[] = {{"5.1", "--dry", 255},
               {"5.1", "--pose 30,-10,5 --gain -3", 1440 + 12000 - 1},
               {"5.1", "--no-reverb --reflections 2 --stream 1", 0},
               {"9", "--ambisonics --dry --pose 30,-10,5", 255}};
  for (const auto& c : cases) {
    // With its tail a whole number of periods; the last block of the reflections is left out.
    write_bed(c.layout, 101 * kPeriod - c.tail % kPeriod);
    std::vector<float> expected = render(c.arguments);
    expected.resize(expected.size() / (2 * kPeriod) * (2 * kPeriod));
    JackProbe ears(0);
    const auto live = start(std::string("bed.wav --osc-port 0 ") + c.arguments);
    EXPECT_EQ(0, live->wait()) << text("errors");
    expect_same(expected, ears);
  }
}

TEST_F(LiveProgramTest, RendersItsPortsBitForBitAsTheOfflineRenderer) {
  ASSERT_NO_FATAL_FAILURE(start_server(kPeriod));
  const std::vector<float> bed = write_bed("22.2", 101 * kPeriod + 1);
  const std::string arguments = "--layout 22.2 --channels bs2051 --dry --pose 20,0,0";
  const std::vector<float> expected = render(arguments);
  JackProbe ears(0), player(24);
  play(arguments);
  const std::vector<std::string> ports = ears.inputs_of("orvane-live");
  ASSERT_EQ(24u, ports.size());
  EXPECT_EQ("orvane-live:FL", ports[0]);
  EXPECT_EQ("orvane-live:LFE2", ports[9]);
  EXPECT_EQ("orvane-live:BFR", ports[23]);
  ASSERT_NO_FATAL_FAILURE(expect_heard(&player, bed, expected, ears));
  live_->terminate();
  EXPECT_EQ(0, live_->wait());
}

double energy(const std::vector<float>& ears, size_t ear, size_t begin, size_t end) {
  double sum = 0.0;
  for (size_t i = begin; i < end; ++i) {
    sum += static_cast<double>(ears[2 * i + ear]) * static_cast<double>(ears[2 * i + ear]);
  }
  return sum;
}

// The centre plays the same noise in every period, so that at rest every period of the ears is the
// one before, and the first that is not has the new pose. The period is a long one, beside which a
// busy machine starts the sender quickly.
TEST_F(LiveProgramTest, FollowsTheHeadWithinOnePeriod) {
  constexpr size_t kLong = 16 * kPeriod, kTurns = 7;
  ASSERT_NO_FATAL_FAILURE(start_server(kLong));
  JackProbe ears(0), player(6);
  const std::string port = play("--layout 5.1 --dry");
  ASSERT_TRUE(player.connect_to("orvane-live"));
  std::vector<float> bed(6 * kLong);
  for (size_t i = 0; i < kLong; ++i) bed[6 * i + 2] = static_cast<float>(i * i % 97) * 0.005f;
  player.play(bed, true);

  const std::vector<float>& recorded = ears.recorded();
  const auto changes = [&](size_t begin) {  // the period there, against the one before
    const float* period = recorded.data() + 2 * begin;
    return !std::equal(period, period + 2 * kLong, period - 2 * kLong);
  };
  const auto rests_after = [&](size_t begin) {
    return wait_until([&] {
      const size_t end = ears.recorded_frames();
      return end > begin + 2 * kLong && sounds(recorded[2 * end - 1]) && !changes(end - kLong);
    });
  };
  ASSERT_TRUE(rests_after(0));
  std::vector<size_t> delays;  // from the message to the first frame that follows it
  for (size_t turn = 0; turn < kTurns; ++turn) {
    const std::string angle = turn % 2 == 0 ? "90" : "-90";
    size_t begin = ears.recorded_frames();
    const std::string send = "oscsend 127.0.0.1 " + port + " /ypr fff " + angle + " 0 0";
    ASSERT_EQ(0, std::system(send.c_str()));
    const size_t sent = ears.now();
    for (;; begin += kLong) {
      ASSERT_TRUE(wait_until([&] { return ears.recorded_frames() >= begin + kLong; }));
      if (changes(begin)) break;
    }
    delays.push_back(begin > sent ? begin - sent : 0);
    ASSERT_TRUE(rests_after(begin));
    const size_t end = ears.recorded_frames();
    const double left = energy(recorded, 0, end - kLong, end);
    const double right = energy(recorded, 1, end - kLong, end);
    EXPECT_GT(turn % 2 == 0 ? right / left : left / right, 1.5) << angle;  // much of it is bass
  }
  std::sort(delays.begin(), delays.end());
  std::printf("delays of %zu to %zu frames at a period of %zu\n", delays.front(), delays.back(),
              kLong);
  EXPECT_LE(delays[kTurns / 2], kLong);  // on a busy machine one may be late
}

TEST_F(LiveProgramTest, PlaysOnAfterANewPeriodAndWhenItsEarsAreConnectedAgain) {
  write_bed("5.1", ORVANE_SAMPLE_RATE);
  ASSERT_NO_FATAL_FAILURE(start_server(kPeriod));
  JackProbe ears(0);
  play("bed.wav --loop --no-reverb");
  const auto is_heard = [&](bool heard) {
    return wait_until([&] {
      const size_t end = ears.recorded_frames();
      return end > kPeriod && sounds(ears.recorded()[2 * end - 1]) == heard;
    });
  };
  ASSERT_TRUE(is_heard(true));
  jack_status_t status = {};
  jack_client_t* hand = jack_client_open("hand", JackNoStartServer, &status);
  ASSERT_NE(nullptr, hand);
  ASSERT_EQ(0, jack_set_buffer_size(hand, 2 * kPeriod));
  const size_t before = ears.recorded_frames();
  EXPECT_TRUE(wait_until([&] { return ears.recorded_frames() > before + 20 * kPeriod; }));
  EXPECT_TRUE(is_heard(true));
  const char* right = "orvane-live:right";
  const char** inputs = jack_port_get_all_connections(hand, jack_port_by_name(hand, right));
  ASSERT_NE(nullptr, inputs);
  ASSERT_EQ(0, jack_disconnect(hand, right, inputs[0]));
  EXPECT_TRUE(is_heard(false));
  ASSERT_EQ(0, jack_connect(hand, right, inputs[0]));
  EXPECT_TRUE(is_heard(true));
  jack_free(inputs);
  jack_client_close(hand);
  live_->terminate();
  EXPECT_EQ(0, live_->wait());
}

// Whether it is killed or ends; the head stays where it was turned.
TEST_F(LiveProgramTest, JoinsAServerThatComesBack) {
  const std::vector<float> bed = write_bed("5.1", 101 * kPeriod);
  const std::vector<float> expected = render("--dry --pose 20,0,0");
  ASSERT_NO_FATAL_FAILURE(start_server(kPeriod));
  const std::string port = play("--layout 5.1 --dry");
  ASSERT_EQ(0, std::system(("oscsend 127.0.0.1 " + port + " /ypr fff 20 0 0").c_str()));
  for (const int signal : {SIGKILL, SIGTERM}) {
    jackd_->send(signal);
    stop_server();
    const std::string gone = signal == SIGKILL ? "1 server gone" : "2 server gone";
    ASSERT_TRUE(wait_until([&] { return text("out").find(gone) != std::string::npos; }));
    ASSERT_NO_FATAL_FAILURE(start_server(kPeriod));
    JackProbe ears(0), player(6);
    ASSERT_TRUE(wait_until([&] { return ears.hear("orvane-live"); }));
    ASSERT_NO_FATAL_FAILURE(expect_heard(&player, bed, expected, ears));
  }
  live_->terminate();
  EXPECT_EQ(0, live_->wait());
}

TEST_F(LiveProgramTest, RefusesWithOneLine) {
  write_bed("5.1", ORVANE_SAMPLE_RATE);
  const auto expect = [&](ChildProcess& live, int status, const std::string& reason) {
    EXPECT_EQ(status, live.wait()) << reason;
    const std::string errors = text("errors");
    EXPECT_EQ(0u, errors.find("orvane-live: " + reason)) << errors;
    EXPECT_EQ(errors.size() - 1, errors.find('\n')) << errors;
  };
  const std::string bed = "bed.wav --osc-port 0";
  expect(*start(bed), 1, "JACK server " + server_ + ": is not running");
  expect(*start("-"), 1, "-: is a pipe, which orvane-render takes");
  expect(*start("none.wav"), 1, "none.wav: No such file or directory");
  expect(*start("bed.wav --stream 2"), 1, "bed.wav: has no sound stream 2, only 1 to 1");
  expect(*start("--layout 5.1 --ambisonics"), 2, "--ambisonics requires BED");
  expect(*start(""), 2, "--layout: is needed without a BED");
  ASSERT_NO_FATAL_FAILURE(start_server(kPeriod, 44100));
  expect(*start(bed), 1, "JACK server " + server_ + ": runs at 44100 Hz");
  stop_server();

  ASSERT_NO_FATAL_FAILURE(start_server(kPeriod));
  const std::string port = play("bed.wav --loop");
  const auto second = [&] { return start("bed.wav --osc-port " + port); };
  expect(*second(), 1, "OSC port " + port + ": another program has it");
  live_->terminate();
  EXPECT_EQ(0, live_->wait());
}

}  // namespace
}  // namespace live
