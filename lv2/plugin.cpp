// SPDX-License-Identifier: Apache-2.0
// The LV2 interface of the bundle's plug-ins, one per layout. What they are and which ports they
// have says ports.h; hosts read it in the files that make_bundle writes.
#include <lv2/core/lv2.h>
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "ambisonics/binauralizer.h"
#include "lv2/ears.h"
#include "lv2/host.h"
#include "lv2/ports.h"
#include "lv2/room.h"
#include "lv2/spatializer.h"

namespace lv2_plugin {
namespace {

constexpr size_t kMaxPath = 1024;  // letters of the path to the ears

// What the audio thread asks of the worker.
struct Job {
  bool builds;  // the room of the rest; if not, only the room that was left is released
  bool has_path;
  RoomValues values;
  std::array<float, 3> head;
  char path[kMaxPath];  // of the ears, as far as there is one: jobs are as long as needed
};

size_t size_of(const Job& job) {
  return offsetof(Job, path) + (job.has_path ? std::strlen(job.path) + 1 : 0);
}

class Plugin {
 public:
  Plugin(const orvane_layout_t& layout, const LV2_Feature* const* features)
      : layout_(layout),
        ports_{layout.num_channels},
        schedule_(
            static_cast<const LV2_Worker_Schedule*>(find_feature(features, LV2_WORKER__schedule))),
        log_(features),
        ears_(static_cast<const LV2_URID_Map*>(find_feature(features, LV2_URID__map))),
        spatializer_(layout.num_channels) {}
  ~Plugin() {
    delete built_.load();
    delete left_.load();
  }

  void connect(uint32_t port, void* data) {
    if (port == ports_.messages()) {
      messages_ = static_cast<const LV2_Atom_Sequence*>(data);
    } else if (port < ports_.count()) {
      data_[port] = static_cast<float*>(data);
    }
  }

  // The room as the controls have it now. Where there is no memory for it, run() is silent.
  void activate() {
    wanted_ = controls();
    const render::Pose head = head_pose();
    std::unique_ptr<Room> room = build(wanted_, head_vector_of(head));
    ears_changed_.store(false);
    is_started_ = room != nullptr;
    spatializer_.start(std::move(room), head);
  }

  void run(uint32_t frames) {
    if (float* latency = data_[ports_.latency()]) {
      *latency = static_cast<float>(BINAURALIZER_LATENCY);
    }
    float* const ears[] = {data_[ports_.ear(0)], data_[ports_.ear(1)]};
    if (!is_started_) {
      for (float* ear : ears) {
        if (ear) std::memset(ear, 0, frames * sizeof(float));
      }
      return;
    }
    note_request();
    change_room();
    spatializer_.process(data_, ears, frames, head_pose());
  }

  LV2_Worker_Status work(const Job& job) {
    delete left_.exchange(nullptr, std::memory_order_acquire);
    if (!job.builds) return LV2_WORKER_SUCCESS;
    if (job.has_path) {
      const std::string problem = ears_.load(job.path);
      if (!problem.empty()) log_.error(problem.c_str());
    }
    Room* room = build(job.values, job.head).release();
    if (room) delete built_.exchange(room, std::memory_order_acq_rel);
    is_building_.store(false, std::memory_order_release);
    return room ? LV2_WORKER_SUCCESS : LV2_WORKER_ERR_NO_SPACE;
  }

  LV2_State_Status save(LV2_State_Store_Function store, LV2_State_Handle handle,
                        const LV2_Feature* const* features) const {
    return ears_.save(store, handle, features);
  }

  LV2_State_Status restore(LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle,
                           const LV2_Feature* const* features) {
    std::string problem;
    const LV2_State_Status status = ears_.restore(retrieve, handle, features, &problem);
    if (!problem.empty()) log_.error(problem.c_str());
    ears_changed_.store(true);
    return status;
  }

 private:
  std::unique_ptr<Room> build(const RoomValues& values, const std::array<float, 3>& head) const {
    const Ears::Tables tables = ears_.tables();
    return Room::build(layout_, values, head, tables.get());
  }

  float control(uint32_t port, float otherwise) const {
    return data_[port] ? *data_[port] : otherwise;
  }

  RoomValues controls() const {
    RoomValues values = room_defaults();
    for (uint32_t row = 0; row < values.size(); ++row) {
      values[row] = control(ports_.parameter(row), values[row]);
    }
    return values;
  }

  render::Pose head_pose() const {
    return {static_cast<double>(control(ports_.head(kYaw), 0.0f)),
            static_cast<double>(control(ports_.head(kPitch), 0.0f)),
            static_cast<double>(control(ports_.head(kRoll), 0.0f))};
  }

  // Keeps the ears that a message asks for until there is a worker for them.
  void note_request() {
    size_t length = 0;
    const char* path = ears_.find_request(messages_, &length);
    if (!path || length >= kMaxPath) return;
    std::memcpy(wanted_path_, path, length);
    wanted_path_[length] = 0;
    wants_path_ = true;
  }

