// SPDX-License-Identifier: Apache-2.0
// Renders the same bed as a device does: loads the library, creates the effect through its one
// record, AELI, and sends it commands and blocks.
//
//   effect_host LIBRARY OUT.wav
#include <dlfcn.h>
#include <effect/uuid.h>
#include <platform/effect_abi.h>

#include <array>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "example_bed.h"

namespace {

// One instance of the effect, for as long as the object lives.
class Effect {
 public:
  explicit Effect(const char* path) : library_(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
    if (!library_) throw std::runtime_error(dlerror());
    record_ = static_cast<const audio_effect_library_t*>(dlsym(library_, "AELI"));
    if (!record_ || record_->create_effect(&orvane_uuid, 0, 0, &effect_) != 0) {
      dlclose(library_);
      throw std::runtime_error("the library has no such effect");
    }
  }
  ~Effect() {
    record_->release_effect(effect_);
    dlclose(library_);
  }
  Effect(const Effect&) = delete;
  Effect& operator=(const Effect&) = delete;

  // A command succeeds when the call does and the reply is 0.
  void command(uint32_t code, uint32_t size = 0, void* data = nullptr) {
    int32_t reply = 0;
    uint32_t reply_size = sizeof(reply);
    if ((*effect_)->command(effect_, code, size, data, &reply_size, &reply) != 0 || reply != 0) {
      throw std::runtime_error("the effect refuses command " + std::to_string(code));
    }
  }

  // Interleaved: as many channels as configured in, two out.
  void process(float* bed, float* ears, size_t frames) {
    audio_buffer_t input = {}, output = {};
    input.frameCount = output.frameCount = frames;
    input.f32 = bed;
    output.f32 = ears;
    if ((*effect_)->process(effect_, &input, &output) != 0) {
      throw std::runtime_error("the effect refuses a block");
    }
  }

 private:
  void* library_;
  const audio_effect_library_t* record_ = nullptr;
  effect_handle_t effect_ = nullptr;
};

buffer_config_t stream(uint32_t channel_mask, uint8_t access) {
  buffer_config_t config = {};
  config.samplingRate = RATE_HZ;
  config.channels = channel_mask;
  config.format = AUDIO_FORMAT_PCM_FLOAT;
  config.accessMode = access;
  config.mask = EFFECT_CONFIG_ALL;
  return config;
}

void configure(Effect* effect) {
  effect_config_t config = {};
  config.inputCfg = stream(AUDIO_CHANNEL_OUT_5POINT1, EFFECT_BUFFER_ACCESS_READ);
  config.outputCfg = stream(AUDIO_CHANNEL_OUT_STEREO, EFFECT_BUFFER_ACCESS_WRITE);
  effect->command(EFFECT_CMD_SET_CONFIG, sizeof(config), &config);
  effect->command(EFFECT_CMD_ENABLE);
}

// A parameter is a header, the parameter's id and its value, one after the other.
void turn_head(Effect* effect, float yaw) {
  const int32_t id = SPATIALIZER_PARAM_HEAD_TO_STAGE;
  // Translation, then the rotation vector about +x right, +y ahead, +z up that carries the stage as
  // the head sees it: the inverse of the head's own turn.
  const std::array<float, 6> pose = {0.0f, 0.0f, 0.0f, 0.0f, 0.0f, -yaw};
  effect_param_t header = {};
  header.psize = sizeof(id);
  header.vsize = sizeof(pose);
  std::array<char, sizeof(header) + sizeof(id) + sizeof(pose)> blob;
  std::memcpy(blob.data(), &header, sizeof(header));
  std::memcpy(blob.data() + sizeof(header), &id, sizeof(id));
  std::memcpy(blob.data() + sizeof(header) + sizeof(id), pose.data(), sizeof(pose));
  effect->command(EFFECT_CMD_SET_PARAM, blob.size(), blob.data());
}

void render(Effect* effect, FILE* file) {
  std::vector<float> bed(NUM_CHANNELS * BLOCK_FRAMES), ears(2 * BLOCK_FRAMES);
  wav_put_header(file, BED_FRAMES);
  for (uint32_t first = 0; first < BED_FRAMES; first += BLOCK_FRAMES) {
    for (uint32_t i = 0; i < bed.size(); ++i) {
      bed[i] = bed_sample(i % NUM_CHANNELS, first + i / NUM_CHANNELS);
    }
    effect->process(bed.data(), ears.data(), BLOCK_FRAMES);
    if (std::fwrite(ears.data(), sizeof(float), ears.size(), file) != ears.size()) {
      throw std::runtime_error("the file cannot be written");
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  FILE* file = argc == 3 ? std::fopen(argv[2], "wb") : nullptr;
  if (!file) {
    std::fputs("usage: effect_host LIBRARY OUT.wav\n", stderr);
    return 2;
  }
  try {
    Effect effect(argv[1]);
    configure(&effect);
    turn_head(&effect, HEAD_YAW);
    render(&effect, file);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "effect_host: %s\n", failure.what());
    return 1;
  }
  return std::fclose(file) == 0 ? 0 : 1;
}
