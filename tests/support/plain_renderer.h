// SPDX-License-Identifier: Apache-2.0
// What a renderer shall make of a block: its stages one after the other, each sample by sample and
// in double precision, by whatever shorter way the renderer itself goes.
#ifndef ORVANE_TESTS_SUPPORT_PLAIN_RENDERER_H_
#define ORVANE_TESTS_SUPPORT_PLAIN_RENDERER_H_

#include <vector>

#include "renderer/ubr.h"
#include "tests/support/responses.h"
#include "tests/support/signals.h"

// Follows a renderer: it reads the SH weights, the rotation and the image sources that are set
// there, and keeps what is in flight itself. Its tail is a reverberator of its own, which has to be
// given the same settings.
class PlainRenderer {
 public:
  explicit PlainRenderer(const ubr_t& renderer);
  ~PlainRenderer();
  PlainRenderer(const PlainRenderer&) = delete;
  PlainRenderer& operator=(const PlainRenderer&) = delete;

  Planar render(const Planar& in);
  void set_ears(const Ears& ears);  // those that the renderer has been given; before all blocks
  void silence_reflections() { loudspeakers_.clear(); }
  void reset();
  ubr_reverb_t* reverb() { return &reverb_; }

 private:
  using Field = std::vector<std::vector<double>>;  // channels of samples

  Field encode_tracked(const Planar& in) const;
  void add_head_locked(const Planar& in, Field* field) const;
  void add_reflections(Field* field);
  Field rotate(const Field& field);
  std::vector<double> convolve(size_t channel, const ResponseTable& table, size_t frames) const;
  Planar binauralize(const Field& field);
  Planar downmix(const Planar& in) const;
  void add_tail(const std::vector<double>& omni, Planar* ears);

  const ubr_t& r_;
  std::vector<float> matrix_;  // that the last rotated block ended with
  Field loudspeakers_;         // all that they have played since the last compute
  Field heard_;                // the end of the field that has entered the ears
  Ears ears_;
  bool ears_differ_ = false;
  ubr_reverb_t reverb_ = {};
};

#endif  // ORVANE_TESTS_SUPPORT_PLAIN_RENDERER_H_
