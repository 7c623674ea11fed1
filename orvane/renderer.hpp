// SPDX-License-Identifier: Apache-2.0
// The renderer as a C++20 class: spans in, spans out, and a result of every call that may fail. The
// functions behind it, with all that they accept, are those of renderer/ubr.h. Header only; throws
// nothing and needs no exceptions.
#ifndef ORVANE_RENDERER_HPP_
#define ORVANE_RENDERER_HPP_

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <utility>

#include "orvane/renderer.h"

namespace orvane {

// Why a call did nothing: the codes of base/result.h.
enum class Error : uint32_t {
  missing = UBR_MISSING,
  invalid = UBR_INVALID,
  no_memory = UBR_NO_MEMORY,
};

// Either a value or an Error. The value of a failure must not be read, nor the error of a success.
template <typename T>
class [[nodiscard]] Result {
 public:
  Result(T value) : value_(std::move(value)) {}
  Result(Error error) : error_(error) {}

  explicit operator bool() const noexcept { return value_.has_value(); }
  T& operator*() & noexcept { return *value_; }
  T&& operator*() && noexcept { return *std::move(value_); }
  T* operator->() noexcept { return &*value_; }
  Error error() const noexcept { return error_; }

 private:
  std::optional<T> value_;
  Error error_ = Error::missing;
};

template <>
class [[nodiscard]] Result<void> {
 public:
  explicit Result(uint32_t code) noexcept : code_(code) {}
  Result(Error error) noexcept : code_(static_cast<uint32_t>(error)) {}

  explicit operator bool() const noexcept { return code_ == UBR_OK; }
  Error error() const noexcept { return static_cast<Error>(code_); }

 private:
  uint32_t code_;
};

// What a renderer is made for.
struct Setup {
  uint32_t num_inputs = 1;
  ubr_input_type input_type = UBR_INPUT_SOURCES;
  ubr_render_mode mode = UBR_MODE_BINAURAL_TRACKED;
  uint32_t max_frame_size = UBR_MAX_FRAME_SIZE;
  uint32_t order = ORVANE_MAX_ORDER;
};

// One renderer, which it owns. Calls on one renderer must not overlap.
class Renderer {
 public:
  static Result<Renderer> create(const Setup& setup) {
    Renderer made(new (std::nothrow) ubr_t{});
    if (!made.ubr_) return Error::no_memory;
    const uint32_t code = ubr_init(made.get(), setup.input_type, setup.num_inputs, setup.mode,
                                   setup.max_frame_size, setup.order);
    if (code != UBR_OK) return static_cast<Error>(code);
    return made;
  }

  // A renderer of the loudspeakers of a layout, for instance of *orvane_find_layout(mask).
  static Result<Renderer> create(const orvane_layout_t& layout,
                                 uint32_t max_frame_size = UBR_MAX_FRAME_SIZE) {
    Result<Renderer> made =
        create(Setup{.num_inputs = layout.num_channels, .max_frame_size = max_frame_size});
    for (uint32_t i = 0; made && i < layout.num_channels; ++i) {
      const orvane_loudspeaker_t& speaker = layout.loudspeakers[i];
      const Result<void> placed =
          made->set_source(i, speaker.is_lfe ? ENCODER_SOURCE_LFE : ENCODER_SOURCE_LOUDSPEAKER,
                           {speaker.x, speaker.y, speaker.z});
      if (!placed) return placed.error();
    }
    return made;
  }

  // Renders one block: a span for each input and output, all of the block's length.
  // Error::invalid, and nothing written, for other numbers of channels or lengths that differ.
  Result<void> process(std::span<const std::span<const float>> inputs,
                       std::span<const std::span<float>> outputs) {
    std::array<const float*, UBR_MAX_INPUTS> in;
    std::array<float*, UBR_MAX_INPUTS> out;
    if (inputs.size() != num_inputs() || outputs.size() != num_outputs()) return Error::invalid;
    const size_t frames = inputs[0].size();
    if (frames > max_frame_size()) return Error::invalid;
    for (size_t i = 0; i < inputs.size(); ++i) {
      if (inputs[i].size() != frames) return Error::invalid;
      in[i] = inputs[i].data();
    }
    for (size_t i = 0; i < outputs.size(); ++i) {
      if (outputs[i].size() != frames) return Error::invalid;
      out[i] = outputs[i].data();
    }
    return process(in.data(), out.data(), static_cast<uint32_t>(frames));
  }

