// SPDX-License-Identifier: Apache-2.0
// The modules of the room, each on its own, with any arguments of their domains.
#include <algorithm>
#include <memory>

#include "base/limits.h"
#include "base/result.h"
#include "fuzz/module_runs.h"
#include "room/shoebox_scene.h"
#include "room/velvet_noise.h"

namespace {

// A room with a meaning, from whatever a fuzzer says.
shoebox_params_t take_room(Input* input, float margin) {
  shoebox_params_t room;
  for (float* size : {&room.room_x, &room.room_y, &room.room_z}) {
    *size = std::fabs(input->number());
    if (!(*size > 2.5f * margin && *size < 1000.0f)) *size = 3.0f;
  }
  for (float& absorption : room.absorption) absorption = input->number();
  return room;
}

void set_scene(Input* input, shoebox_config_t* room) {
  auto scene = std::make_unique<shoebox_scene_t>();
  scene->source_count = input->below(4) ? static_cast<float>(input->below(30)) : input->number();
  scene->reflections_per_source = SHOEBOX_WALLS;
  const float listener[3] = {input->number(), input->number(), input->number()};
  const float count = std::isnan(scene->source_count)
                          ? 0.0f
                          : std::clamp(scene->source_count, 0.0f, room->max_sources);
  std::vector<float> sources(size_t{3} * static_cast<size_t>(count));
  float given[6];
  for (float& value : given) value = input->number();
  for (size_t i = 0; i < sources.size(); ++i) sources[i] = given[i % std::size(given)];
  room->height_from_floor = input->below(2) ? 1.0f : 0.0f;
  room->angles_in_radians = input->below(2) ? 1.0f : 0.0f;
  shoebox_set_scene(room, scene.get(), listener, sources.data(),
                    static_cast<float>(input->below(2)), static_cast<float>(input->below(2)));
  if (!all_finite(listener) || !std::all_of(given, given + 6, is_tame)) return;
  for (size_t k = 0; k < sources.size() / 3 * SHOEBOX_WALLS; ++k) {
    require(scene->delay[k] >= 0.0f && std::isfinite(scene->delay[k]), "a reflection has a delay");
    require(std::isfinite(scene->elevation[k]) && std::isfinite(scene->azimuth[k]),
            "a reflection has a direction");
  }
}

void convert(Input* input, const shoebox_params_t& room) {
  shoebox_params_fixed_t fixed;
  shoebox_params_t back;
  shoebox_config_to_fixed(&room, &fixed);
  shoebox_config_to_float(&fixed, &back);
  const float values[] = {back.room_x, back.room_y, back.room_z};
  require(all_finite(values) && all_finite(back.absorption), "fixed point is finite");
  fixed = input->take<shoebox_params_fixed_t>();
  shoebox_config_to_float(&fixed, &back);
}

}  // namespace

void run_shoebox(Input* input) {
  auto room = std::make_unique<shoebox_config_t>();
  shoebox_init(room.get());
  for (int i = 0; i < kMaxSteps && !input->ended(); ++i) {
    const float a = input->number(), b = input->number();
    shoebox_set_abscoeff(room.get(), a, b);
    shoebox_set_material(room.get(), a, b);
    const shoebox_params_t params = take_room(input, room->wall_margin);
    shoebox_set_config(room.get(), &params);
    set_scene(input, room.get());
    shoebox_params_t stored;
    shoebox_get_config(room.get(), &stored);
    require(memcmp(&stored, &params, sizeof(stored)) == 0, "a room keeps its parameters");
    convert(input, input->take<shoebox_params_t>());
  }
}

namespace {

void reverberate(Input* input, const uint32_t* rng, vn_state_t* state, bool* is_spoiled) {
  const int32_t frames = static_cast<int32_t>(block_length(input));
  const int32_t in_size[] = {frames - (input->below(16) == 1),
                             1 + static_cast<int32_t>(input->below(3))};
  const int32_t out_size[] = {frames, 2 - (input->below(16) == 1)};
  std::vector<float> in(static_cast<size_t>(std::max(in_size[0], 0) * in_size[1]));
  *is_spoiled |= !fill_samples(input, in);
  std::vector<float> out(static_cast<size_t>(out_size[0] * out_size[1]), kUnwritten);
  const uint32_t code = vn_process(rng, state, in.data(), in_size, out.data(), out_size);
  require(code == UBR_OK || code == UBR_MISSING, "a block is reverberated or refused");
  require(code != UBR_OK || *is_spoiled || all_finite(out), "a tail is written and finite");
}

void set_reverb(Input* input, vn_state_t* state) {
  vn_config_t config;
  require(vn_get_config(state, &config) == UBR_OK, "there are settings");
  float settings[VN_NUM_SETTINGS];
  memcpy(settings, &config, sizeof(settings));
  settings[input->below(VN_NUM_SETTINGS)] = input->number();
  require(vn_set_config(state, settings) == UBR_OK, "settings are stored");
}

}  // namespace

void run_velvet_noise(Input* input) {
  std::vector<uint32_t> rng(RANDOM_STATE_WORDS);
  uint32_t* const generator = rng.data();
  vn_state_t state;
  require(vn_init(&state, &generator) == UBR_OK, "a reverberator is made");
  state.max_decay_s = 0.04f;  // slow to prepare beyond
  bool is_spoiled = false;
  for (int i = 0; i < kMaxSteps && !input->ended(); ++i) {
    const uint32_t action = input->below(10);
    if (action == 0) {
      const uint32_t rate =
          input->below(4) ? uint32_t{ORVANE_SAMPLE_RATE} : input->take<uint32_t>();
      require(vn_set_fs(&state, rate) == (rate == ORVANE_SAMPLE_RATE ? UBR_OK : UBR_INVALID),
              "one rate");
    } else if (action == 1) {
      const int32_t size = input->take<int16_t>();
      const bool fits = size >= 1 && size <= VN_MAX_BLOCK_SIZE;
      require(vn_set_buf_size(&state, size) == (fits ? UBR_OK : UBR_INVALID), "a block size");
    } else if (action < 4) {
      set_reverb(input, &state);
    } else if (action == 4) {
      const uint32_t code = vn_prepare_to_play(generator, &state);
      require(code != UBR_NO_MEMORY, "there is memory");
      is_spoiled &= code != UBR_OK;
    } else if (action == 5) {
      require(vn_reset(&state) == UBR_OK, "a tail is dropped");
      is_spoiled = false;
    } else if (action == 6 && input->below(4) == 0) {
      require(vn_terminate(&state) == UBR_OK, "a reverberator ends");
    } else {
      reverberate(input, generator, &state, &is_spoiled);
    }
  }
  vn_terminate(&state);
}
