// SPDX-License-Identifier: Apache-2.0
// The table of docs/formats.md: each channel of many kinds of files, made by ffmpeg, and where it
// is heard. ORVANE_UPDATE_DOCS=1 in the environment writes the table anew.
#include <cmath>

#include "tests/support/render_program.h"
#include "tools/render/text.h"

namespace render {
namespace {

constexpr size_t kSlot = 9600, kBurst = 4800;  // frames
constexpr char kPage[] = ORVANE_SOURCE_DIR "/docs/formats.md";
constexpr char kTableStart[] = "| file | sound |";

struct Format {
  const char* file;
  const char* sound;   // for the table
  const char* labels;  // of the bed
  const char* options;
  const char* arguments = "";  // of orvane-render
};

constexpr char k5Point1[] = "FL,FR,FC,LFE,BL,BR", kSide[] = "FL,FR,FC,LFE,SL,SR",
               k7Point1[] = "FL,FR,FC,LFE,BL,BR,SL,SR",
               k5Point1Point4[] = "FL,FR,FC,LFE,BL,BR,TFL,TFR,TBL,TBR",
               k7Point1Point4[] = "FL,FR,FC,LFE,BL,BR,SL,SR,TFL,TFR,TBL,TBR";

constexpr char k22Point2[] =
    "FL,FR,FC,LFE,BL,BR,FLC,FRC,BC,SL,SR,TC,TFL,TFC,TFR,TBL,TBC,TBR,LFE2,TSL,TSR,BFC,BFL,BFR";

constexpr Format kFormats[] = {
    {"bed.wav", "PCM 24 bit", kSide, "-c:a pcm_s24le"},
    {"bed.wav", "float", k7Point1Point4, "-c:a pcm_f32le"},
    {"bed.w64", "float", k7Point1, "-c:a pcm_f32le"},
    {"bed.rf64.wav", "RF64, float", k5Point1, "-c:a pcm_f32le -rf64 always"},
    {"bed.caf", "PCM 16 bit", k5Point1Point4, "-c:a pcm_s16be"},
    {"bed.flac", "FLAC", k7Point1, "-c:a flac"},
    {"bed.flac", "FLAC with a mask", "FL,FR,FC,LFE,BL,BR,TFL,TFR", "-c:a flac"},
    {"bed.aiff", "PCM 24 bit", k5Point1, "-c:a pcm_s24be"},
    {"bed.au", "PCM 24 bit", k5Point1, "-c:a pcm_s24be"},
    {"bed.wv", "WavPack", k7Point1Point4, "-c:a wavpack"},
    {"bed.ogg", "Vorbis", k5Point1, "-c:a libvorbis"},
    {"bed.ogg", "Vorbis", k7Point1, "-c:a libvorbis"},
    {"bed.opus", "Opus", k5Point1, "-c:a libopus -mapping_family 1 -b:a 512k"},
    {"bed.opus", "Opus", k7Point1, "-c:a libopus -mapping_family 1 -b:a 512k"},
    {"bed.mp3", "MP3", "FL,FR", "-c:a libmp3lame"},
    {"bed.m4a", "ALAC", k5Point1, "-c:a alac"},
    {"bed.m4a", "AAC", "FC", "-c:a aac"},
    {"bed.mp4", "AAC", k5Point1, "-c:a aac -b:a 512k"},
    {"bed.mp4", "AAC", k7Point1, "-c:a aac -b:a 512k"},
    {"bed.mov", "PCM 24 bit", k5Point1, "-c:a pcm_s24le"},
    {"bed.mkv", "AC-3", kSide, "-c:a ac3 -b:a 640k"},
    {"bed.mkv", "E-AC-3", kSide, "-c:a eac3 -b:a 640k"},
    {"bed.mkv", "DTS", kSide, "-c:a dca -strict -2"},
    {"bed.mkv", "TrueHD", k5Point1, "-c:a truehd -strict -2"},
    {"bed.mkv", "Opus", k5Point1, "-c:a libopus -mapping_family 1 -b:a 512k"},
    {"bed.mkv", "FLAC", "FL,FR,BL,BR", "-c:a flac"},
    {"bed.mkv", "PCM, no labels", k7Point1Point4, "-c:a pcm_f32le"},
    {"bed.mkv", "PCM, no labels", "FL,FC,FR,BL,BR,LFE", "-c:a pcm_f32le",
     "--channels FL,FC,FR,BL,BR,LFE"},
    {"bed.mka", "PCM, no labels", k22Point2, "-c:a pcm_f32le"},
    {"bed.wav", "PCM 24 bit, 7.1(wide)", "FL,FR,FC,LFE,BL,BR,FLC,FRC", "-c:a pcm_s24le"},
    {"bed.flac", "FLAC 6.1", "FL,FR,FC,LFE,BC,SL,SR", "-c:a flac"},
    {"bed.wv", "WavPack 7.1.2", "FL,FR,FC,LFE,BL,BR,SL,SR,TFL,TFR", "-c:a wavpack"},
    {"bed.m4a", "ALAC 3.0", "FL,FR,FC", "-c:a alac"},
    {"bed.ts", "AC-3", kSide, "-c:a ac3 -b:a 640k"},
    {"bed.mka", "E-AC-3 5.0", "FL,FR,FC,SL,SR", "-c:a eac3"},
};

class FormatsTest : public RenderProgramTest {
 protected:
  // One burst per channel: noise, or a low tone from an LFE.
  void write_raw(const std::vector<Speaker>& speakers) {
    std::vector<float> bed(speakers.size() * speakers.size() * kSlot);
    for (size_t c = 0; c < speakers.size(); ++c) {
      const std::vector<float> random = noise(kBurst, static_cast<uint32_t>(c));
      float low = 0.0f;
      for (size_t i = 0; i < kBurst; ++i) {
        low += 0.3f * (0.5f * random[i] - low);
        const float fade = std::min(1.0f, 0.005f * static_cast<float>(std::min(i, kBurst - i)));
        const float tone = 0.3f * std::sin(0.00785f * static_cast<float>(i));
        bed[(c * kSlot + kSlot / 4 + i) * speakers.size() + c] =
            fade * (speaker_is_lfe(speakers[c]) ? tone : low);
      }
    }
    std::ofstream(path("bed.f32"), std::ios::binary)
        .write(reinterpret_cast<const char*>(bed.data()),
               static_cast<std::streamsize>(bed.size() * sizeof(float)));
  }

