#include "tools/render/render.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "tools/render/audio_reader.h"
#include "tools/render/audio_writer.h"
#include "tools/render/bed_source.h"
#include "tools/render/effect_host.h"
#include "tools/render/failure.h"
#include "tools/render/interrupt.h"
#include "tools/render/progress.h"

namespace render {
namespace {

void refuse_same_file(const std::string& input, const std::string& output) {
  std::error_code error;
  if (std::filesystem::equivalent(input, output, error)) {
    throw Failure(output, "is the input file as well");
  }
}

void print_notices(const std::string& file, const ChannelPlan& plan) {
  for (const std::string& notice : plan.notices) {
    std::fprintf(stderr, "orvane-render: %s: note: %s\n", file.c_str(), notice.c_str());
  }
}

// The effect fades over to a new pose within one block. A silent block, dropped, lets the first
// sample of the file have the pose already.
void settle_pose(EffectHost* effect, const Pose& pose, size_t channels, size_t frames) {
  std::vector<float> bed(frames * channels);
  std::vector<float> ears(frames * 2);
  effect->set_head_to_stage(pose_head_to_stage(pose));
  effect->process(bed.data(), ears.data(), frames);
}

struct Blocks {
  std::vector<float> bed;
  std::vector<float> ears;
  size_t frames;

  Blocks(size_t block_frames, size_t channels)
      : bed(block_frames * channels), ears(block_frames * 2), frames(block_frames) {}
};

// Renders the bed, then silence for as long as the effect sounds on. Returns the frames written.
uint64_t render_stream(BedSource* source, EffectHost* effect, AudioWriter* writer, Blocks blocks,
                       EarLevels* levels) {
  Progress progress(source->expected_frames(), kEffectRateHz);
  const size_t channels = blocks.bed.size() / blocks.frames;
  size_t tail = kEffectTailFrames;
  uint64_t written = 0;
  for (;;) {
    interrupt_check();
    size_t frames = source->read(blocks.bed.data(), blocks.frames);
    const size_t silent = std::min(tail, blocks.frames - frames);
    std::fill_n(blocks.bed.data() + frames * channels, silent * channels, 0.0f);
    tail -= silent;
    frames += silent;
    if (frames == 0) return written;
    effect->process(blocks.bed.data(), blocks.ears.data(), frames);
    report_measure(levels, blocks.ears.data(), frames);
    writer->write(blocks.ears.data(), frames);
    written += frames;
    progress.update(written);
  }
}

}  // namespace

Report render_file(const Options& options) {
  AudioReader reader(options.input);
  const ChannelPlan plan = channel_plan_make(options.input, reader.speakers(), options.channels);
  refuse_same_file(options.input, options.output);
  BedSource source(reader, plan);
  EffectHost effect(effect_library_find(options.library), plan.layout->mask);
  AudioSpec spec;
  spec.sample_rate_hz = kEffectRateHz;
  spec.expected_frames = source.expected_frames() + kEffectTailFrames;
  spec.sample_format = options.sample_format;
  AudioWriter writer(options.output, spec);
  print_notices(options.input, plan);

  const auto start = std::chrono::steady_clock::now();
  if (options.pose) settle_pose(&effect, *options.pose, reader.channels(), options.block_frames);
  Report report;
  report.output_frames = render_stream(
      &source, &effect, &writer, Blocks(options.block_frames, reader.channels()), &report.levels);
  writer.commit();
  report.seconds_taken =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  report.layout = plan.layout->name;
  report.input = options.input;
  report.input_rate_hz = reader.sample_rate_hz();
  report.input_frames = reader.frames();
  report.output = options.output;
  report.output_format = writer.sample_format() == SampleFormat::kFloat32 ? "float" : "24-bit";
  report.output_rate_hz = kEffectRateHz;
  return report;
}

}  // namespace render
