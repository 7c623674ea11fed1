// SPDX-License-Identifier: Apache-2.0
// Films: what goes in comes out, in time, with another sound before the others.
#include <cmath>

#include "tests/support/render_program.h"
#include "tools/render/loudness.h"
#include "tools/render/probe.h"
#include "tools/render/subprocess.h"

namespace render {
namespace {

constexpr size_t kClick = 48000;  // frame of the source at which a click sounds and a flash shows

class FilmTest : public RenderProgramTest {
 protected:
  // What a command prints; it succeeds.
  std::string output_of(const std::string& command) {
    EXPECT_EQ(0, std::system(("cd " + folder_.string() + " && " + command + " >printed").c_str()))
        << command;
    return text_of("printed");
  }

  // Three seconds of picture with a flash, 5.1 with a click in the centre and speech-like noise, a
  // stereo commentary that begins late, subtitles, a chapter and tags.
  void make_film(const std::string& name, const std::string& sound, const std::string& options) {
    std::vector<float> bed(6 * 3 * 48000);
    for (size_t i = 0; i < 4; ++i) bed[6 * (kClick + i) + 2] = 0.8f;
    write("bed.wav", "5.1", 48000, bed);
    std::ofstream(path("s.srt")) << "1\n00:00:01,000 --> 00:00:02,000\nhello\n";
    std::ofstream(path("c.txt")) << ";FFMETADATA1\ntitle=Night\n[CHAPTER]\nTIMEBASE=1/1\nSTART=0\n"
                                    "END=2\ntitle=One\n";
    output_of(
        "ffmpeg -v error -y -f lavfi -i "
        "\"testsrc2=s=96x64:r=25:d=3,drawbox=t=fill:c=white:enable='eq(n,25)'\" -i bed.wav "
        "-itsoffset 0.5 -f lavfi -i anoisesrc=d=2:a=0.1:r=48000 -i s.srt -i c.txt -map 0 -map 1 "
        "-map 2 -map 3 -map_metadata 4 -map_chapters 4 -c:v mpeg4 -bf 2 -metadata:s:a:0 "
        "language=eng -c:a:0 " +
        sound + " -c:a:1 aac " + options + " " + name);
  }

  MediaInfo probe(const char* name) { return probe_file(path(name)); }

  // The frame at which the first sound stream of a film is loudest.
  size_t click_of(const std::string& name) {
    output_of("ffmpeg -v error -y -copyts -i " + name +
              " -map 0:a:0 -af aresample=async=1:first_pts=0 -ar 48000 -c:a pcm_f32le click.wav");
    const std::vector<float> ears = read("click.wav");
    size_t peak = 0;
    for (size_t i = 0; i < ears.size(); ++i) {
      if (std::fabs(ears[i]) > std::fabs(ears[peak])) peak = i;
    }
    return peak / 2;
  }

  std::string picture_of(const std::string& name) {
    return output_of("ffmpeg -v error -i " + name + " -map 0:v -c copy -f md5 -");
  }

