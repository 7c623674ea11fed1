// SPDX-License-Identifier: Apache-2.0
// The program orvane-live with a JACK server of its own, in a folder of its own.
// ORVANE_LIVE_PROGRAM, ORVANE_RENDER_PROGRAM and ORVANE_LIBRARY are paths.
#ifndef ORVANE_TESTS_SUPPORT_LIVE_PROGRAM_H_
#define ORVANE_TESTS_SUPPORT_LIVE_PROGRAM_H_

#include <gtest/gtest.h>
#include <jack/jack.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/child_process.h"
#include "tools/render/audio_reader.h"
#include "tools/render/audio_writer.h"
#include "tools/render/channel_map.h"

namespace live {

constexpr size_t kPeriod = 256;  // frames

class LiveProgramTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (std::system("command -v jackd >/dev/null") != 0) GTEST_SKIP() << "jackd is not installed";
    if (access("/dev/shm", W_OK) != 0) GTEST_SKIP() << "JACK needs /dev/shm, which is not there";
    server_ = "orvane-" + std::to_string(getpid());
    folder_ = std::filesystem::path(::testing::TempDir()) / server_;
    std::filesystem::create_directories(folder_);
    setenv("JACK_DEFAULT_SERVER", server_.c_str(), 1);
    jack_set_error_function([](const char*) {});
    jack_set_info_function([](const char*) {});
  }
  void TearDown() override {
    if (live_) live_->terminate(), live_->wait();
    stop_server();
    if (folder_.empty()) return;
    std::filesystem::remove_all(folder_);
    // A server that ends before its clients leaves their semaphores.
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm")) {
      if (entry.path().filename().string().find(server_) != std::string::npos) {
        std::filesystem::remove(entry.path());
      }
    }
  }

  std::string path(const std::string& name) const { return folder_ / name; }
  std::string text(const std::string& name) const {
    std::stringstream text;
    text << std::ifstream(path(name)).rdbuf();
    return text.str();
  }

  // In synchronous mode the server waits for its clients instead of dropping the audio of those
  // that are late on a busy machine.
  void start_server(size_t period, int rate_hz = ORVANE_SAMPLE_RATE) {
    jackd_ = std::make_unique<ChildProcess>(
        "exec jackd -n " + server_ + " -r -S -t 5000 -d dummy -C 0 -P 0 -r " +
            std::to_string(rate_hz) + " -p " + std::to_string(period),
        path("jackd.out"), path("jackd.errors"));
    const auto answers = [] {
      jack_status_t status = {};
      jack_client_t* client = jack_client_open("look", JackNoStartServer, &status);
      return client && jack_client_close(client) == 0;
    };
    ASSERT_TRUE(wait_until([&] { return !jackd_->running() || answers(); }) && jackd_->running())
        << text("jackd.out") << text("jackd.errors");
  }
  void stop_server() {
    if (!jackd_) return;
    jackd_->terminate();
    jackd_->wait();
    jackd_.reset();
  }

  std::unique_ptr<ChildProcess> start(const std::string& arguments) const {
    const std::string command = "cd " + folder_.string() +
                                " && exec " ORVANE_LIVE_PROGRAM " --library " ORVANE_LIBRARY " " +
                                arguments;
    return std::make_unique<ChildProcess>(command, path("out"), path("errors"));
  }

  // Runs it in the background and returns once it plays, with its OSC port.
  std::string play(const std::string& arguments) {
    live_ = start(arguments + " --osc-port 0");
    std::string port;
    const auto plays = [&] {
      const std::string out = text("out");
      const size_t at = out.find("osc     port ");
      if (at != std::string::npos && out.back() == '\n') port = out.substr(at + 13);
      return !port.empty() || !live_->running();
    };
    EXPECT_TRUE(wait_until(plays) && !port.empty()) << text("errors");
    return port.substr(0, port.find('\n'));
  }

  // Noise after two periods of silence, in which the effect comes to rest: from then on its output
  // does not depend on what was before. For a layout of that name, or so many channels of a field.
  std::vector<float> write_bed(const std::string& layout, size_t frames) {
    render::AudioSpec spec;
    spec.expected_frames = frames;
    const render::Layout* const bed_layout = render::layout_find(layout);
    spec.channels = bed_layout ? bed_layout->rows.size() : std::stoul(layout);
    if (bed_layout && spec.channels < 24) spec.speakers = bed_layout->rows;
    std::vector<float> bed(frames * spec.channels);
    for (size_t i = 2 * kPeriod * spec.channels; i < bed.size(); ++i) {
      bed[i] = static_cast<float>(i * i % 1009) * 0.0003f - 0.15f;
    }
    render::AudioWriter writer(path("bed.wav"), spec);
    writer.write(bed.data(), frames);
    writer.commit();
    return bed;
  }

  // What the offline renderer makes of the bed.
  std::vector<float> render(const std::string& arguments) {
    const std::string command = "cd " + folder_.string() +
                                " && " ORVANE_RENDER_PROGRAM " --library " ORVANE_LIBRARY
                                " bed.wav ears.wav --keep-latency --block " +
                                std::to_string(kPeriod) + " " + arguments;
    EXPECT_EQ(0, std::system((command + " >/dev/null").c_str()));
    render::AudioReader reader(path("ears.wav"));
    std::vector<float> ears(2 * reader.frames());
    reader.read(ears.data(), reader.frames());
    return ears;
  }

  std::string server_;
  std::filesystem::path folder_;
  std::unique_ptr<ChildProcess> jackd_, live_;
};

}  // namespace live

#endif  // ORVANE_TESTS_SUPPORT_LIVE_PROGRAM_H_