  // The same for a host that has its channels as pointers, num_inputs() and num_outputs() of them.
  Result<void> process(const float* const* inputs, float* const* outputs, uint32_t frames) {
    if (frames == 0) return Error::invalid;  // the renderer takes 0 for its longest block
    return Result<void>(ubr_process(get(), inputs, num_inputs(), outputs, num_outputs(), frames));
  }

  // For longer blocks from now on; not on the audio thread. See ubr_set_max_frame_size.
  Result<void> grow(uint32_t max_frame_size) {
    return Result<void>(ubr_set_max_frame_size(get(), max_frame_size));
  }

  // Metres: +x ahead, +y left, +z up.
  Result<void> set_source(uint32_t index, encoder_source_type type,
                          const std::array<float, 3>& position) {
    const uint32_t code =
        ubr_set_source_type(get(), index, type);  // the position's gain depends on it
    if (code != UBR_OK) return Result<void>(code);
    return set_source_position(index, position);
  }
  Result<void> set_source_position(uint32_t index, const std::array<float, 3>& position) {
    return Result<void>(
        ubr_set_source_position(get(), index, position[0], position[1], position[2]));
  }

  // Faded in over the next block.
  Result<void> set_head(const std::array<float, 3>& orientation,
                        rotator_orientation_format format = ROTATOR_ROTATION_VECTOR) {
    return Result<void>(ubr_set_user_orientation(get(), orientation.data(), format));
  }

  // Where the listener is, in metres; see ubr_set_user_position.
  Result<void> set_listener(const std::array<float, 3>& position) {
    return Result<void>(ubr_set_user_position(get(), position.data()));
  }

  // Listens with other ears: kResponseSize values each, tap after tap. Without `right` the head is
  // symmetric, without both the ears are the built-in ones. Not on the audio thread. See
  // ubr_set_responses; Error::invalid also for tables of another size.
  static constexpr size_t kResponseSize = BINAURALIZER_TAPS * BINAURALIZER_RESPONSE_CHANNELS;
  Result<void> set_responses(std::span<const float> left, std::span<const float> right = {}) {
    for (const std::span<const float> ear : {left, right}) {
      if (!ear.empty() && ear.size() != kResponseSize) return Error::invalid;
    }
    return Result<void>(ubr_set_responses(get(), left.empty() ? nullptr : left.data(),
                                          right.empty() ? nullptr : right.data()));
  }

  Result<void> set_reverb(ubr_reverb_param id, float value) {
    return Result<void>(ubr_set_reverb_param(get(), id, value));
  }

  // Of the room and its reflections; heard after compute_reflections.
  Result<void> set_reflections(ubr_reflections_param id, float value) {
    return Result<void>(ubr_set_reflections_param(get(), id, value));
  }
  Result<void> compute_reflections() { return Result<void>(ubr_compute_reflections(get())); }

  Result<void> reset() { return Result<void>(ubr_reset(get())); }

  uint32_t num_inputs() const noexcept { return ubr_->num_inputs; }
  uint32_t num_outputs() const noexcept { return ubr_->num_outputs; }
  uint32_t max_frame_size() const noexcept { return ubr_->max_frame_size; }

  // For the functions of renderer/ubr.h that have no counterpart here.
  ubr_t* get() noexcept { return ubr_.get(); }

 private:
  struct Cleanup {
    void operator()(ubr_t* renderer) const noexcept {
      ubr_cleanup(renderer);  // also of one that is half built
      delete renderer;
    }
  };

  explicit Renderer(ubr_t* renderer) noexcept : ubr_(renderer) {}

  std::unique_ptr<ubr_t, Cleanup> ubr_;
};

}  // namespace orvane

#endif  // ORVANE_RENDERER_HPP_
