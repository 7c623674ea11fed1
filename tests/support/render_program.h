// SPDX-License-Identifier: Apache-2.0
// The program orvane-render, run in a folder of its own. ORVANE_RENDER_PROGRAM and ORVANE_LIBRARY
// are the paths of the program and of the library.
#ifndef ORVANE_TESTS_SUPPORT_RENDER_PROGRAM_H_
#define ORVANE_TESTS_SUPPORT_RENDER_PROGRAM_H_

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/signals.h"
#include "tools/render/audio_reader.h"
#include "tools/render/audio_writer.h"
#include "tools/render/channel_map.h"

namespace render {

// Of frames `begin` to `end` of one ear, in an interleaved pair.
inline double energy(const std::vector<float>& ears, size_t ear, size_t begin, size_t end) {
  double sum = 0.0;
  for (size_t i = begin; i < end; ++i) sum += std::pow(static_cast<double>(ears[2 * i + ear]), 2);
  return sum;
}

// Without a sample that clips in what the program makes of it.
inline std::vector<float> quiet_noise(size_t samples) {
  std::vector<float> made = noise(samples, 1);
  for (float& sample : made) sample *= 0.25f;
  return made;
}

class RenderProgramTest : public ::testing::Test {
 protected:
  std::string text_of(const char* name) const {
    std::stringstream text;
    text << std::ifstream(path(name)).rdbuf();
    return text.str();
  }
  void SetUp() override {
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    folder_ =
        std::filesystem::path(::testing::TempDir()) / (test->name() + std::to_string(getpid()));
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directory(folder_);
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  std::string path(const char* name) const { return folder_ / name; }

  // Exit status of the program run in the folder; `errors_` is what it said.
  int run(const std::string& arguments, const std::string& before = "") {
    std::string command =
        "cd " + folder_.string() + " && " + before + ORVANE_RENDER_PROGRAM " " + arguments;
    if (!arguments.starts_with("info") && arguments.find("--library") == std::string::npos)
      command += " --library " ORVANE_LIBRARY;
    const int status = std::system((command + " >log 2>errors").c_str());
    errors_ = text_of("errors");
    return WEXITSTATUS(status);
  }

  // What the last run printed.
  std::string log() const { return text_of("log"); }

  // A float file with the layout's channel map where WAVE has one, else without.
  void write(const char* name, const char* layout, int rate_hz, const std::vector<float>& samples) {
    AudioSpec spec;
    spec.channels = layout_find(layout)->rows.size();
    spec.sample_rate_hz = rate_hz;
    spec.expected_frames = samples.size() / spec.channels;
    if (spec.channels < 24) spec.speakers = layout_find(layout)->rows;
    AudioWriter writer(path(name), spec);
    writer.write(samples.data(), samples.size() / spec.channels);
    writer.commit();
  }

  std::vector<float> read(const char* name) {
    AudioReader reader(path(name));
    std::vector<float> samples(reader.frames() * reader.channels());
    reader.read(samples.data(), reader.frames());
    return samples;
  }

  bool holds_only(std::initializer_list<const char*> names) {
    size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
      if (std::find(names.begin(), names.end(), entry.path().filename()) == names.end())
        return false;
      ++count;
    }
    return count == names.size();
  }

  size_t count_files() const {
    size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder_)) ++count;
    return count;
  }

  std::filesystem::path folder_;
  std::string errors_;
};

}  // namespace render

#endif  // ORVANE_TESTS_SUPPORT_RENDER_PROGRAM_H_
