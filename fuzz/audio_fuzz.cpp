// SPDX-License-Identifier: Apache-2.0
// The host renderer on any bytes as its audio file. Faults inside libsndfile and soxr are theirs.
#include <dlfcn.h>

#include "fuzz/input.h"
#include "fuzz/temporary.h"
#include "tools/render/audio_reader.h"
#include "tools/render/bed_source.h"
#include "tools/render/effect_host.h"
#include "tools/render/failure.h"
#include "tools/render/render.h"

namespace {

constexpr uint64_t kMostFrames = 5000;  // that are read; longer files are not rendered
constexpr size_t kBlock = 64;

render::Options options_of(Input* input) {
  render::Options options;
  const uint8_t layout = input->take<uint8_t>();
  const uint8_t flags = input->take<uint8_t>();
  if (layout < 0x80)
    options.channels.layout = render::layouts()[layout % render::layouts().size()].name;
  if (flags & 1) options.channels.channels = "bs2051";
  options.channels.input_order = static_cast<render::InputOrder>(flags >> 1 & 1);
  options.normalize = (flags & 0x0C) == 0x0C;
  options.fail_on_clip = (flags & 0x30) == 0x30;
  const bool in_a_room = (flags & 0x40) != 0;
  options.block_frames = in_a_room ? 100 : render::kEffectMaxFrames;
  options.settings.set_assignment("", in_a_room ? "reverb.decay=0.05" : "reverb.enable=0");
  options.settings.set_assignment("", in_a_room ? "reflections.mode=1" : "reflections.mode=0");
  if (flags & 0x80) options.pose = render::Pose{30.0, 0.0, 0.0};
  options.keep_latency = true;
  options.library = ORVANE_LIBRARY;
  return options;
}

// What a look at the whole file has found.
struct Survey {
  uint64_t frames_at_effect_rate;
  bool is_short;
  bool is_readable = true;  // as far as was looked at
  bool is_tame = true;
  bool is_whole = false;  // has the frames that its header says
};

Survey survey(const std::string& path) {
  render::AudioReader reader(path);
  require(reader.channels() > 0 && reader.sample_rate_hz() > 0, "an open file holds audio");
  require(reader.labels().speakers.size() == reader.channels(),
          "every channel has a label or none");
  const double ratio = static_cast<double>(render::kEffectRateHz) / reader.sample_rate_hz();
  const double frames = static_cast<double>(reader.frames()) * ratio;
  Survey survey = {.frames_at_effect_rate = 0,
                   .is_short = frames <= kMostFrames && reader.frames() <= kMostFrames};
  if (survey.is_short) survey.frames_at_effect_rate = static_cast<uint64_t>(std::llround(frames));
  std::vector<float> block(reader.channels() * kBlock);
  try {
    for (size_t done = 0, read = 1; read > 0 && done < kMostFrames; done += read) {
      read = reader.read(block.data(), kBlock);
      require(read <= kBlock, "a reader delivers at most what was asked for");
      const std::span<const float> samples(block.data(), read * reader.channels());
      survey.is_tame = survey.is_tame && std::all_of(samples.begin(), samples.end(), is_tame);
    }
    survey.is_whole = reader.position() == reader.frames();
  } catch (const render::Failure&) {
    survey.is_readable = false;
  }
  return survey;
}

void render_if_short(const render::Options& options) {
  const Survey file = survey(options.input.path);
  if (!file.is_short || !render::AudioReader::reads(options.input.path)) return;
  const render::Report report = render::render_file(options);
  require(file.is_readable, "what cannot be read is not rendered");
  const uint64_t expected =
      file.frames_at_effect_rate + render::settings_tail_frames(options.settings);
  require(!file.is_whole || report.output_frames + 1 >= expected, "all of a file is rendered");
  require(report.output_frames <= expected + 1, "no more than a file is rendered");
  render::AudioReader ears(options.output);
  require(ears.channels() == 2 && ears.frames() == report.output_frames, "the ears are written");
  std::vector<float> samples(2 * report.output_frames);
  if (file.is_tame)
    require(ears.read(samples.data(), report.output_frames) == report.output_frames,
            "the ears are finite");  // the reader refuses others
  std::filesystem::remove(options.output);
}

// What a rendering does before the effect.
void read_bed(const render::Options& options) {
  render::AudioReader reader(options.input.path);
  const render::ChannelPlan plan =
      render::channel_plan_make(options.input.path, reader.labels(), options.channels);
  require(plan.labels.size() == reader.channels(), "every channel has its place");
  for (size_t channel = 0; channel < reader.channels(); ++channel) {
    require(std::count(plan.file_channels.begin(), plan.file_channels.end(), channel) == 1,
            "every channel is heard once");
  }
  render::BedSource source(reader, plan);
  std::vector<float> bed(plan.layout->rows.size() * kBlock);
  for (size_t done = 0, read = 1; read > 0 && done < kMostFrames; done += read) {
    read = source.read(bed.data(), kBlock);
    require(read <= kBlock, "a bed delivers at most what was asked for");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Each rendering opens the library anew; here it stays, for the fuzzer counts its coverage.
  static void* const library = dlopen(ORVANE_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  require(library, "the library is there");
  static const TemporaryFolder folder;
  Input input(data, size);
  render::Options options = options_of(&input);
  const uint32_t use = input.below(32);
  const bool renders = use < 3;  // seldom: an effect takes as long to make as ten files to read
  options.threads = use == 2 ? 2 : 1;
  const MemoryFile file(input.text());
  options.input.path = file.path();
  options.output = folder.path() / "ears.wav";
  try {
    renders ? render_if_short(options) : read_bed(options);
  } catch (const render::Failure&) {
    // What the user is told.
  }
  require(std::filesystem::is_empty(folder.path()), "a failure leaves nothing behind");
  return 0;
}
