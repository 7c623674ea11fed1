// SPDX-License-Identifier: Apache-2.0
// One renderer through its functions, in any order and with any arguments of their domains: what
// aborts by contract is left out.
#include "base/result.h"
#include "fuzz/input.h"
#include "fuzz/planar.h"
#include "fuzz/steps.h"
#include "renderer/ubr.h"

namespace {

constexpr int kMaxWork = 80;              // of an input: what follows is not looked at
constexpr uint32_t kLongestBlock = 2200;  // that a renderer without reverb is grown for

struct Renderer {
  ubr_t r = {};
  bool is_built = false;
  bool is_wild = false;     // sources may stand where no number goes
  bool is_spoiled = false;  // wild samples may still sound on

  Renderer() = default;
  ~Renderer() { cleanup(); }
  Renderer(const Renderer&) = delete;
  Renderer& operator=(const Renderer&) = delete;

  void cleanup() {
    require(ubr_cleanup(&r) == UBR_OK && !r.encoder && !r.reverb, "cleanup empties a renderer");
    is_built = is_wild = is_spoiled = false;
  }

  void require_code(uint32_t code) const {
    require(code == UBR_OK || code == UBR_MISSING || code == UBR_INVALID, "there is memory");
  }
};

void init(Input* input, Renderer* renderer) {
  renderer->cleanup();
  const uint32_t type = input->below(8) ? input->below(2) : input->take<uint32_t>();
  const uint32_t squares[] = {4, 9, 16, 25, 36, 1};
  uint32_t num_inputs = type == UBR_INPUT_AMBISONICS ? input->pick(squares) : input->below(26);
  if (input->below(16) == 1) num_inputs = input->take<uint32_t>();
  const uint32_t mode = input->below(8) ? input->below(5) : input->take<uint32_t>();
  const uint32_t sizes[] = {64, 65, 100, 257, 480, 1024};
  const uint32_t max_frame = input->below(8) ? input->pick(sizes) : input->below(1100);
  const uint32_t code = ubr_init(&renderer->r, type, num_inputs, mode, max_frame, input->below(6));
  require(code == UBR_OK || code == UBR_INVALID, "init builds or refuses");
  renderer->is_built = code == UBR_OK;
  if (!renderer->is_built) renderer->cleanup();
}

// A module anew, or one more for a renderer whose mode does without it.
void build_module(Input* input, Renderer* renderer) {
  constexpr uint32_t (*kSteps[])(ubr_t*) = {
      ubr_init_rotator, ubr_init_binauralizer,        ubr_init_reflections,
      ubr_init_reverb,  ubr_set_downmix_coefficients, ubr_init_ambisonics,
      ubr_init_encoder};
  renderer->require_code(input->pick(kSteps)(&renderer->r));
}

void grow(Input* input, Renderer* renderer) {
  const uint32_t before = renderer->r.max_frame_size;
  const uint32_t size = input->below(kLongestBlock);
  const uint32_t code = ubr_set_max_frame_size(&renderer->r, size);
  if (code == UBR_OK) {
    require(renderer->r.max_frame_size == std::max(before, size), "growing grows");
  } else {
    renderer->require_code(code);
    require(renderer->r.max_frame_size == before, "what has not grown is as it was");
  }
}

void move_source(Input* input, Renderer* renderer) {
  ubr_t* r = &renderer->r;
  const uint32_t index = input->below(27);
  const float position[3] = {input->number(), input->number(), input->number()};
  const uint32_t type = input->below(8) ? input->below(5) : input->take<uint32_t>();
  const uint32_t code = ubr_set_source_type(r, index, type);
  const bool exists = r->encoder && r->input_type != UBR_INPUT_AMBISONICS;
  require(code == (!exists                 ? UBR_MISSING
                   : index < r->num_inputs ? UBR_OK
                                           : UBR_INVALID),
          "a source is found or not");
  require(ubr_set_source_position(r, index, position[0], position[1], position[2]) == code,
          "a source is found or not");
  renderer->is_wild |= !all_finite(position);
}

void move_listener(Input* input, Renderer* renderer) {
  const float v[3] = {input->number(), input->number(), input->number()};
  const uint32_t format = input->below(4);
  const uint32_t code = ubr_set_user_orientation(&renderer->r, v, format);
  const bool is_pose = renderer->r.rotator && format < 3 &&
                       std::all_of(v, v + 3, [](float x) { return std::fabs(x) < 1e9f; });
  require(is_pose ? code == UBR_OK : code != UBR_NO_MEMORY, "a pose is taken or refused");
  const float p[3] = {input->number(), input->number(), input->number()};
  require(ubr_set_user_position(&renderer->r, p) == (all_finite(p) ? UBR_OK : UBR_INVALID),
          "a position is finite");
}

void set_reflections(Input* input, Renderer* renderer) {
  ubr_t* r = &renderer->r;
  uint32_t id = input->below(20);
  if (id == 19) id = input->take<uint32_t>();
  renderer->require_code(ubr_set_reflections_param(r, id, input->number()));
  switch (input->below(4)) {
    case 0:
      return;  // not computed yet
    case 1:
      return renderer->require_code(ubr_set_reflections_mode(r->reflections, input->below(7)));
    default:
      renderer->require_code(ubr_compute_reflections(r));
  }
}

void set_reverb(Input* input, Renderer* renderer, int* work) {
  uint32_t id = input->below(11);
  if (id == 10) id = input->take<uint32_t>();
  const float value = input->number();
  const bool is_long = id == UBR_REVERB_DECAY && value > 0.5f;  // slow to make
  renderer->require_code(ubr_set_reverb_param(&renderer->r, id, value));
  *work += is_long ? 20 : 3;
}

// Whether the renderer has all that its mode needs.
bool can_render(const Renderer& renderer) {
  const ubr_t& r = renderer.r;
  if (!renderer.is_built || r.render_mode > UBR_MODE_DOWNMIX) return false;
  const bool reflects =
      r.render_mode == UBR_MODE_BINAURAL_TRACKED && r.input_type != UBR_INPUT_AMBISONICS;
  return !reflects || r.reflections->reflections_mode == 0 || r.reflections->ready;
}

// What every way of rendering a block has to keep.
void require_block(Renderer* renderer, const Planar& in, const Planar& before, const Planar& out,
                   bool is_tame, uint32_t code) {
  require(same_bits(in, before), "a block leaves its input alone");
  renderer->is_spoiled |= !is_tame;
  if (code == UBR_OK && !renderer->is_spoiled && !renderer->is_wild) {
    require(all_finite(out), "a rendered block is written and finite");
  }
  renderer->require_code(code);
}

void process(Input* input, Renderer* renderer) {
  ubr_t* r = &renderer->r;
  const uint32_t longest = r->max_frame_size;
  const uint32_t kind = input->below(16);
  const uint32_t frames = kind == 0   ? 0
                          : kind == 1 ? longest + 1
                                      : 1 + input->below(kind < 8 ? 128 : kLongestBlock);
  const uint32_t shape = input->below(16);
  const uint32_t num_in = r->num_inputs + (shape == 1), num_out = r->num_outputs + (shape == 2);
  const bool fits = frames <= longest && num_in == r->num_inputs && num_out == r->num_outputs;
  const uint32_t samples = frames ? frames : longest;
  Planar in(num_in, samples);
  const bool is_tame = fill_planar(input, &in);
  const Planar before = in;
  Planar out = unwritten_planar(num_out, samples);
  const Planar unwritten = out;
  const uint32_t code = ubr_process(r, in.data(), num_in, out.data(), num_out, frames);
  if (!fits) {
    require(code == UBR_INVALID && same_bits(out, unwritten),
            "a block that does not fit is refused");
  } else {
    require(!can_render(*renderer) || code == UBR_OK, "a block that fits is rendered");
    require_block(renderer, in, before, out, is_tame, code);
  }
}

// The steps of a block, one by one.
void process_step(Input* input, Renderer* renderer) {
  ubr_t* r = &renderer->r;
  const uint32_t step = input->below(4);
  const uint32_t channels = r->ambi_config.num_channels;
  const bool is_field = step == 2, is_tail = step == 3;
  const uint32_t frames =
      step < 2 ? r->frame_size : std::min(1 + input->below(1100), r->max_frame_size);
  // Now and then through the function for the other input, which may read a field.
  const bool is_other = step == 0 && input->below(8) == 7;
  const uint32_t read = is_other ? std::max(channels, r->num_inputs) : r->num_inputs;
  Planar in(is_field ? channels : is_tail ? 1 : read, frames);
  const bool is_tame = fill_planar(input, &in);
  const Planar before = in;
  Planar out(is_field ? channels : step == 0 ? r->num_outputs : 2, frames);
  uint32_t code = UBR_MISSING;
  if (step == 0) {
    code = (r->input_type == UBR_INPUT_AMBISONICS) != is_other
               ? ubr_process_hoa(r, in.data(), out.data())
               : ubr_process_sources(r, in.data(), out.data());
  } else if (step == 1) {
    code = ubr_downmix(r, in.data(), out.data());
  } else if (is_field) {
    code = ubr_process_reflections(r->reflections, in.data(), out.data(), frames);
  } else {
    code = ubr_process_reverb(r->reverb, in[0].data(), out.data(), frames);
  }
  require_block(renderer, in, before, out, is_tame, code);
}

void reset(Input* input, Renderer* renderer) {
  ubr_t* r = &renderer->r;
  require(ubr_reset(r) == UBR_OK, "a reset succeeds");
  renderer->is_spoiled = false;
  if (input->below(4)) return;
  const uint32_t frames = std::min(input->below(1100), r->max_frame_size);
  require(ubr_reset_reflections(r->reflections, frames) == (r->reflections ? UBR_OK : UBR_MISSING),
          "a reset succeeds where there is something");
}

void call_without_renderer() {
  const float v[3] = {};
  require(ubr_init(nullptr, 0, 6, 2, 64, 4) == UBR_MISSING && ubr_reset(nullptr) == UBR_MISSING &&
              ubr_cleanup(nullptr) == UBR_MISSING &&
              ubr_compute_reflections(nullptr) == UBR_MISSING &&
              ubr_set_max_frame_size(nullptr, 64) == UBR_MISSING &&
              ubr_process(nullptr, nullptr, 0, nullptr, 0, 0) == UBR_MISSING &&
              ubr_set_user_position(nullptr, v) == UBR_MISSING &&
              ubr_set_user_orientation(nullptr, v, 2) == UBR_MISSING,
          "no renderer is no renderer");
}

void step(Input* input, Renderer* renderer, int* work) {
  switch (input->below(20)) {
    case 0:
    case 1:
      *work += 10;
      return init(input, renderer);
    case 2:
      return build_module(input, renderer);
    case 3:
      *work += 5;
      return grow(input, renderer);
    case 4:
    case 5:
      return move_source(input, renderer);
    case 6:
    case 7:
      return move_listener(input, renderer);
    case 8:
    case 9:
    case 10:
      *work += 1;
      return set_reflections(input, renderer);
    case 11:
    case 12:
      return set_reverb(input, renderer, work);
    case 13:
      return reset(input, renderer);
    case 14:
      *work += 4;
      return process_step(input, renderer);
    case 15:
      return input->below(2) ? call_without_renderer() : renderer->cleanup();
    default:
      *work += 4;
      return process(input, renderer);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  Renderer renderer;
  init(&input, &renderer);
  begin_steps({data, size});
  for (int work = 0; work < kMaxWork && !input.ended(); ++work) {
    note_step(input);
    step(&input, &renderer, &work);
  }
  note_step(input);
  return 0;
}
