// SPDX-License-Identifier: Apache-2.0
// Two instances of the effect through AELI: any commands with any bytes, any blocks, in any order.
// Buffers are exactly as large as the call says.
#include <errno.h>

#include "fuzz/effect_instance.h"
#include "fuzz/input.h"
#include "fuzz/steps.h"
#include "renderer/parameters.h"
#include "tests/support/log_capture.h"

namespace {

constexpr int kMaxWork = 60;           // of an input: what follows is not looked at
constexpr uint32_t kMaxFrames = 1100;  // somewhat more than a block may have
constexpr uint32_t kMaxBlock = ORVANE_MAX_FRAME_SIZE;
constexpr uint32_t kMostChannels = 30;  // that any channel mask counts

// Masks without a layout, of which one is advertised all the same.
constexpr uint32_t kOddMasks[] = {AUDIO_CHANNEL_OUT_7POINT1POINT2, 0, 0x80000003, 0xFF00003F};

uint32_t pick_mask(Input* input) {
  const uint32_t i = input->below(ORVANE_NUM_LAYOUTS + uint32_t{std::size(kOddMasks)});
  return i < ORVANE_NUM_LAYOUTS ? orvane_layouts[i].mask : kOddMasks[i - ORVANE_NUM_LAYOUTS];
}

void call_wrongly(Input* input, const Instance& instance) {
  effect_uuid_t uuid = kOrvaneUuid;
  uuid.node[input->below(6)] ^= static_cast<uint8_t>(1 + input->below(255));
  effect_handle_t handle = nullptr;
  effect_descriptor_t descriptor;
  require(AELI.create_effect(&uuid, 0, 0, &handle) == -ENOENT && !handle,
          "a wrong UUID is refused");
  require(AELI.create_effect(nullptr, 0, 0, &handle) == -EINVAL, "no UUID is refused");
  require(AELI.create_effect(&kOrvaneUuid, 0, 0, nullptr) == -EINVAL, "no handle is refused");
  require(AELI.get_descriptor(&uuid, &descriptor) == -EINVAL, "a wrong UUID has no descriptor");
  require(AELI.get_descriptor(&kOrvaneUuid, &descriptor) == 0, "the UUID has a descriptor");
  require(AELI.release_effect(nullptr) == -EINVAL, "no handle is not released");

  const effect_interface_s& functions = **instance.handle;
  require(functions.get_descriptor(instance.handle, &descriptor) == 0, "a handle has a descriptor");
  require(functions.get_descriptor(nullptr, &descriptor) == -EINVAL, "no handle, no descriptor");
  require(functions.process(nullptr, nullptr, nullptr) == -EINVAL, "no handle, no block");
  require(functions.command(nullptr, input->below(16), 0, nullptr, nullptr, nullptr) == -EINVAL,
          "no handle, no command");
}

// The status that was replied, where one was; the command's code is in *result.
std::optional<int32_t> send(Input* input, Instance* instance, uint32_t code, Bytes* data,
                            uint32_t usual_room, int32_t* result) {
  const uint32_t shape = input->below(16);
  const uint32_t room = shape < 3 ? input->below(64) : usual_room;
  Bytes reply(room);
  std::fill_n(reply.data(), room, uint8_t{0x5A});  // no status
  uint32_t reply_size = room;
  *result = (*instance->handle)
                ->command(instance->handle, code, data ? static_cast<uint32_t>(data->size()) : 0,
                          data ? data->data() : nullptr, shape == 3 ? nullptr : &reply_size,
                          shape == 4 ? nullptr : reply.data());
  const bool is_switch = code == EFFECT_CMD_ENABLE || code == EFFECT_CMD_DISABLE;
  require(*result == 0 || *result == -EINVAL || (*result == -ENOSYS && is_switch),
          "a command returns one of its codes");
  require(*result == 0 || reply_size == room, "a refused command leaves the reply's size alone");
  if (*result != 0 || shape == 3 || shape == 4 || room < sizeof(int32_t)) return std::nullopt;
  int32_t status;
  memcpy(&status, reply.data(), sizeof(status));
  return status;
}

void require_status(const std::optional<int32_t>& status) {
  require(!status || *status == 0 || *status == -EINVAL, "a status is 0 or -EINVAL");
}

Bytes configuration(Input* input, uint32_t* channels, bool* accumulates) {
  const uint32_t mask = input->below(8) ? pick_mask(input) : input->take<uint32_t>();
  effect_config_t config = stream_config(mask, static_cast<uint8_t>(input->below(3)));
  const uint32_t oddity = input->below(16);
  if (oddity == 1) config.outputCfg.channels = input->take<uint32_t>();
  if (oddity == 2) config.inputCfg.format = input->take<uint8_t>();
  if (oddity == 3) config.outputCfg.format = input->take<uint8_t>();
  if (oddity == 4) config.inputCfg.samplingRate = input->take<uint32_t>();
  if (oddity == 5)
    config.inputCfg.samplingRate = config.outputCfg.samplingRate = input->take<uint32_t>();
  *channels = static_cast<uint32_t>(std::popcount(mask));
  *accumulates = config.outputCfg.accessMode == EFFECT_BUFFER_ACCESS_ACCUMULATE;
  Bytes bytes(oddity == 6 ? input->below(130) : sizeof(config));
  memcpy(bytes.data(), &config, std::min(bytes.size(), sizeof(config)));
  return bytes;
}

void configure(Input* input, Instance* instance, int* work) {
  *work += 12;
  uint32_t channels = 0;
  bool accumulates = false;
  Bytes data = configuration(input, &channels, &accumulates);
  int32_t result;
  const auto status = send(input, instance, EFFECT_CMD_SET_CONFIG, &data, 4, &result);
  require_status(status);
  if (!status) return;
  instance->channels.reset();
  if (*status != 0) return;
  instance->channels = instance->rendered_channels = channels;
  instance->accumulates = accumulates;
  instance->spoiled = false;
}

// Any command without a structure of its own; INIT, RESET, ENABLE and DISABLE among them.
void command(Input* input, Instance* instance, int* work) {
  const uint32_t code = input->below(8) ? input->below(16) : input->take<uint32_t>();
  if (code == EFFECT_CMD_SET_CONFIG) return configure(input, instance, work);
  Bytes data(input->below(40));
  for (size_t i = 0; i < data.size(); ++i) data.data()[i] = input->take<uint8_t>();
  int32_t result;
  const auto status = send(input, instance, code, data.size() == 39 ? nullptr : &data, 4, &result);
  if (result != 0) return;
  switch (code) {
    case EFFECT_CMD_INIT:
      require(status == 0, "INIT succeeds");
      instance->enabled = false;
      return instance->note_defaults();
    case EFFECT_CMD_RESET:
      instance->spoiled = false;
      return;
    case EFFECT_CMD_ENABLE:
      require(!instance->enabled && status == 0, "ENABLE succeeds where it has not before");
      instance->enabled = true;
      instance->spoiled = false;
      return;
    case EFFECT_CMD_DISABLE:
      require(instance->enabled && status == 0, "DISABLE succeeds after ENABLE");
      instance->enabled = false;
      return;
    case EFFECT_CMD_SET_PARAM:
      return require_status(status);
    default:
      require(code <= EFFECT_CMD_SET_INPUT_DEVICE && code != EFFECT_CMD_SET_VOLUME,
              "an unknown command is refused");
  }
}

int32_t parameter_id(Input* input) {
  switch (input->below(8)) {
    case 0:
      return input->take<int32_t>();
    case 1:
    case 2:
      return static_cast<int32_t>(input->below(11));
    case 3:
    case 4:
      return ORVANE_PARAM_REVERB + static_cast<int32_t>(input->below(UBR_NUM_REVERB_PARAMS + 1));
    default:
      return ORVANE_PARAM_REFLECTIONS +
             static_cast<int32_t>(input->below(UBR_NUM_REFLECTIONS_PARAMS + 1));
  }
}

// The room's and the reverb's values are cheap to make and slow to apply: the longest are left out.
void set_parameter(Input* input, Instance* instance, int* work) {
  const int32_t id = parameter_id(input);
  const uint32_t oddity = input->below(16);
  const size_t size = id == SPATIALIZER_PARAM_HEAD_TO_STAGE ? 24 : 4;
  Bytes data(oddity == 1 ? input->below(48) : 16 + size);
  data.put(4, oddity == 2 ? input->take<uint32_t>() : 4u);
  data.put(8, oddity == 3 ? input->take<uint32_t>() : static_cast<uint32_t>(size));
  data.put(12, id);
  for (size_t at = 16; at < 16 + size; at += 4) data.put(at, input->number());
  if (id == orvane_reverb_parameter(UBR_REVERB_DECAY)->number)
    data.put(16, std::fabs(input->number()) * 0.1f);
  int32_t result;
  require_status(send(input, instance, EFFECT_CMD_SET_PARAM, &data, 4, &result));
  *work += id >= ORVANE_PARAM_REVERB ? 3 : 0;
}

void get_parameter(Input* input, Instance* instance) {
  const int32_t id = parameter_id(input);
  Bytes data(input->below(8) ? 16 : input->below(48));
  data.put(8, input->take<uint32_t>());
  data.put(12, id);
  int32_t result;
  require_status(send(input, instance, EFFECT_CMD_GET_PARAM, &data, input->below(80), &result));
}

// Calls process with one thing wrong.
void process_wrongly(Input* input, const Instance& instance) {
  float sample = 0.0f;
  float ears[2] = {};
  audio_buffer_t in = {1, {&sample}}, out = {1, {ears}};
  const uint32_t fault = input->below(7);
  const uint64_t frames = input->take<uint32_t>() | (fault == 6 ? 0x100000000u : 0u);
  if (fault == 0) in.raw = nullptr;
  if (fault == 1) out.raw = nullptr;
  if (fault == 2) in.frameCount = 1 + (frames | 1);
  if (fault >= 5) in.frameCount = out.frameCount = fault == 5 ? 0 : frames;
  const int32_t result =
      (*instance.handle)
          ->process(instance.handle, fault == 3 ? nullptr : &in, fault == 4 ? nullptr : &out);
  require(result == -EINVAL || (fault >= 5 && result == -ENODATA) || (fault == 5 && result == 0),
          "process refuses what it cannot render");
}

void process(Input* input, Instance* instance, int* work) {
  const uint32_t frames = 1 + (input->below(4) ? input->below(256) : input->below(kMaxFrames));
  const uint32_t channels = instance->channels.value_or(kMostChannels);
  *work += 1 + static_cast<int>(frames / 128);
  std::vector<float> bed(size_t{frames} * channels + (channels == 0));
  const bool tame = fill_samples(input, bed);
  const bool overwrites = instance->channels && !instance->accumulates;
  std::vector<float> ears(size_t{2} * frames, overwrites ? kUnwritten : 0.25f);
  const std::vector<float> bed_before = bed, ears_before = ears;
  audio_buffer_t in = {frames, {bed.data()}}, out = {frames, {ears.data()}};
  const int32_t result = (*instance->handle)->process(instance->handle, &in, &out);

  require(same_bits(bed, bed_before), "process leaves its input alone");
  instance->spoiled |= !tame;
  if (!instance->enabled) {
    require(result == -ENODATA, "an instance that is not enabled says so");
  } else if (instance->channels == instance->rendered_channels && frames <= kMaxBlock) {
    require(result == 0, "a configured and enabled instance renders");
  }
  if (result != 0) {
    require(result == -1 || result == -ENODATA, "process returns one of its codes");
    require(same_bits(ears, ears_before), "a refused block leaves the output alone");
  } else {
    require(instance->spoiled || all_finite(ears), "a rendered block is written and finite");
  }
}

// Lines that nothing which is done here may lead to.
void require_no_failure(const LogCapture& log) {
  for (const std::string& line : log.problems()) {
    for (const char* failure : {"orvane_Reset error", "init failed", "computing early reflections",
                                "Failed to allocate", "orvane_Init error"}) {
      require(line.find(failure) == std::string::npos, line.c_str());
    }
  }
}

void step(Input* input, Instance* instance, int* work) {
  const uint32_t action = input->below(16);
  if (!instance->handle || action == 0) {
    *work += 2;
    return instance->create();
  }
  switch (action) {
    case 1:
      return instance->release();
    case 2:
      return call_wrongly(input, *instance);
    case 3:
    case 4:
      return configure(input, instance, work);
    case 5:
    case 6:
    case 7:
      return command(input, instance, work);
    case 8:
      return get_parameter(input, instance);
    case 9:
      return process_wrongly(input, *instance);
    case 10:
    case 11:
    case 12:
      return set_parameter(input, instance, work);
    default:
      return process(input, instance, work);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const LogCapture log;
  Instance instances[2];
  begin_steps({data, size});
  for (int work = 0; work < kMaxWork && !input.ended(); ++work) {
    note_step(input);
    step(&input, &instances[input.below(4) == 3], &work);
  }
  note_step(input);
  require_no_failure(log);
  return 0;
}