  // How much louder and earlier the left ear hears what sounds in a slot.
  std::string heard(const std::vector<float>& ears, size_t slot, double* ild_db) const {
    const size_t begin = slot * kSlot, end = std::min(begin + kSlot, ears.size() / 2);
    double energy[2] = {};
    for (size_t i = 2 * begin; i < 2 * end; ++i) energy[i % 2] += std::pow(ears[i], 2);
    double best = 0.0;
    int delay = 0;
    for (int lag = -48; lag <= 48; ++lag) {
      double sum = 0.0;
      for (size_t i = begin + 48; i + 48 < end; ++i) {
        sum += static_cast<double>(ears[2 * i]) *
               static_cast<double>(ears[2 * static_cast<size_t>(static_cast<int>(i) + lag) + 1]);
      }
      if (sum > best) {
        best = sum;
        delay = lag;
      }
    }
    *ild_db = 10.0 * std::log10(energy[0] / energy[1]);
    return text_format("%.0f dB %.1f ms", std::round(*ild_db) + 0.0, delay / 48.0);  // no -0
  }

  std::string row(const Format& format) {
    const std::vector<Speaker> speakers = labels_read(format.labels, ',').speakers;
    write_raw(speakers);
    const std::string make =
        "cd " + folder_.string() + " && ffmpeg -v error -y -f f32le -ar 48000 " + "-ch_layout " +
        labels_to_ffmpeg(speakers) + " -i bed.f32 " + format.options + " " + format.file;
    EXPECT_EQ(0, std::system(make.c_str())) << make;
    EXPECT_EQ(0, run(std::string("info ") + format.file + " " + format.arguments)) << log();
    const std::string info = log();
    const auto field = [&](const std::string& name) {
      const size_t at = info.find("\n" + name);
      return at == std::string::npos ? "" : info.substr(at + 11, info.find('\n', at + 1) - at - 11);
    };
    EXPECT_EQ(0, run(std::string(format.file) + " ears.wav --dry " + format.arguments)) << errors_;
    const std::vector<float> ears = read("ears.wav");
    std::string text = text_format("| %s | %s | %s | %s |", text_extension(format.file).c_str(),
                                   format.sound, field("map").c_str(), field("layout").c_str());
    for (size_t c = 0; c < speakers.size(); ++c) {
      const std::string name = speaker_name(speakers[c]);
      double ild_db = 0.0;
      const std::string where = heard(ears, c, &ild_db);
      text += std::string(c ? ", " : " ") + name;
      if (speaker_is_lfe(speakers[c])) continue;
      text += " " + where;
      const bool is_left = name.find('L') != name.npos, is_right = name.find('R') != name.npos;
      EXPECT_GT(is_left    ? ild_db
                : is_right ? -ild_db
                           : 1.0 - std::fabs(ild_db),
                is_left || is_right ? 1.5 : 0.0)
          << format.file << " " << format.sound << " " << name;
    }
    std::filesystem::remove(path(format.file));
    return text + " |";
  }
};

// Levels within 1 dB and times within 0.1 ms are the same: encoders differ a little.
bool same(const std::string& a, const std::string& b) {
  const auto x = text_split(a, ' '), y = text_split(b, ' ');
  if (x.size() != y.size()) return false;
  for (size_t i = 0; i < x.size(); ++i) {
    const auto m = text_number(x[i]), n = text_number(y[i]);
    if (m && n && i + 1 < x.size()) {
      if (std::fabs(*m - *n) > (x[i + 1].starts_with("dB") ? 1.01 : 0.11)) return false;
    } else if (x[i] != y[i]) {
      return false;
    }
  }
  return true;
}

TEST_F(FormatsTest, EachChannelIsHeardWhereTheDocumentSays) {
  std::string table;
  std::vector<std::string> rows;
  for (const Format& format : kFormats) rows.push_back(row(format));
  std::stringstream page;
  page << std::ifstream(kPage).rdbuf();
  const std::string text = page.str();
  const size_t start = text.find(kTableStart);
  ASSERT_NE(start, std::string::npos) << kPage;
  const size_t first = text.find('\n', text.find('\n', start) + 1) + 1;
  size_t end = first;
  while (text.compare(end, 1, "|") == 0) end = text.find('\n', end) + 1;
  if (std::getenv("ORVANE_UPDATE_DOCS")) {
    std::ofstream out(kPage);
    out << text.substr(0, first);
    for (const std::string& row : rows) out << row << "\n";
    out << text.substr(end);
    return;
  }
  std::istringstream documented(text.substr(first, end - first));
  for (const std::string& row : rows) {
    std::string line;
    std::getline(documented, line);
    EXPECT_TRUE(same(line, row)) << line << "\n" << row;
  }
  EXPECT_EQ(documented.peek(), EOF);
}

}  // namespace
}  // namespace render