  std::string first_picture(const std::string& name) {
    return output_of(
        "ffprobe -v error -select_streams v -show_entries packet=pts_time -of csv=p=0 " + name +
        " | sort -n | head -1");
  }
};

TEST_F(FilmTest, KeepsPictureAndStreamsAndTheClickAtTheFlash) {
  make_film("film.mkv", "flac", "-c:s srt");
  const struct {
    const char* out;
    const char* options;
    const char* codec;
    size_t sounds;
    const char* subtitles;
  } cases[] = {
      {"out.mkv", "", "flac", 3, "subrip"},
      {"lone.mkv", "--replace --codec opus", "opus", 2, "subrip"},
      {"out.mp4", "", "aac", 3, "mov_text"},
      {"out.mov", "--codec alac", "alac", 2, "mov_text"},  // it holds no FLAC
  };
  const std::string picture = picture_of("film.mkv");
  ASSERT_EQ(0, run("bed.wav heard.wav --dry")) << errors_;
  const size_t heard = click_of("heard.wav");
  EXPECT_NEAR(kClick + 1.0, static_cast<double>(heard), 2.0);
  for (const auto& c : cases) {
    ASSERT_EQ(0, run(std::string("film.mkv ") + c.out + " --dry " + c.options)) << errors_;
    const MediaInfo info = probe(c.out);
    const auto sounds = info.of_kind("audio"), subtitles = info.of_kind("subtitle");
    ASSERT_EQ(c.sounds, sounds.size()) << c.out;
    EXPECT_EQ(c.codec, sounds[0]->codec);
    EXPECT_EQ(2u, sounds[0]->channels);
    EXPECT_EQ("eng", sounds[0]->language);
    EXPECT_TRUE(sounds[0]->is_default);
    for (size_t i = 1; i < sounds.size(); ++i) EXPECT_FALSE(sounds[i]->is_default) << c.out;
    ASSERT_EQ(1u, subtitles.size()) << c.out;
    EXPECT_EQ(c.subtitles, subtitles[0]->codec);
    EXPECT_EQ("Night", info.tags.at("title"));
    EXPECT_NE(output_of(std::string("ffprobe -v error -show_chapters ") + c.out).find("One"),
              std::string::npos);
    EXPECT_EQ(picture, picture_of(c.out)) << c.out;
    // Matroska's times are whole milliseconds, where a codec's delay is not.
    const double tolerance = c.codec == std::string("opus") ? 48.0 : 1.0;
    EXPECT_NEAR(48000.0 * std::stod(first_picture(c.out)) + static_cast<double>(heard),
                static_cast<double>(click_of(c.out)), tolerance)
        << c.out;
  }
}

// The stereo commentary begins half a second late, which has to be heard.
TEST_F(FilmTest, AStreamIsChosenAndKeepsItsDelay) {
  make_film("film.mkv", "ac3", "-c:s srt");
  ASSERT_EQ(0, run("info film.mkv")) << errors_;
  EXPECT_NE(log().find("stream    * 1  ac3, 6 channels, 5.1(side), eng\nstream      2  aac, "),
            std::string::npos)
      << log();
  ASSERT_EQ(0, run("film.mkv out.wav --dry --stream 2")) << errors_;
  const std::vector<float> ears = read("out.wav");
  size_t first = 0;
  while (first < ears.size() && std::fabs(ears[first]) < 0.001f) ++first;
  EXPECT_NEAR(24000.0, static_cast<double>(first / 2), 1300.0);  // AAC fades in over a frame
  EXPECT_EQ(1, run("film.mkv out.wav --stream 3"));
  EXPECT_NE(errors_.find("film.mkv: has no sound stream 3, only 1 to 2"), std::string::npos);
}

// Packets that are missing are silence, and what follows them stays on time. One channel without
// a label is the centre.
TEST_F(FilmTest, AGapIsHeardAsOne) {
  output_of(
      "ffmpeg -v error -y -f lavfi -i sine=f=440:d=5:r=48000 "
      "-af \"aselect='not(between(t,1,3))'\" -c:a pcm_s16le gap.mkv");
  ASSERT_EQ(0, run("gap.mkv out.wav --dry")) << errors_;
  const std::vector<float> ears = read("out.wav");
  EXPECT_NEAR(5.0 * 48000, static_cast<double>(ears.size() / 2), 2000.0);
  const auto loudest = [&](double begin_s, double end_s) {
    float peak = 0.0f;
    for (size_t i = static_cast<size_t>(96000 * begin_s); i < static_cast<size_t>(96000 * end_s);
         ++i) {
      peak = std::max(peak, std::fabs(ears[i]));
    }
    return peak;
  };
  EXPECT_GT(loudest(0.5, 0.9), 0.01f);
  EXPECT_LT(loudest(1.2, 2.8), 1e-5f);
  EXPECT_GT(loudest(3.2, 4.0), 0.01f);
}

TEST_F(FilmTest, SoundAloneKeepsItsTags) {
  write("bed.wav", "5.1", 48000, std::vector<float>(6 * 4800, 0.01f));
  for (const char* in : {"bed.flac", "bed.opus"}) {
    output_of("ffmpeg -v error -i bed.wav -metadata title=Night -metadata artist=Nobody " +
              std::string(in));
    for (const char* out : {"out.flac", "out.wav", "out.m4a", "out.opus", "out.mka"}) {
      ASSERT_EQ(0, run(std::string(in) + " " + out)) << errors_;
      const MediaInfo info = probe(out);
      ASSERT_EQ(1u, info.streams.size()) << out;
      const std::string tags = output_of(std::string("ffprobe -v error -show_entries "
                                                     "format_tags:stream_tags ") +
                                         out);
      EXPECT_NE(tags.find("Night"), std::string::npos) << in << " " << out << tags;
      EXPECT_NE(tags.find("Nobody"), std::string::npos) << in << " " << out << tags;
    }
  }
}

TEST_F(FilmTest, DamageIsAWarningAndWithStrictAFailure) {
  make_film("film.mkv", "ac3", "-c:s srt");
  std::string bytes = text_of("film.mkv");
  for (size_t i = bytes.size() / 2; i < bytes.size() / 2 + 30000 && i < bytes.size(); ++i) {
    bytes[i] = static_cast<char>(i * 7);
  }
  std::ofstream(path("film.mkv"), std::ios::binary) << bytes;
  EXPECT_EQ(0, run("film.mkv out.wav")) << errors_;
  EXPECT_NE(errors_.find("film.mkv: warning: ffmpeg says: "), std::string::npos) << errors_;
  std::filesystem::remove(path("out.wav"));
  EXPECT_EQ(1, run("film.mkv out.wav --strict"));
  EXPECT_FALSE(std::filesystem::exists(path("out.wav")));
}

TEST_F(FilmTest, LoudnessAndTruePeakAreWhatWasAskedFor) {
  std::vector<float> bed(6 * 48000 * 2);
  const std::vector<float> random = noise(bed.size() / 6, 1);
  for (size_t i = 0; i < random.size(); ++i) bed[6 * i] = bed[6 * i + 1] = 0.05f * random[i];
  write("bed.wav", "5.1", 48000, bed);
  const auto measured = [&](const std::string& arguments) {
    EXPECT_EQ(0, run("bed.wav out.wav " + arguments)) << errors_;
    const std::vector<float> ears = read("out.wav");
    LoudnessMeter meter({Speaker::kFrontLeft, Speaker::kFrontRight}, 48000);
    meter.add(ears.data(), ears.size() / 2);
    return meter.loudness();
  };
  EXPECT_NEAR(-30.0, *measured("--loudness -30").lufs, 0.01);
  EXPECT_NEAR(-1.0, *measured("--normalize").peak_dbtp, 0.01);
  EXPECT_NEAR(-1.0, *measured("--loudness 0").peak_dbtp, 0.01);
  EXPECT_NEAR(-33.0, *measured("--loudness -30 --gain -3 --measure").lufs, 0.01);
  EXPECT_NE(log().find("heard   out -33.0 LUFS"), std::string::npos) << log();
}

}  // namespace
}  // namespace render
