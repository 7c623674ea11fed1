// The effect under test, driven through AELI with a bed in memory.
#ifndef ORVANE_TOOLS_VALIDATE_EFFECT_H_
#define ORVANE_TOOLS_VALIDATE_EFFECT_H_

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "tools/render/channel_map.h"
#include "tools/render/effect_host.h"
#include "tools/render/rotation.h"
#include "tools/validate/library.h"

namespace validate {

constexpr double kRateHz = render::kEffectRateHz;

// Two ears, interleaved.
struct Ears {
  std::vector<float> samples;

  size_t frames() const { return samples.size() / 2; }
  std::vector<float> ear(size_t index) const;  // 0 left, 1 right
};

double peak(const std::vector<float>& samples);

// a - b, of which the shorter counts as silent at its end.
Ears difference(const Ears& a, const Ears& b);

// Level of a - b against the peak of b, in dB; -200 where they are equal.
double difference_db(const Ears& a, const Ears& b);

// Called before every block with its first frame; returns its length. May turn the head.
using BlockPlan = std::function<size_t(size_t start)>;

class Effect {
 public:
  // Starts in the effect's own defaults but for the reverb, which is off.
  Effect(const Library& library, const std::string& layout);

  // A parameter by its name in orvane-render --parameters.
  void set(const std::string& name, double value);

  // Faded to over the next block.
  void turn_head(const render::Rotation& head);

  // Turns the head at once: renders a block of silence.
  void settle_head(const render::Rotation& head);

  size_t channels() const { return layout_->rows.size(); }
  size_t channel(render::Speaker speaker) const;  // the input that stands there

  // An interleaved bed in which one channel holds `signal` and all others are silent.
  std::vector<float> bed(size_t channel, const std::vector<float>& signal) const;

  Ears render(const std::vector<float>& bed, const BlockPlan& plan);
  Ears render(const std::vector<float>& bed, size_t block = render::kEffectMaxFrames);

  // `frames` frames from an impulse in one channel on.
  Ears respond(size_t channel, size_t frames);
  Ears respond(render::Speaker speaker, size_t frames) { return respond(channel(speaker), frames); }

 private:
  const render::Layout* layout_;
  render::EffectHost host_;
};

constexpr size_t kResponseFrames = 512;  // more than any response of the ears without a room

}  // namespace validate

#endif  // ORVANE_TOOLS_VALIDATE_EFFECT_H_
