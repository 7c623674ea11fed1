// SPDX-License-Identifier: Apache-2.0
#include "tools/render/effect_host.h"

#include <filesystem>

#include "tools/dynamic_library.h"
#include "tools/ears/ears.h"
#include "tools/render/failure.h"
#include "tools/render/files.h"
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

Failure loader_failure(const std::string& path) {
  const char* text = dlerror();
  std::string reason = text ? text : "cannot be loaded";
  const std::string prefix = path + ": ";
  if (reason.compare(0, prefix.size(), prefix) == 0) reason.erase(0, prefix.size());
  return Failure(path, reason);
}

}  // namespace

std::string effect_library_find(const std::string& requested) {
  namespace fs = std::filesystem;
  if (!requested.empty()) {
    // A bare name would make the loader search its own path.
    return file_path(requested).has_parent_path() ? requested : "./" + requested;
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
    : path_(library), library_(effect_library_load(library), dlclose) {
  if (!ears.empty()) {
    renderer_ =
        std::make_unique<ears::RendererHost>(library_.get(), path_, ears::ears_load_and_tell(ears));
    renderer_->configure(channel_mask);
    return;
  }
  const char* why = "";
  const audio_effect_library_t* const record = effect_client::find_record(library_.get(), &why);
  if (!record) throw Failure(path_, why);
  effect_.emplace(*record);
  require(effect_->exists(), "cannot create the Spatializer");
  configure(channel_mask);
  require(effect_->enable(), "refuses to be enabled");
}

EffectHost::EffectHost(const std::string& library, const ears::Field& field,
                       const std::string& ears)
    : path_(library), library_(effect_library_load(library), dlclose) {
  renderer_ = std::make_unique<ears::RendererHost>(
      library_.get(), path_, ears.empty() ? ears::EarTables() : ears::ears_load_and_tell(ears));
  renderer_->configure_field(field);
}

EffectHost::~EffectHost() {
  if (effect_) effect_->disable();
}

void EffectHost::require(bool succeeded, const char* what) const {
  if (succeeded) return;
  const std::string line = host_log_take_error();
  throw Failure(path_, line.empty() ? what : what + (" (" + line + ")"));
}

void EffectHost::configure(uint32_t channel_mask) {
  if (renderer_) return renderer_->configure(channel_mask);
  require(effect_->configure(channel_mask), "refuses the configuration");
}

void EffectHost::set_head_to_stage(const std::array<float, 6>& pose) {
  if (renderer_) return renderer_->set_head_to_stage(pose);
  require(effect_->set_head_to_stage(pose.data()), "refuses the head pose");
}

void EffectHost::set_parameter(int32_t id, float value, const std::string& name) {
  if (renderer_) return renderer_->set_parameter(id, value, name);
  require(effect_->set_parameter(id, value), ("refuses " + name).c_str());
}

void EffectHost::process(float* bed, float* ears, size_t frames) {
  if (renderer_) return renderer_->process(bed, ears, frames);
  require(effect_->process(bed, ears, frames), "fails to render a block");
}

}  // namespace render
