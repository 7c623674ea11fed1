// SPDX-License-Identifier: Apache-2.0
// A host of the LV2 plug-ins for tests: it runs a worker's jobs when the test says so.
#ifndef ORVANE_TESTS_SUPPORT_LV2_HOST_H_
#define ORVANE_TESTS_SUPPORT_LV2_HOST_H_

#include <dlfcn.h>
#include <lv2/atom/forge.h>
#include <lv2/core/lv2.h>
#include <lv2/log/log.h>
#include <lv2/patch/patch.h>
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "lv2/ports.h"
#include "tests/support/signals.h"

class Lv2Host {
 public:
  // The plug-in of `layout`, of the bundle's binary ORVANE_LV2_PLUGIN. All controls start at their
  // defaults. Call activate() before run().
  explicit Lv2Host(std::string_view layout, bool has_worker = true, double rate = 48000.0)
      : ports_{lv2_plugin::find_layout(layout)->num_channels}, controls_(ports_.count()) {
    library_ = dlopen(ORVANE_LV2_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    const auto find = reinterpret_cast<LV2_Descriptor_Function>(dlsym(library_, "lv2_descriptor"));
    const lv2_plugin::Uri uri(layout);
    for (uint32_t i = 0; (descriptor_ = find(i)) != nullptr; ++i) {
      if (!std::strcmp(descriptor_->URI, uri.text)) break;
    }
    const LV2_Feature* features[] = {&log_feature_, &map_feature_,
                                     has_worker ? &worker_feature_ : nullptr, nullptr};
    plugin_ = descriptor_->instantiate(descriptor_, rate, "", features);
    worker_ = static_cast<const LV2_Worker_Interface*>(
        descriptor_->extension_data(LV2_WORKER__interface));
    for (uint32_t row = 0; row < ORVANE_NUM_PARAMETERS; ++row) {
      controls_[ports_.parameter(row)] = lv2_plugin::port_default(orvane_parameters[row]);
    }
    for (uint32_t port = ports_.head(0); plugin_ && port <= ports_.latency(); ++port) {
      descriptor_->connect_port(plugin_, port, &controls_[port]);
    }
  }
  ~Lv2Host() {
    if (plugin_) descriptor_->cleanup(plugin_);
    dlclose(library_);
  }
  Lv2Host(const Lv2Host&) = delete;
  Lv2Host& operator=(const Lv2Host&) = delete;

  bool has_plugin() const { return plugin_ != nullptr; }
  const std::string& log() const { return log_; }
  const lv2_plugin::Ports& ports() const { return ports_; }

  float& control(uint32_t port) { return controls_[port]; }
  float& parameter(int32_t number) {
    return controls_[ports_.parameter(
        static_cast<uint32_t>(orvane_find_parameter(number) - orvane_parameters))];
  }

  void connect(uint32_t port, float* data) { descriptor_->connect_port(plugin_, port, data); }
  void activate() { descriptor_->activate(plugin_); }
  void run(uint32_t frames) { descriptor_->run(plugin_, frames); }

  // Frames `begin` to `end` of `bed` to the same of `ears`, `block` at a time.
  void render(Planar& bed, Planar& ears, uint32_t begin, uint32_t end, uint32_t block) {
    for (uint32_t at = begin; at < end; at += block) {
      for (uint32_t channel = 0; channel < ports_.channels; ++channel) {
        connect(channel, bed.data()[channel] + at);
      }
      for (uint32_t side = 0; side < 2; ++side) connect(ports_.ear(side), ears.data()[side] + at);
      run(std::min(block, end - at));
    }
  }

  // Runs one frame of silence with a message that sets the property of the ears.
  void ask_for_ears(const std::string& path) {
    alignas(8) unsigned char buffer[4096];
    LV2_Atom_Forge forge = {};
    lv2_atom_forge_init(&forge, &map_);
    lv2_atom_forge_set_buffer(&forge, buffer, sizeof(buffer));
    LV2_Atom_Forge_Frame sequence, object;
    lv2_atom_forge_sequence_head(&forge, &sequence, 0);
    lv2_atom_forge_frame_time(&forge, 0);
    lv2_atom_forge_object(&forge, &object, 0, map(LV2_PATCH__Set));
    lv2_atom_forge_key(&forge, map(LV2_PATCH__property));
    lv2_atom_forge_urid(&forge, map(lv2_plugin::kEarsUri));
    lv2_atom_forge_key(&forge, map(LV2_PATCH__value));
    lv2_atom_forge_path(&forge, path.c_str(), static_cast<uint32_t>(path.size()));
    lv2_atom_forge_pop(&forge, &object);
    lv2_atom_forge_pop(&forge, &sequence);
    for (uint32_t channel = 0; channel < ports_.channels; ++channel) connect(channel, nullptr);
    for (uint32_t side = 0; side < 2; ++side) connect(ports_.ear(side), nullptr);
    descriptor_->connect_port(plugin_, ports_.messages(), buffer);
    run(1);
    descriptor_->connect_port(plugin_, ports_.messages(), nullptr);
  }

  // The saved path of the ears.
  std::string save() {
    std::string saved = "nothing";
    const auto store = [](LV2_State_Handle to, uint32_t, const void* value, size_t, uint32_t,
                          uint32_t) {
      *static_cast<std::string*>(to) = static_cast<const char*>(value);
      return LV2_STATE_SUCCESS;
    };
    state()->save(plugin_, store, &saved, 0, nullptr);
    return saved;
  }
  LV2_State_Status restore(const std::string& path) {
    struct Saved {
      const std::string* path;
      uint32_t type;
    } saved = {&path, map(LV2_ATOM__Path)};
    const auto retrieve = [](LV2_State_Handle from, uint32_t, size_t* size, uint32_t* type,
                             uint32_t* flags) -> const void* {
      const Saved& s = *static_cast<Saved*>(from);
      *size = s.path->size() + 1;
      *type = s.type;
      *flags = LV2_STATE_IS_POD;
      return s.path->c_str();
    };
    return state()->restore(plugin_, retrieve, &saved, 0, nullptr);
  }

  size_t num_jobs() const { return num_jobs_; }

  // Does what the plug-in has asked its worker for.
  void work() {
    const size_t jobs = num_jobs_;
    num_jobs_ = 0;
    for (size_t job = 0; job < jobs; ++job) {
      worker_->work(plugin_, nullptr, nullptr, job_sizes_[job], jobs_[job]);
    }
  }

 private:
  const LV2_State_Interface* state() const {
    return static_cast<const LV2_State_Interface*>(
        descriptor_->extension_data(LV2_STATE__interface));
  }
  LV2_URID map(const char* uri) {
    const auto found = std::find(uris_.begin(), uris_.end(), uri);
    if (found != uris_.end()) return static_cast<LV2_URID>(found - uris_.begin()) + 1;
    uris_.emplace_back(uri);
    return static_cast<LV2_URID>(uris_.size());
  }

  // Takes no memory: the audio thread calls it.
  LV2_Worker_Status schedule(uint32_t size, const void* data) {
    if (num_jobs_ == kMaxJobs || size > sizeof(jobs_[0])) return LV2_WORKER_ERR_NO_SPACE;
    std::memcpy(jobs_[num_jobs_], data, size);
    job_sizes_[num_jobs_++] = size;
    return LV2_WORKER_SUCCESS;
  }
  static int print_list(void* self, LV2_URID, const char* format, va_list arguments) {
    char line[256];
    const int length = std::vsnprintf(line, sizeof(line), format, arguments);
    static_cast<Lv2Host*>(self)->log_ += line;
    return length;
  }
  static int print_line(void* self, LV2_URID type, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = print_list(self, type, format, arguments);
    va_end(arguments);
    return length;
  }

  static constexpr size_t kMaxJobs = 4;

  lv2_plugin::Ports ports_;
  std::vector<float> controls_;
  void* library_ = nullptr;
  const LV2_Descriptor* descriptor_ = nullptr;
  const LV2_Worker_Interface* worker_ = nullptr;
  LV2_Handle plugin_ = nullptr;
  std::string log_;
  std::vector<std::string> uris_;
  size_t num_jobs_ = 0;
  uint32_t job_sizes_[kMaxJobs] = {};
  unsigned char jobs_[kMaxJobs][2048];

  LV2_Worker_Schedule schedule_ = {this, [](void* self, uint32_t size, const void* data) {
                                     return static_cast<Lv2Host*>(self)->schedule(size, data);
                                   }};
  LV2_Log_Log log_functions_ = {this, print_line, print_list};
  LV2_URID_Map map_ = {
      this, [](void* self, const char* uri) { return static_cast<Lv2Host*>(self)->map(uri); }};
  LV2_Feature worker_feature_ = {LV2_WORKER__schedule, &schedule_};
  LV2_Feature log_feature_ = {LV2_LOG__log, &log_functions_};
  LV2_Feature map_feature_ = {LV2_URID__map, &map_};
};

#endif  // ORVANE_TESTS_SUPPORT_LV2_HOST_H_
