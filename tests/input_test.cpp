// SPDX-License-Identifier: Apache-2.0
// What comes in through pipes and from ffprobe, and where it is damaged.
#include <cmath>
#include <cstring>
#include <thread>

#include "tests/support/render_program.h"
#include "tools/render/byte_source.h"
#include "tools/render/failure.h"
#include "tools/render/probe.h"
#include "tools/render/text.h"
#include "tools/render/wav_header.h"

namespace render {
namespace {

using PipeTest = RenderProgramTest;

std::string with_size(std::string wav, uint32_t size) {
  const size_t at = wav.find("data");
  std::memcpy(wav.data() + at + 4, &size, sizeof(size));
  return wav;
}

TEST_F(PipeTest, WhateverLengthTheHeaderSaysAllIsHeard) {
  const std::vector<float> bed = quiet_noise(6 * 5000);
  write("bed.wav", "5.1", 48000, bed);
  ASSERT_EQ(0, run("bed.wav plain.wav --dry")) << errors_;
  const std::vector<float> plain = read("plain.wav");
  const std::string wav = text_of("bed.wav");
  const uint32_t size = 4 * 6 * 5000;
  const struct {
    const char* name;
    std::string bytes;
    bool is_whole;
    const char* warning;
  } cases[] = {
      {"as it is", wav, true, ""},
      {"open", with_size(wav, 0xFFFFFFFF), true, ""},
      {"zero", with_size(wav, 0), true, ""},
      {"wrapped", with_size(wav, 24 * 100), true, "goes on after the length"},
      {"cut off", wav.substr(0, wav.size() - 24 * 1000), false, "ends before the length"},
      {"odd", with_size(wav, 0).substr(0, wav.size() - 3), false, "ends within a frame"},
      {"chunk after", wav + "LIST" + std::string(5, '\0'), true, ""},
      {"too long", with_size(wav, size + 24), true, "ends before the length"},
  };
  for (const auto& c : cases) {
    std::ofstream(path("in.wav"), std::ios::binary) << c.bytes;
    ASSERT_EQ(0, run("- ears.wav --dry", "cat in.wav | ")) << c.name << errors_;
    const std::vector<float> ears = read("ears.wav");
    EXPECT_EQ(c.is_whole, plain == ears) << c.name;
    EXPECT_LE(ears.size(), plain.size()) << c.name;
    EXPECT_GT(ears.size(), 2u * 3900u) << c.name;
    EXPECT_NE(errors_.find(c.warning), std::string::npos) << c.name << errors_;
    EXPECT_EQ(*c.warning ? 1 : 0, run("- strict.wav --dry --strict", "cat in.wav | ")) << c.name;
  }
  // The same damage in a file.
  std::ofstream(path("in.wav"), std::ios::binary) << wav.substr(0, wav.size() - 24 * 1000);
  EXPECT_EQ(0, run("in.wav ears.wav --dry"));
  EXPECT_NE(errors_.find("in.wav: warning: ends before the length"), std::string::npos) << errors_;
}

// Padding and chunks after the samples are not sound, and samples that look like a chunk's name
// are.
TEST_F(PipeTest, TheEndOfTheSamplesIsFound) {
  const float spaces = static_cast<float>(0x202020) / 8388608.0f;  // in 24 bits
  write("bed.wav", "5.1", 48000, std::vector<float>(6 * 5001, spaces));
  ASSERT_EQ(0,
            std::system(("cd " + folder_.string() +
                         " && for out in plain.wav plain.w64 '-rf64 always plain.rf64.wav'; do "
                         "ffmpeg -v error -i bed.wav -c:a pcm_s24le $out; done; "
                         "ffmpeg -v error -i bed.wav -af pan=mono\\|c0=c0 -c:a pcm_s24le one.wav")
                            .c_str()));
  const auto ears_of = [&](const std::string& arguments) {
    EXPECT_EQ(0, run(arguments + " --dry")) << errors_;
    return read("ears.wav");
  };
  const std::vector<float> plain = ears_of("plain.wav ears.wav");
  const std::vector<float> one = ears_of("one.wav ears.wav");
  const std::string wav = text_of("plain.wav"), w64 = text_of("plain.w64"),
                    rf64 = text_of("plain.rf64.wav"), mono = text_of("one.wav");
  const std::string list = std::string("LIST") + '\4' + std::string(3, '\0') + "INFO";
  const struct {
    const char* name;
    std::string bytes;
    const std::vector<float>* ears;
    const char* warning;
  } cases[] = {
      {"W64", w64, &plain, ""},
      {"W64 without padding", w64.substr(0, w64.size() - 6), &plain, ""},
      {"W64, junk", w64 + "what is this", &plain, "not read any further"},
      {"RF64, junk", rf64 + "what is this", &plain, "not read any further"},
      {"odd", mono, &one, ""},
      {"odd, a chunk after", mono + list, &one, ""},
      {"odd, a chunk after no padding", mono.substr(0, mono.size() - 1) + list, &one, ""},
      {"wrapped", with_size(wav, 18 * 100), &plain, "read to its end"},
      {"wrapped within a frame", with_size(wav, 18 * 100 + 7), &plain, "read to its end"},
  };
  for (const auto& c : cases) {
    std::ofstream(path("in.wav"), std::ios::binary) << c.bytes;
    ASSERT_EQ(0, run("- ears.wav --dry", "cat in.wav | ")) << c.name << errors_;
    EXPECT_TRUE(*c.ears == read("ears.wav")) << c.name;
    EXPECT_NE(errors_.find(c.warning), std::string::npos) << c.name << errors_;
    EXPECT_EQ(*c.warning ? 1 : 0, run("- strict.wav --dry --strict", "cat in.wav | "))
        << c.name << errors_;
  }
}

TEST_F(PipeTest, RawSamplesAndPipesOnBothSidesSoundAsFiles) {
  const std::vector<float> bed = quiet_noise(6 * 5000);
  write("bed.wav", "5.1", 48000, bed);
  std::ofstream(path("bed.f32"), std::ios::binary)
      .write(reinterpret_cast<const char*>(bed.data()),
             static_cast<std::streamsize>(bed.size() * sizeof(float)));
  ASSERT_EQ(0, run("bed.wav plain.wav --dry")) << errors_;
  const std::vector<float> plain = read("plain.wav");
  ASSERT_EQ(0, run("bed.f32 ears.wav --dry --raw f32 --channels FL,FR,FC,LFE,BL,BR")) << errors_;
  EXPECT_EQ(plain, read("ears.wav"));
  ASSERT_EQ(0, run("bed.wav rated.wav --dry --rate 96000")) << errors_;
  const double seconds = static_cast<double>(read("rated.wav").size()) / 2.0 / 96000.0;
  EXPECT_NE(log().find(text_format("float, 96000 Hz, %.3f s", seconds)), std::string::npos)
      << log();
  // Neither raw samples nor a file that is called as standard input are for ffmpeg to read.
  ASSERT_EQ(0, run("bed.f32 ears.mka --dry --raw f32 --layout 5.1")) << errors_;
  std::ofstream(path("-")) << "no sound";
  ASSERT_EQ(0, run("- ears.m4a --dry <bed.wav")) << errors_;
  ASSERT_EQ(0, run("- - --dry --raw f32 --layout 5.1 <bed.f32")) << errors_;
  std::ofstream(path("piped.wav"), std::ios::binary) << log();
  EXPECT_EQ(plain, read("piped.wav"));
  // Films and all else go through ffmpeg from a pipe as well.
  ASSERT_EQ(0, std::system(("cd " + folder_.string() +
                            " && ffmpeg -v error -i bed.wav -c:a flac -sample_fmt s32 bed.mka")
                               .c_str()));
  ASSERT_EQ(0, run("- ears.wav --dry", "cat bed.mka | ")) << errors_;
  const std::vector<float> ears = read("ears.wav");
  ASSERT_EQ(plain.size(), ears.size());
  for (size_t i = 0; i < ears.size(); ++i) ASSERT_NEAR(plain[i], ears[i], 1e-5f);
}

// However early the program ends: ffmpeg, and what feeds it, are waiting for somebody to read on.
TEST_F(PipeTest, AnEarlyEndDoesNotWaitForTheRestOfAFilm) {
  write("bed.wav", "5.1", 48000, quiet_noise(6 * 48000));
  ASSERT_EQ(0, std::system(("cd " + folder_.string() +
                            " && ffmpeg -v error -stream_loop 20 -i bed.wav -c:a pcm_f32le big.mka")
                               .c_str()));
  EXPECT_EQ(1, run("- out.wav --layout 7.1", "cat big.mka | timeout 60 "));
  EXPECT_NE(errors_.find("-: "), std::string::npos) << errors_;
  EXPECT_EQ(1, run("- out.txt", "cat big.mka | timeout 60 "));
  EXPECT_EQ(0, run("- - --library " ORVANE_LIBRARY
                   " 2>said; echo $? >status) | (sleep 0.5; head -c 1000)",
                   "(cat big.mka | timeout 60 "));
  EXPECT_EQ(1000u, log().size());
  EXPECT_EQ("141\n", text_of("status"));  // of SIGPIPE
  EXPECT_FALSE(std::filesystem::exists(path("out.wav")));
}

TEST(ByteSourceTest, StopsWaiting) {
  int ends[2];
  ASSERT_EQ(0, pipe(ends));
  ByteSource source("pipe", ends[0]);
  std::thread stopper([&] {
    usleep(20000);
    source.stop();
  });
  char byte;
  EXPECT_EQ(0u, source.read(&byte, 1));
  stopper.join();
  close(ends[1]);
}

TEST_F(PipeTest, LayoutsThatAreUnknownAreNotGuessed) {
  const struct {
    const char* tag;  // the last two bytes are the count
    const char* error;
  } cases[] = {
      {"\0\x79\0\6", ""},                             // 5.1
      {"\0\x93\0\6", ""},                             // one channel after the other
      {"\xFF\xFF\0\6", ""},                           // unknown
      {"\0\x6E\0\6", "channel 1 is layout tag 110"},  // a hexagon
      {"\0\x79\0\7", "channel 1 is layout tag 121"},
      {"\0\0\0\0", "channel 1 is layout tag 0"},  // no descriptions follow
  };
  for (const char* name : {"bed.caf", "bed.aiff"}) {
    write(name, "5.1", 48000, quiet_noise(6 * 480));
    const std::string bytes = text_of(name);
    const bool is_caf = name == std::string("bed.caf");
    const size_t at = is_caf ? bytes.find("chan") + 12 : bytes.find("CHAN") + 8;
    ASSERT_LT(at, bytes.size());
    for (const auto& c : cases) {
      std::string changed = bytes;
      changed.replace(at, 4, c.tag, 4);
      changed.replace(at + 8, 4, 4, '\0');
      std::ofstream(path(name), std::ios::binary) << changed;
      EXPECT_EQ(*c.error ? 1 : 0, run(name + std::string(" out.wav"))) << errors_;
      EXPECT_NE(errors_.find(c.error), std::string::npos) << errors_;
      if (!*c.error) continue;
      EXPECT_EQ(0, run(name + std::string(" out.wav --channels wave --layout 5.1"))) << errors_;
    }
  }
}

TEST(ProbeTest, ReadsWhatFfprobeWritesAndRefusesTheRest) {
  const MediaInfo info = probe_parse(
      "streams.stream.0.index=0\nstreams.stream.0.codec_type=\"video\"\n"
      "streams.stream.1.codec_type=\"audio\"\nstreams.stream.1.channels=6\n"
      "streams.stream.1.channel_layout=\"5.1(side)\"\nstreams.stream.1.sample_rate=\"48000\"\n"
      "streams.stream.1.tags.title=\"a \\\"b\\\"\\nc\"\nstreams.stream.2.channels=-1\n"
      "streams.stream.2.duration=\"N/A\"\nformat.tags.TITLE=\"Film\"\n");
  ASSERT_EQ(3u, info.streams.size());
  EXPECT_EQ(1u, info.of_kind("audio").size());
  EXPECT_EQ(6u, info.streams[1].channels);
  EXPECT_EQ(48000, info.streams[1].sample_rate_hz);
  EXPECT_EQ("a \"b\"\nc", info.streams[1].title);
  EXPECT_EQ(0u, info.streams[2].channels);
  EXPECT_EQ("Film", info.tags.at("title"));
  for (const char* text : {"what", "streams.stream.x.index=0", "streams.stream.99999999.index=0",
                           "streams.stream.1=0"}) {
    EXPECT_THROW(probe_parse(text), BadText) << text;
  }
}

}  // namespace
}  // namespace render
