// SPDX-License-Identifier: Apache-2.0
#include "tools/render/render.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <utility>

#include "tools/render/audio_input.h"
#include "tools/render/bed_source.h"
#include "tools/render/decibels.h"
#include "tools/render/failure.h"
#include "tools/render/files.h"
#include "tools/render/interrupt.h"
#include "tools/render/loudness.h"
#include "tools/render/rate_output.h"
#include "tools/render/render_pass.h"
#include "tools/render/spool.h"
#include "tools/render/text.h"

namespace render {
namespace {

constexpr double kNormalizedPeakDb = -1.0;  // true peak, EBU R 128
const std::vector<Speaker> kEars = {Speaker::kFrontLeft, Speaker::kFrontRight};

void refuse_same_file(const std::string& input, const std::string& output) {
  std::error_code error;
  if (input == "-" || output == "-") return;  // pipes, whatever files are called so
  if (std::filesystem::equivalent(file_path(input), file_path(output), error)) {
    throw Failure(output, "is the input file as well");
  }
}

void print_notice(const std::string& file, const std::string& notice) {
  std::fprintf(stderr, "orvane-render: %s: note: %s\n", file.c_str(), notice.c_str());
}

void print_room_notice(const Options& options) {
  if (!options.settings.has_unheard_room()) return;
  print_notice(options.output, "the room is only heard with --reflections 1...4");
}

float louder_peak(const EarLevels& levels) { return std::max(levels[0].peak, levels[1].peak); }

void refuse_clipping(const Report& report) {
  const uint64_t count = report.levels[0].over_full_scale + report.levels[1].over_full_scale;
  if (count == 0) return;
  const double peak_db = decibels_from_factor(static_cast<double>(louder_peak(report.levels)));
  throw Failure(report.output,
                text_format("%llu samples clip, the peak is %+.2f dBFS: try --normalize",
                            static_cast<unsigned long long>(count), peak_db));
}

// The gain that --normalize or --loudness asks for. None for silence.
double leveling_gain_db(const Options& options, const Loudness& heard) {
  if (!heard.peak_dbtp) return 0.0;
  const double most = kNormalizedPeakDb - *heard.peak_dbtp;
  if (!options.loudness_lufs) return most;
  return heard.lufs ? std::min(most, *options.loudness_lufs - *heard.lufs) : 0.0;
}

void print_warnings(const Options& options, const Bed& bed) {
  for (const std::string& warning : bed.warnings()) {
    if (options.strict) throw Failure(options.input.path, warning);
    std::fprintf(stderr, "orvane-render: %s: warning: %s\n", options.input.path.c_str(),
                 warning.c_str());
  }
}

// The bed of options.input.
class Recording final : public Bed {
 public:
  explicit Recording(const Options& options)
      : input_(audio_input_open(options.input)),
        plan_(channel_plan_make(options.input.path, input_->labels(), options.channels)),
        source_(*input_, plan_) {
    if (!options.measure || plan_.layout->ambisonic_order > 0) return;  // a field has no loudness
    meter_.emplace(plan_.labels, kEffectRateHz);
    source_.set_meter(&*meter_);
  }

  const AudioInput& input() const { return *input_; }
  const ChannelPlan& plan() const { return plan_; }
  const std::optional<LoudnessMeter>& meter() const { return meter_; }
  const Layout& layout() const override { return source_.layout(); }
  uint64_t expected_frames() const override { return source_.expected_frames(); }
  bool is_length_certain() const override { return source_.is_length_certain(); }
  std::vector<std::string> warnings() const override { return source_.warnings(); }
  size_t read(float* bed, size_t count) override { return source_.read(bed, count); }

 private:
  std::unique_ptr<AudioInput> input_;
  ChannelPlan plan_;
  std::optional<LoudnessMeter> meter_;
  BedSource source_;
};

// As many frames of the effect's last as long at another rate.
uint64_t frames_at(int rate_hz, uint64_t frames) {
  const double ratio = static_cast<double>(rate_hz) / kEffectRateHz;
  return static_cast<uint64_t>(std::llround(static_cast<double>(frames) * ratio));
}

std::unique_ptr<AudioOutput> open_output(const Options& options, uint64_t expected_frames,
                                         const OutputSource& source) {
  AudioSpec spec;
  spec.sample_rate_hz = options.output_rate_hz;
  spec.expected_frames = frames_at(options.output_rate_hz, expected_frames);
  spec.sample_format = options.sample_format;
  spec.codec = options.codec;
  spec.replace = options.replace;
  spec.source = source;
  auto output = audio_output_open(options.output, spec);
  if (options.output_rate_hz == kEffectRateHz) return output;
  return std::make_unique<RateOutput>(std::move(output), options.output, options.output_rate_hz);
}

// The last steps of every sample.
class Finish {
 public:
  Finish(const Options& options, AudioOutput* output, Report* report)
      : output_(output), report_(report) {
    if (options.measure) meter_.emplace(kEars, kEffectRateHz);
  }

