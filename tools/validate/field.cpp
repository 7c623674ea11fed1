#include "tools/validate/field.h"

#include <string>

#include "tools/render/failure.h"

namespace validate {

Field::Field(size_t channels, size_t frames) : frames_(frames), samples_(channels * frames) {
  for (size_t c = 0; c < channels; ++c) rows_.push_back(samples_.data() + c * frames);
}

std::vector<double> Field::frame(size_t frame) const {
  std::vector<double> values;
  for (const float* row : rows_) values.push_back(static_cast<double>(row[frame]));
  return values;
}

void Field::set_frame(size_t frame, const std::vector<double>& values) {
  for (size_t c = 0; c < channels(); ++c) rows_[c][frame] = static_cast<float>(values[c]);
}

void expect_ok(uint32_t code, const char* what) {
  if (code != 0) throw render::Failure(what, "returns " + std::to_string(code));
}

FieldModules::FieldModules(const Library& library, int order, size_t sources, size_t max_frames)
    : library_(library), max_frames_(max_frames) {
  const uint32_t n = static_cast<uint32_t>(order);
  expect_ok(library.function<decltype(ambisonics_base_init)>("ambisonics_base_init")(
                &base_, {n, 0, 0, (n + 1) * (n + 1)}),
            "ambisonics_base_init");
  expect_ok(
      library.function<decltype(encoder_init)>("encoder_init")(
          &encoder_, &base_, static_cast<uint32_t>(sources), static_cast<uint32_t>(max_frames)),
      "encoder_init");
  expect_ok(library.function<decltype(rotator_init)>("rotator_init")(
                &rotator_, &base_, static_cast<uint32_t>(max_frames)),
            "rotator_init");
}

FieldModules::~FieldModules() {
  library_.function<decltype(rotator_cleanup)>("rotator_cleanup")(&rotator_);
  library_.function<decltype(encoder_cleanup)>("encoder_cleanup")(&encoder_);
  library_.function<decltype(ambisonics_base_cleanup)>("ambisonics_base_cleanup")(&base_);
}

void FieldModules::place(const std::vector<Direction>& directions) {
  const auto set_type =
      library_.function<decltype(encoder_set_source_type)>("encoder_set_source_type");
  const auto set_position =
      library_.function<decltype(encoder_set_source_position)>("encoder_set_source_position");
  for (size_t i = 0; i < directions.size(); ++i) {
    const uint32_t source = static_cast<uint32_t>(i);
    const Vector at = unit_vector(directions[i]);
    set_type(&encoder_, source, ENCODER_SOURCE_LOUDSPEAKER);
    set_position(&encoder_, source, static_cast<float>(at[0]), static_cast<float>(at[1]),
                 static_cast<float>(at[2]));
  }
}

void FieldModules::encode(const Field& sources, Field* field) {
  const auto process =
      library_.function<decltype(encoder_process_dynamic)>("encoder_process_dynamic");
  expect_ok(
      process(&encoder_, sources.rows(), field->rows(), static_cast<uint32_t>(sources.frames()), 0),
      "encoder_process_dynamic");
}

void FieldModules::settle(const float orientation[3], uint32_t format) {
  expect_ok(library_.function<decltype(rotator_set_orientation)>("rotator_set_orientation")(
                &rotator_, orientation, format),
            "rotator_set_orientation");
  const Field silence(base_.num_channels, max_frames_);
  Field faded(base_.num_channels, max_frames_);
  rotate(silence, &faded);
}

void FieldModules::rotate(const Field& field, Field* turned) {
  expect_ok(library_.function<decltype(rotator_process)>("rotator_process")(
                &rotator_, field.rows(), turned->rows(), static_cast<uint32_t>(field.frames())),
            "rotator_process");
}

}  // namespace validate
