#include "tools/validate/effect.h"

#include <algorithm>
#include <cmath>

#include "tools/render/parameters.h"
#include "tools/render/pose.h"
#include "tools/validate/larger.h"

namespace validate {
namespace {

constexpr double kEqualDb = -200.0;

}  // namespace

std::vector<float> Ears::ear(size_t index) const {
  std::vector<float> one;
  for (size_t i = index; i < samples.size(); i += 2) one.push_back(samples[i]);
  return one;
}

double peak(const std::vector<float>& samples) {
  double highest = 0.0;
  for (const float sample : samples) {
    highest = larger(highest, std::fabs(static_cast<double>(sample)));
  }
  return highest;
}

Ears difference(const Ears& a, const Ears& b) {
  Ears result = a;
  result.samples.resize(std::max(a.samples.size(), b.samples.size()));
  for (size_t i = 0; i < b.samples.size(); ++i) result.samples[i] -= b.samples[i];
  return result;
}

double difference_db(const Ears& a, const Ears& b) {
  const double left_over = peak(difference(a, b).samples);
  return left_over == 0.0 ? kEqualDb : 20.0 * std::log10(left_over / peak(b.samples));
}

Effect::Effect(const Library& library, const std::string& layout)
    : layout_(render::layout_find(layout)), host_(library.path(), layout_->mask) {
  set("reverb.enable", 0.0);
}

void Effect::set(const std::string& name, double value) {
  host_.set_parameter(render::parameter_find(name).number, static_cast<float>(value), name);
}

void Effect::turn_head(const render::Rotation& head) {
  host_.set_head_to_stage(render::pose_head_to_stage(head));
}

void Effect::settle_head(const render::Rotation& head) {
  turn_head(head);
  render(bed(0, std::vector<float>(render::kEffectMaxFrames)));
}

size_t Effect::channel(render::Speaker speaker) const {
  const auto found = std::find(layout_->rows.begin(), layout_->rows.end(), speaker);
  return static_cast<size_t>(found - layout_->rows.begin());
}

std::vector<float> Effect::bed(size_t channel, const std::vector<float>& signal) const {
  std::vector<float> bed(signal.size() * channels());
  for (size_t t = 0; t < signal.size(); ++t) bed[t * channels() + channel] = signal[t];
  return bed;
}

Ears Effect::render(const std::vector<float>& bed, const BlockPlan& plan) {
  std::vector<float> input = bed;
  const size_t frames = bed.size() / channels();
  Ears ears;
  ears.samples.resize(2 * frames);
  for (size_t start = 0; start < frames;) {
    const size_t length = std::min(plan(start), frames - start);
    host_.process(input.data() + start * channels(), ears.samples.data() + 2 * start, length);
    start += length;
  }
  return ears;
}

Ears Effect::render(const std::vector<float>& bed, size_t block) {
  return render(bed, [=](size_t) { return block; });
}

Ears Effect::respond(size_t channel, size_t frames) {
  std::vector<float> impulse(frames);
  impulse[0] = 1.0f;
  return render(bed(channel, impulse));
}

}  // namespace validate