  // Asks for a room when the controls say another one, or other ears are wanted, enters the one
  // that has been built, and has the one that was left released. One thing at a time; what changes
  // meanwhile is seen later.
  void change_room() {
    if (!schedule_ || spatializer_.is_fading()) return;
    if (Room* left = spatializer_.take_left_room()) {
      left_.store(left, std::memory_order_release);  // empty: the job that built emptied it
      send({});                                      // if this is lost, the next job releases it
    }
    if (is_building_.load(std::memory_order_acquire)) return;
    if (Room* room = built_.exchange(nullptr, std::memory_order_acquire)) {
      wanted_ = room->values();
      spatializer_.enter(std::unique_ptr<Room>(room));
      return;
    }
    const RoomValues now = controls();
    // As bytes: a value that is not a number is not to be asked for again and again.
    const bool same_room = !std::memcmp(now.data(), wanted_.data(), sizeof(now));
    if (same_room && !wants_path_ && !ears_changed_.load(std::memory_order_relaxed)) return;
    Job job = {true, wants_path_, now, spatializer_.head_vector(), {}};
    if (wants_path_) std::memcpy(job.path, wanted_path_, sizeof(job.path));
    is_building_.store(true, std::memory_order_relaxed);
    const bool changed = ears_changed_.exchange(false);
    if (send(job)) {
      wanted_ = now;
      wants_path_ = false;
    } else {  // again with the next block
      is_building_.store(false, std::memory_order_relaxed);
      if (changed) ears_changed_.store(true);
    }
  }

  bool send(const Job& job) const {
    return schedule_->schedule_work(schedule_->handle, static_cast<uint32_t>(size_of(job)), &job) ==
           LV2_WORKER_SUCCESS;
  }

  const orvane_layout_t& layout_;
  Ports ports_;
  const LV2_Worker_Schedule* schedule_;  // null: the room of activate() stays
  Log log_;
  Ears ears_;
  float* data_[kMaxPorts] = {};
  const LV2_Atom_Sequence* messages_ = nullptr;
  char wanted_path_[kMaxPath];  // of ears that no job has asked for yet
  bool wants_path_ = false;
  std::atomic<bool> ears_changed_ = false;  // by restore(), since the last job
  Spatializer spatializer_;
  bool is_started_ = false;
  RoomValues wanted_ = {};  // of the last job
  // Rooms on their way from the worker and back. They pass through here rather than through the
  // host's messages, because none must be lost where a host drops those.
  std::atomic<Room*> built_ = nullptr, left_ = nullptr;
  std::atomic<bool> is_building_ = false;
};

Plugin* plugin(LV2_Handle handle) { return static_cast<Plugin*>(handle); }

LV2_Handle instantiate(const LV2_Descriptor* descriptor, double rate, const char* /*bundle*/,
                       const LV2_Feature* const* features) {
  if (rate != double{ORVANE_SAMPLE_RATE}) {
    char line[128];
    std::snprintf(line, sizeof(line), "the host runs at %g Hz, but the plug-in needs %d Hz", rate,
                  int{ORVANE_SAMPLE_RATE});
    Log(features).error(line);
    return nullptr;
  }
  const orvane_layout_t* layout = nullptr;
  for (const std::string_view name : kLayoutNames) {
    if (Uri(name).text == std::string_view(descriptor->URI)) layout = find_layout(name);
  }
  if (!layout) return nullptr;
  return new (std::nothrow) Plugin(*layout, features);
}

void connect_port(LV2_Handle handle, uint32_t port, void* data) {
  plugin(handle)->connect(port, data);
}

void activate(LV2_Handle handle) { plugin(handle)->activate(); }

void run(LV2_Handle handle, uint32_t frames) { plugin(handle)->run(frames); }

void cleanup(LV2_Handle handle) { delete plugin(handle); }

LV2_Worker_Status work(LV2_Handle handle, LV2_Worker_Respond_Function /*respond*/,
                       LV2_Worker_Respond_Handle /*respond_handle*/, uint32_t size,
                       const void* data) {
  Job job = {};
  if (size < offsetof(Job, path) || size > sizeof(job)) return LV2_WORKER_ERR_UNKNOWN;
  std::memcpy(&job, data, sizeof(job));
  return plugin(handle)->work(job);
}

LV2_Worker_Status work_response(LV2_Handle /*handle*/, uint32_t /*size*/, const void* /*data*/) {
  return LV2_WORKER_SUCCESS;
}

LV2_State_Status save(LV2_Handle handle, LV2_State_Store_Function store, LV2_State_Handle state,
                      uint32_t /*flags*/, const LV2_Feature* const* features) {
  return plugin(handle)->save(store, state, features);
}

LV2_State_Status restore(LV2_Handle handle, LV2_State_Retrieve_Function retrieve,
                         LV2_State_Handle state, uint32_t /*flags*/,
                         const LV2_Feature* const* features) {
  return plugin(handle)->restore(retrieve, state, features);
}

const void* extension_data(const char* uri) {
  static const LV2_Worker_Interface worker = {work, work_response, nullptr};
  static const LV2_State_Interface state = {save, restore};
  if (!std::strcmp(uri, LV2_WORKER__interface)) return &worker;
  return std::strcmp(uri, LV2_STATE__interface) ? nullptr : &state;
}

constexpr size_t kNumPlugins = std::size(kLayoutNames);

struct Descriptors {
  Uri uris[kNumPlugins] = {Uri(kLayoutNames[0]), Uri(kLayoutNames[1]), Uri(kLayoutNames[2])};
  LV2_Descriptor all[kNumPlugins] = {};

  Descriptors() {
    for (size_t i = 0; i < kNumPlugins; ++i) {
      all[i] = {uris[i].text, instantiate, connect_port, activate,
                run,          nullptr,     cleanup,      extension_data};
    }
  }
};

}  // namespace
}  // namespace lv2_plugin

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {
  static const lv2_plugin::Descriptors descriptors;
  return index < std::size(descriptors.all) ? &descriptors.all[index] : nullptr;
}
