#include "tools/render/render.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>

#include "tools/render/audio_writer.h"
#include "tools/render/decibels.h"
#include "tools/render/failure.h"
#include "tools/render/render_pass.h"
#include "tools/render/text.h"

namespace render {
namespace {

constexpr double kNormalizedPeakDb = -1.0;  // room for what a converter makes between two samples

void refuse_same_file(const std::string& input, const std::string& output) {
  std::error_code error;
  if (std::filesystem::equivalent(input, output, error)) {
    throw Failure(output, "is the input file as well");
  }
}

void print_notice(const std::string& file, const std::string& notice) {
  std::fprintf(stderr, "orvane-render: %s: note: %s\n", file.c_str(), notice.c_str());
}

void print_notices(const Options& options, const ChannelPlan& plan) {
  for (const std::string& notice : plan.notices) print_notice(options.input, notice);
  if (options.settings.has_unheard_room()) {
    print_notice(options.output, "the room is only heard with --reflections 1...4");
  }
}

float louder_peak(const EarLevels& levels) { return std::max(levels[0].peak, levels[1].peak); }

// Gain that brings the louder ear to kNormalizedPeakDb, found by a passage that writes nothing.
// None for silence.
double normalizing_gain_db(const Options& options) {
  EarLevels levels;
  RenderPass(options).run(
      [&](float* ears, size_t frames) { report_measure(&levels, ears, frames); });
  const double peak = static_cast<double>(louder_peak(levels));
  return peak > 0.0 ? kNormalizedPeakDb - decibels_from_factor(peak) : 0.0;
}

void refuse_clipping(const Report& report) {
  const uint64_t count = report.levels[0].over_full_scale + report.levels[1].over_full_scale;
  if (count == 0) return;
  const double peak_db = decibels_from_factor(static_cast<double>(louder_peak(report.levels)));
  throw Failure(report.output,
                text_format("%llu samples clip, the peak is %+.2f dBFS: try --normalize",
                            static_cast<unsigned long long>(count), peak_db));
}

AudioSpec output_spec(const Options& options, uint64_t expected_frames) {
  AudioSpec spec;
  spec.sample_rate_hz = kEffectRateHz;
  spec.expected_frames = expected_frames;
  spec.sample_format = options.sample_format;
  return spec;
}

}  // namespace

Report render_file(const Options& options) {
  const auto start = std::chrono::steady_clock::now();
  RenderPass pass(options);
  refuse_same_file(options.input, options.output);
  AudioWriter writer(options.output, output_spec(options, pass.expected_frames()));
  print_notices(options, pass.plan());

  Report report;
  report.gain_db = options.gain_db + (options.normalize ? normalizing_gain_db(options) : 0.0);
  const float gain = static_cast<float>(decibels_to_factor(report.gain_db));
  report.output_frames = pass.run([&](float* ears, size_t frames) {
    for (size_t i = 0; i < frames * 2; ++i) ears[i] *= gain;
    report_measure(&report.levels, ears, frames);
    writer.write(ears, frames);
  });
  report.layout = pass.plan().layout->name;
  report.input = options.input;
  report.input_rate_hz = pass.reader().sample_rate_hz();
  report.input_frames = pass.reader().frames();
  report.output = options.output;
  report.output_format = writer.sample_format() == SampleFormat::kFloat32 ? "float" : "24-bit";
  report.output_rate_hz = kEffectRateHz;
  if (options.fail_on_clip) refuse_clipping(report);
  writer.commit();
  report.seconds_taken =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return report;
}

}  // namespace render
