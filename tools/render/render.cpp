#include "tools/render/render.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>

#include "tools/render/audio_reader.h"
#include "tools/render/audio_writer.h"
#include "tools/render/bed_source.h"
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

void print_room_notice(const Options& options) {
  if (!options.settings.has_unheard_room()) return;
  print_notice(options.output, "the room is only heard with --reflections 1...4");
}

float louder_peak(const EarLevels& levels) { return std::max(levels[0].peak, levels[1].peak); }

// Gain that brings the louder ear to kNormalizedPeakDb, found by a passage that writes nothing.
// None for silence.
double normalizing_gain_db(const Options& options, Bed& bed) {
  EarLevels levels;
  RenderPass(options, bed).run([&](float* ears, size_t frames) {
    report_measure(&levels, ears, frames);
  });
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

// The bed of options.input.
class Recording final : public Bed {
 public:
  explicit Recording(const Options& options)
      : reader_(options.input),
        plan_(channel_plan_make(options.input, reader_.labels(), options.channels)),
        source_(reader_, plan_) {}

  const AudioReader& reader() const { return reader_; }
  const ChannelPlan& plan() const { return plan_; }
  const Layout& layout() const override { return source_.layout(); }
  uint64_t expected_frames() const override { return source_.expected_frames(); }
  size_t read(float* bed, size_t count) override { return source_.read(bed, count); }

 private:
  AudioReader reader_;
  ChannelPlan plan_;
  BedSource source_;
};

AudioSpec output_spec(const Options& options, uint64_t expected_frames) {
  AudioSpec spec;
  spec.sample_rate_hz = kEffectRateHz;
  spec.expected_frames = expected_frames;
  spec.sample_format = options.sample_format;
  return spec;
}

}  // namespace

Report render_bed(const Options& options, const OpenBed& open) {
  const auto start = std::chrono::steady_clock::now();
  const std::unique_ptr<Bed> bed = open();
  RenderPass pass(options, *bed);
  AudioWriter writer(options.output, output_spec(options, pass.expected_frames()));
  print_room_notice(options);

  Report report;
  report.gain_db =
      options.gain_db + (options.normalize ? normalizing_gain_db(options, *open()) : 0.0);
  const float gain = static_cast<float>(decibels_to_factor(report.gain_db));
  report.output_frames = pass.run([&](float* ears, size_t frames) {
    for (size_t i = 0; i < frames * 2; ++i) ears[i] *= gain;
    report_measure(&report.levels, ears, frames);
    writer.write(ears, frames);
  });
  report.layout = bed->layout().name;
  report.output = options.output;
  report.output_format = writer.sample_format() == SampleFormat::kFloat32 ? "float" : "24-bit";
  report.output_rate_hz = kEffectRateHz;
  if (options.fail_on_clip) refuse_clipping(report);
  writer.commit();
  report.seconds_taken =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return report;
}

Report render_file(const Options& options) {
  const Recording recording(options);
  refuse_same_file(options.input, options.output);
  for (const std::string& notice : recording.plan().notices) print_notice(options.input, notice);
  Report report = render_bed(options, [&] { return std::make_unique<Recording>(options); });
  report.input = options.input;
  report.input_rate_hz = recording.reader().sample_rate_hz();
  report.input_frames = recording.reader().frames();
  return report;
}

}  // namespace render
