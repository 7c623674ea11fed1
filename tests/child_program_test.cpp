// SPDX-License-Identifier: Apache-2.0
// Programs that orvane-render starts, and orvane-render as a program that is started.
#include <signal.h>

#include "tests/support/render_program.h"
#include "tools/render/subprocess.h"

namespace render {
namespace {

using ChildProgramTest = RenderProgramTest;

// A service may start a program without standard streams; pipes then get their numbers.
TEST_F(ChildProgramTest, NeedsNoStandardStreamsOfItsOwn) {
  const pid_t child = fork();
  if (child == 0) {
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) close(fd);
    Subprocess program({"sh", "-c", "cat; echo no >&2"}, Subprocess::kInput | Subprocess::kOutput);
    char back[4] = {};
    const bool wrote = program.write("yes", 3);
    program.close_input();
    const bool is_back = program.read(back, 3) == 3 && back == std::string("yes");
    _exit(wrote && is_back && program.wait() == 0 && program.errors().size() == 1 ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(0, status);
}

// Before all of the input is there: what has been written is less than 100 ms behind.
TEST_F(ChildProgramTest, SoundComesOutWhileMoreIsAwaited) {
  constexpr size_t kFrames = 7000;  // fewer than a pipe holds
  const std::vector<float> bed(6 * kFrames, 0.1f);
  Subprocess program({ORVANE_RENDER_PROGRAM, "--library", ORVANE_LIBRARY, "--raw", "f32",
                      "--layout", "5.1", "-", "-"},
                     Subprocess::kInput | Subprocess::kOutput);
  ASSERT_TRUE(program.write(bed.data(), bed.size() * sizeof(float)));
  std::vector<char> wav(44 + (kFrames - 4800) * 2 * sizeof(float));
  EXPECT_EQ(wav.size(), program.read(wav.data(), wav.size()));
}

TEST_F(ChildProgramTest, FilesWithAnyNameAreReadAndNothingElseIsOpened) {
  write("-f.wav", "5.1", 48000, quiet_noise(6 * 480));
  for (const char* name : {"-v.mka", "a\nb.mka", "a%d:b'.mka"}) {
    Subprocess ffmpeg({"ffmpeg", "-v", "error", "-i", "file:" + path("-f.wav"), "-c:a", "flac",
                       "file:" + path(name)},
                      Subprocess::kNone);
    ASSERT_EQ(0, ffmpeg.wait());
    std::filesystem::current_path(folder_);
    Subprocess program(
        {ORVANE_RENDER_PROGRAM, "--library", ORVANE_LIBRARY, "--dry", "--", name, "-o.wav"},
        Subprocess::kNone);
    EXPECT_EQ(0, program.wait()) << name << (program.errors().empty() ? "" : program.errors()[0]);
    EXPECT_EQ(480u + 110u, read("-o.wav").size() / 2) << name;
    std::filesystem::remove(path("-o.wav"));
  }
  std::ofstream(path("net.m3u8")) << "#EXTM3U\n#EXT-X-TARGETDURATION:9\n#EXTINF:9,\n"
                                  << "http://127.0.0.1:9/a.ts\n";
  EXPECT_EQ(1, run("net.m3u8 out.wav"));
  EXPECT_NE(errors_.find("net.m3u8: is a playlist, not sound"), std::string::npos) << errors_;
  std::filesystem::current_path("/");
}

TEST_F(ChildProgramTest, TheDecoderEndsWithTheProgram) {
  write("bed.wav", "5.1", 48000, quiet_noise(6 * 48000));
  ASSERT_EQ(0, std::system(("cd " + folder_.string() +
                            " && ffmpeg -v error -stream_loop 600 -i bed.wav -c:a flac long.mka")
                               .c_str()));
  for (const int signal : {SIGKILL, SIGTERM, SIGHUP}) {
    Subprocess program(
        {ORVANE_RENDER_PROGRAM, "--library", ORVANE_LIBRARY, path("long.mka"), path("out.wav")},
        Subprocess::kNone);
    const std::string id = std::to_string(program.pid());
    pid_t decoder = 0;  // the last child, after ffprobe
    for (int i = 0; i < 4000 && decoder >= 0; ++i) {
      std::ifstream("/proc/" + id + "/task/" + id + "/children") >> decoder;
      if (count_files() == 3) break;  // its temporary file
      usleep(1000);
    }
    ASSERT_GT(decoder, 0);
    kill(program.pid(), signal);
    EXPECT_EQ(128 + signal, program.wait());
    for (int i = 0; i < 2000 && kill(decoder, 0) == 0; ++i) usleep(1000);
    EXPECT_NE(0, kill(decoder, 0)) << signal;
    EXPECT_FALSE(std::filesystem::exists(path("out.wav")));
    if (signal != SIGKILL) {
      EXPECT_TRUE(holds_only({"bed.wav", "long.mka"})) << signal;
    }
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
      if (entry.path().filename().string().starts_with(".")) std::filesystem::remove(entry);
    }
  }
}

TEST_F(ChildProgramTest, EndlessWordsOfFfprobeAreCutShort) {
  std::ofstream(path("ffprobe")) << "#!/bin/sh\nexec yes format.tags.title=Film\n";
  std::filesystem::permissions(path("ffprobe"), std::filesystem::perms::owner_all);
  std::ofstream(path("film.mkv")) << "anything";
  EXPECT_EQ(1, run("film.mkv out.wav", "PATH=.:$PATH timeout 60 "));
  EXPECT_NE(errors_.find("film.mkv: ffprobe does not come to an end"), std::string::npos)
      << errors_;
}

}  // namespace
}  // namespace render
