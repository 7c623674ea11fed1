// SPDX-License-Identifier: Apache-2.0
#include "tools/render/effect_host.h"

#include <dlfcn.h>

#include <cstring>
#include <filesystem>

#include "effect/uuid.h"
#include "tools/ears/ears.h"
#include "tools/render/failure.h"
#include "tools/render/host_log.h"
#include "tools/render/program_path.h"

#ifndef ORVANE_LIBRARY_NAME
#define ORVANE_LIBRARY_NAME "liborvane.so"
#endif
#ifndef ORVANE_LIBRARY_DIR_FROM_PROGRAM
#define ORVANE_LIBRARY_DIR_FROM_PROGRAM "../lib"
#endif

namespace render {
namespace {

constexpr char kLibraryName[] = ORVANE_LIBRARY_NAME;
constexpr uint32_t kLibraryApiMajor = 3;
constexpr size_t kMaxValueBytes = 6 * sizeof(float);  // of a parameter, the head pose

Failure loader_failure(const std::string& path) {
  const char* text = dlerror();
  std::string reason = text ? text : "cannot be loaded";
  const std::string prefix = path + ": ";
  if (reason.compare(0, prefix.size(), prefix) == 0) reason.erase(0, prefix.size());
  return Failure(path, reason);
}

Failure effect_failure(const std::string& path, const std::string& what) {
  const std::string line = host_log_take_error();
  return Failure(path, line.empty() ? what : what + " (" + line + ")");
}

const audio_effect_library_t& find_record(const std::string& path, void* library) {
  const auto* record = static_cast<const audio_effect_library_t*>(dlsym(library, "AELI"));
  if (!record || record->tag != AUDIO_EFFECT_LIBRARY_TAG) {
    throw Failure(path, "is not an audio effect library");
  }
  if (record->version >> 16 != kLibraryApiMajor) {
    throw Failure(path, "has an effect library interface of another version");
  }
  return *record;
}

effect_handle_t create(const std::string& path, const audio_effect_library_t& record) {
  effect_handle_t handle = nullptr;
  if (record.create_effect(&orvane_uuid, 0, 0, &handle) != 0) {
    throw effect_failure(path, "cannot create the Spatializer");
  }
  return handle;
}

buffer_config_t stream_config(uint32_t channel_mask, uint8_t access_mode) {
  buffer_config_t config = {};
  config.samplingRate = kEffectRateHz;
  config.channels = channel_mask;
  config.format = AUDIO_FORMAT_PCM_FLOAT;
  config.accessMode = access_mode;
  config.mask = EFFECT_CONFIG_ALL;
  return config;
}

}  // namespace

std::string effect_library_find(const std::string& requested) {
  namespace fs = std::filesystem;
  if (!requested.empty()) {
    // A bare name would make the loader search its own path.
    return fs::path(requested).has_parent_path() ? requested : "./" + requested;
  }
  const fs::path installed = fs::path(ORVANE_LIBRARY_DIR_FROM_PROGRAM) / kLibraryName;
  const fs::path found = program_path_find({kLibraryName, installed});
  return found.empty() ? kLibraryName : found.string();
}

void* effect_library_load(const std::string& path) {
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) throw loader_failure(path);
  return library;
}

EffectHost::EffectHost(const std::string& library, uint32_t channel_mask, const std::string& ears)
    : path_(library), library_(effect_library_load(library), dlclose), effect_(nullptr, nullptr) {
  if (!ears.empty()) {
    renderer_ =
        std::make_unique<ears::RendererHost>(library_.get(), path_, ears::ears_load_and_tell(ears));
    renderer_->configure(channel_mask);
    return;
  }
  const audio_effect_library_t& record = find_record(path_, library_.get());
  effect_ = Instance(create(path_, record), record.release_effect);
  configure(channel_mask);
  command(EFFECT_CMD_ENABLE, 0, nullptr, "refuses to be enabled");
}

EffectHost::EffectHost(const std::string& library, const ears::Field& field,
                       const std::string& ears)
    : path_(library), library_(effect_library_load(library), dlclose), effect_(nullptr, nullptr) {
  renderer_ = std::make_unique<ears::RendererHost>(
      library_.get(), path_, ears.empty() ? ears::EarTables() : ears::ears_load_and_tell(ears));
  renderer_->configure_field(field);
}

EffectHost::~EffectHost() {
  int32_t reply = 0;
  uint32_t reply_size = sizeof(reply);
  effect_handle_t handle = effect_.get();
  if (handle) (*handle)->command(handle, EFFECT_CMD_DISABLE, 0, nullptr, &reply_size, &reply);
}

void EffectHost::configure(uint32_t channel_mask) {
  if (renderer_) return renderer_->configure(channel_mask);
  effect_config_t config = {};
  config.inputCfg = stream_config(channel_mask, EFFECT_BUFFER_ACCESS_READ);
  config.outputCfg = stream_config(AUDIO_CHANNEL_OUT_STEREO, EFFECT_BUFFER_ACCESS_WRITE);
  command(EFFECT_CMD_SET_CONFIG, sizeof(config), &config, "refuses the configuration");
}

void EffectHost::command(uint32_t code, uint32_t size, void* data, const char* what) {
  int32_t reply = 0;
  uint32_t reply_size = sizeof(reply);
  effect_handle_t handle = effect_.get();
  const int32_t result = (*handle)->command(handle, code, size, data, &reply_size, &reply);
  if (result != 0 || reply != 0) throw effect_failure(path_, what);
}

void EffectHost::set_head_to_stage(const std::array<float, 6>& pose) {
  if (renderer_) return renderer_->set_head_to_stage(pose);
  send(SPATIALIZER_PARAM_HEAD_TO_STAGE, pose.data(), sizeof(pose), "refuses the head pose");
}

void EffectHost::set_parameter(int32_t id, float value, const std::string& name) {
  if (renderer_) return renderer_->set_parameter(id, value, name);
  send(id, &value, sizeof(value), ("refuses " + name).c_str());
}

void EffectHost::send(int32_t id, const void* value, uint32_t size, const char* what) {
  effect_param_t head = {};
  head.psize = sizeof(id);
  head.vsize = size;
  std::array<unsigned char, sizeof(head) + sizeof(id) + kMaxValueBytes> blob;
  std::memcpy(blob.data(), &head, sizeof(head));
  std::memcpy(blob.data() + sizeof(head), &id, sizeof(id));
  std::memcpy(blob.data() + sizeof(head) + sizeof(id), value, size);
  const size_t used = sizeof(head) + sizeof(id) + size;
  command(EFFECT_CMD_SET_PARAM, static_cast<uint32_t>(used), blob.data(), what);
}

void EffectHost::process(float* bed, float* ears, size_t frames) {
  if (renderer_) return renderer_->process(bed, ears, frames);
  audio_buffer_t input = {};
  audio_buffer_t output = {};
  input.frameCount = output.frameCount = frames;
  input.f32 = bed;
  output.f32 = ears;
  effect_handle_t handle = effect_.get();
  const int32_t result = (*handle)->process(handle, &input, &output);
  if (result != 0) throw effect_failure(path_, "fails to render a block");
}

}  // namespace render