  void write(float* ears, size_t frames) {
    const float gain = static_cast<float>(decibels_to_factor(report_->gain_db));
    for (size_t i = 0; i < frames * 2; ++i) ears[i] *= gain;
    report_measure(&report_->levels, ears, frames);
    if (meter_) meter_->add(ears, frames);
    output_->write(ears, frames);
    report_->output_frames += frames;
  }

  void end() {
    if (meter_) report_->output_loudness = meter_->loudness();
  }

 private:
  AudioOutput* output_;
  Report* report_;
  std::optional<LoudnessMeter> meter_;
};

// Hands over all but the first `skip` frames.
void run(RenderPass* pass, size_t skip, const RenderPass::Sink& sink) {
  pass->run([&](float* ears, size_t frames) {
    const size_t skipped = std::min(skip, frames);
    skip -= skipped;
    if (frames > skipped) sink(ears + 2 * skipped, frames - skipped);
  });
}

// Renders onto the disk and measures there, then writes at the gain that is found.
void run_leveled(const Options& options, RenderPass* pass, size_t skip, Report* report,
                 Finish* finish) {
  Spool spool(options.output);
  LoudnessMeter meter(kEars, kEffectRateHz);
  run(pass, skip, [&](float* ears, size_t frames) {
    meter.add(ears, frames);
    spool.write(ears, 2 * frames);
  });
  report->gain_db = options.gain_db + leveling_gain_db(options, meter.loudness());
  std::vector<float> ears(2 * kEffectMaxFrames);
  while (const size_t samples = spool.read(ears.data(), ears.size())) {
    interrupt_check();
    finish->write(ears.data(), samples / 2);
  }
}

OutputSource source_of(const InputRequest& request, const AudioInput& input) {
  OutputSource source;
  std::error_code error;
  const bool is_file =
      request.path != "-" && std::filesystem::is_regular_file(file_path(request.path), error);
  if (is_file && !request.raw) source.path = request.path;
  source.media = input.media();
  source.stream = input.stream();
  source.tags = input.tags();
  return source;
}

}  // namespace

Report render_bed(const Options& options, Bed& bed, const OutputSource& source) {
  const auto start = std::chrono::steady_clock::now();
  RenderPass pass(options, bed);
  const size_t skip = options.keep_latency ? 0 : kEarLatencyFrames;
  const uint64_t expected = pass.expected_frames();
  const std::unique_ptr<AudioOutput> output = open_output(
      options, bed.is_length_certain() && expected > skip ? expected - skip : 0, source);
  print_room_notice(options);
  if (!pass.notice().empty()) print_notice(options.trajectory, pass.notice());

  Report report;
  report.output = options.output;
  report.gain_db = options.gain_db;
  Finish finish(options, output.get(), &report);
  if (options.normalize || options.loudness_lufs) {
    run_leveled(options, &pass, skip, &report, &finish);
  } else {
    run(&pass, skip, [&](float* ears, size_t frames) { finish.write(ears, frames); });
  }
  finish.end();
  report.layout = bed.layout().name;
  report.output_format = output->format();
  report.output_rate_hz = options.output_rate_hz;
  report.output_frames = frames_at(options.output_rate_hz, report.output_frames);
  if (options.fail_on_clip) refuse_clipping(report);
  print_warnings(options, bed);
  output->commit();
  for (const std::string& notice : output->notices()) print_notice(options.output, notice);
  report.seconds_taken =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return report;
}

Report render_file(const Options& options) {
  Recording recording(options);
  refuse_same_file(options.input.path, options.output);
  for (const std::string& notice : recording.plan().notices) {
    print_notice(options.input.path, notice);
  }
  Report report = render_bed(options, recording, source_of(options.input, recording.input()));
  report.input = options.input.path;
  report.input_rate_hz = recording.input().sample_rate_hz();
  report.input_frames = recording.input().position();
  if (recording.meter()) report.input_loudness = recording.meter()->loudness();
  return report;
}

}  // namespace render
