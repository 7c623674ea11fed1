// Ambisonic fields, and the modules that make and turn them, as the library exports them.
#ifndef ORVANE_TOOLS_VALIDATE_FIELD_H_
#define ORVANE_TOOLS_VALIDATE_FIELD_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ambisonics/encoder.h"
#include "ambisonics/rotator.h"
#include "tools/render/rotation.h"
#include "tools/validate/geometry.h"
#include "tools/validate/library.h"

namespace validate {

// Channels of equal length, one after the other.
class Field {
 public:
  Field(size_t channels, size_t frames);
  Field(const Field&) = delete;
  Field& operator=(const Field&) = delete;

  size_t channels() const { return rows_.size(); }
  size_t frames() const { return frames_; }
  float& at(size_t channel, size_t frame) { return rows_[channel][frame]; }
  float at(size_t channel, size_t frame) const { return rows_[channel][frame]; }
  float* const* rows() { return rows_.data(); }
  const float* const* rows() const { return rows_.data(); }

  std::vector<double> frame(size_t frame) const;  // all channels of one frame
  void set_frame(size_t frame, const std::vector<double>& values);

 private:
  size_t frames_;
  std::vector<float> samples_;
  std::vector<float*> rows_;
};

// The library's code for `what`, which has to be 0: throws render::Failure otherwise.
void expect_ok(uint32_t code, const char* what);

// An encoder and a rotator of one order.
class FieldModules {
 public:
  FieldModules(const Library& library, int order, size_t sources, size_t max_frames);
  ~FieldModules();
  FieldModules(const FieldModules&) = delete;
  FieldModules& operator=(const FieldModules&) = delete;

  // Source i of loudspeaker type in direction i.
  void place(const std::vector<Direction>& directions);
  void encode(const Field& sources, Field* field);

  // Head orientation in a rotator_orientation_format, in force at once.
  void settle(const float orientation[3], uint32_t format);
  void rotate(const Field& field, Field* turned);

 private:
  const Library& library_;
  ambisonics_base_t base_ = {};
  encoder_t encoder_ = {};
  rotator_t rotator_ = {};
  size_t max_frames_;
};

}  // namespace validate

#endif  // ORVANE_TOOLS_VALIDATE_FIELD_H_
