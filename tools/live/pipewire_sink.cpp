// SPDX-License-Identifier: Apache-2.0
#include "tools/live/pipewire_sink.h"

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>
#include <spa/param/audio/raw-types.h>
#include <spa/param/latency-utils.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <string_view>
#include <utility>

#include "tools/live/sink_buffers.h"
#include "tools/render/effect_host.h"
#include "tools/render/failure.h"

namespace live {
namespace {

using render::Failure;

constexpr uint32_t kParameterBytes = 2048;  // more than the description of a format takes
constexpr uint64_t kEarLatencyNs =
    1000000000ULL * render::kEarLatencyFrames / render::kEffectRateHz;

Failure server_failure(const SinkOptions& options, const std::string& what) {
  return Failure("PipeWire server" + (options.remote.empty() ? "" : " " + options.remote), what);
}

uint32_t find_position(const SinkOptions& options, const std::string& name) {
  for (const spa_type_info* type = spa_type_audio_channel; type->name; ++type) {
    const std::string_view full = type->name;
    if (full.substr(full.rfind(':') + 1) == name) return type->type;
  }
  throw server_failure(options, "has no name for the channel " + name);
}

spa_audio_info_raw format_of(const SinkOptions& options, const std::vector<std::string>& names) {
  spa_audio_info_raw format = {};
  format.format = SPA_AUDIO_FORMAT_F32P;
  format.rate = render::kEffectRateHz;
  format.channels = static_cast<uint32_t>(names.size());
  for (size_t i = 0; i < names.size(); ++i) format.position[i] = find_position(options, names[i]);
  return format;
}

// The newest of the buffers that wait; the others are given back.
pw_buffer* take_newest(pw_stream* stream) {
  pw_buffer* newest = nullptr;
  while (pw_buffer* next = pw_stream_dequeue_buffer(stream)) {
    if (newest) pw_stream_queue_buffer(stream, newest);
    newest = next;
  }
  return newest;
}

// The header's macro is of GNU C.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
#pragma GCC diagnostic ignored "-Wold-style-cast"
void listen(pw_core* core, spa_hook* hook, const pw_core_events* events, void* self) {
  pw_core_add_listener(core, hook, events, self);
}
#pragma GCC diagnostic pop

}  // namespace

struct PipeWireSink::Connection {
  Connection(const SinkOptions& options, FixedBlocks::Render render, Dropouts* dropouts);
  ~Connection();

  void open(const SinkOptions& options);
  pw_stream* make_stream(const SinkOptions& options, pw_properties* properties, spa_hook* hook,
                         const pw_stream_events* events);
  void connect(const SinkOptions& options, pw_stream* stream, pw_direction direction,
               const std::vector<std::string>& positions, int flags);
  void lose(const std::string& why);
  void report_latency(spa_latency_info latency);
  void watch_clock();
  void process();

  FixedBlocks blocks_;
  Dropouts* dropouts_;
  pw_thread_loop* loop_ = nullptr;
  pw_context* context_ = nullptr;
  pw_core* core_ = nullptr;
  pw_stream* input_ = nullptr;
  pw_stream* output_ = nullptr;
  spa_hook core_hook_ = {}, input_hook_ = {}, output_hook_ = {};
  pw_core_events core_events_ = {};
  pw_stream_events input_events_ = {}, output_events_ = {};
  // The audio thread's.
  const spa_io_position* position_ = nullptr;
  uint64_t next_position_ = 0;
  uint32_t clock_ = SPA_ID_INVALID;
  std::atomic<bool> restarts_ = true;  // sound begins anew: what is under way is old
  mutable std::mutex mutex_;           // of the text; no audio thread takes it
  std::string lost_;
};

PipeWireSink::Connection::Connection(const SinkOptions& options, FixedBlocks::Render render,
                                     Dropouts* dropouts)
    : blocks_(options.positions.size(), std::move(render)), dropouts_(dropouts) {
  core_events_.version = PW_VERSION_CORE_EVENTS;
  core_events_.error = [](void* self, uint32_t id, int, int code, const char* message) {
    if (id == PW_ID_CORE && code == -EPIPE) static_cast<Connection*>(self)->lose(message);
  };
  input_events_.version = PW_VERSION_STREAM_EVENTS;
  input_events_.state_changed = [](void* self, pw_stream_state, pw_stream_state state,
                                   const char* error) {
    Connection& c = *static_cast<Connection*>(self);
    if (state == PW_STREAM_STATE_ERROR) c.lose(error ? error : "refuses the sink");
    if (state != PW_STREAM_STATE_STREAMING) c.restarts_.store(true);
  };
  input_events_.param_changed = [](void* self, uint32_t id, const spa_pod* parameter) {
    spa_latency_info latency = {};
    if (id == SPA_PARAM_Latency && parameter && spa_latency_parse(parameter, &latency) >= 0) {
      static_cast<Connection*>(self)->report_latency(latency);
    }
  };
  output_events_ = input_events_;
  input_events_.io_changed = [](void* self, uint32_t id, void* area, uint32_t) {
    if (id == SPA_IO_Position) {
      static_cast<Connection*>(self)->position_ = static_cast<const spa_io_position*>(area);
    }
  };
  input_events_.process = [](void* self) {
    Connection& c = *static_cast<Connection*>(self);
    c.watch_clock();
    pw_stream_trigger_process(c.output_);
  };
  output_events_.process = [](void* self) { static_cast<Connection*>(self)->process(); };
}

PipeWireSink::Connection::~Connection() {
  if (loop_) pw_thread_loop_stop(loop_);
  if (output_) pw_stream_destroy(output_);
  if (input_) pw_stream_destroy(input_);
  if (core_) pw_core_disconnect(core_);
  if (context_) pw_context_destroy(context_);
  if (loop_) pw_thread_loop_destroy(loop_);
}

void PipeWireSink::Connection::lose(const std::string& why) {
  const std::lock_guard lock(mutex_);
  if (lost_.empty()) lost_ = why;
}

pw_stream* PipeWireSink::Connection::make_stream(const SinkOptions& options,
                                                 pw_properties* properties, spa_hook* hook,
                                                 const pw_stream_events* events) {
  // One group: both are scheduled by one driver, and never linked with each other.
  pw_properties_set(properties, PW_KEY_NODE_GROUP, options.name.c_str());
  pw_properties_set(properties, PW_KEY_NODE_LINK_GROUP, options.name.c_str());
  pw_properties_setf(properties, PW_KEY_NODE_RATE, "1/%d", render::kEffectRateHz);
  pw_stream* stream = pw_stream_new(core_, options.description.c_str(), properties);
  if (!stream) throw server_failure(options, "gives no stream");
  pw_stream_add_listener(stream, hook, events, this);
  return stream;
}

void PipeWireSink::Connection::connect(const SinkOptions& options, pw_stream* stream,
                                       pw_direction direction,
                                       const std::vector<std::string>& positions, int flags) {
  uint8_t buffer[kParameterBytes];
  spa_pod_builder builder = {};
  spa_pod_builder_init(&builder, buffer, sizeof(buffer));
  spa_audio_info_raw format = format_of(options, positions);
  const spa_pod* parameters[] = {
      spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format)};
  const int all = flags | PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS;
  if (pw_stream_connect(stream, direction, PW_ID_ANY, static_cast<pw_stream_flags>(all), parameters,
                        1) < 0) {
    throw server_failure(options, "does not connect the sink");
  }
}

void PipeWireSink::Connection::open(const SinkOptions& options) {
  loop_ = pw_thread_loop_new("orvane-sink", nullptr);
  if (!loop_) throw server_failure(options, "gives no loop");
  context_ = pw_context_new(pw_thread_loop_get_loop(loop_),
                            pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr), 0);
  if (!context_) throw server_failure(options, "gives no context");
  pw_properties* where = pw_properties_new(nullptr, nullptr);
  if (!options.remote.empty()) pw_properties_set(where, PW_KEY_REMOTE_NAME, options.remote.c_str());
  core_ = pw_context_connect(context_, where, 0);
  if (!core_) throw server_failure(options, "is not running");
  listen(core_, &core_hook_, &core_events_, this);
  const std::string ears = options.name + ".ears";
  output_ = make_stream(
      options,
      pw_properties_new(PW_KEY_NODE_NAME, ears.c_str(), PW_KEY_NODE_DESCRIPTION,
                        options.description.c_str(), PW_KEY_NODE_PASSIVE, "true", nullptr),
      &output_hook_, &output_events_);
  input_ =
      make_stream(options,
                  pw_properties_new(PW_KEY_NODE_NAME, options.name.c_str(), PW_KEY_NODE_DESCRIPTION,
                                    options.description.c_str(), PW_KEY_MEDIA_CLASS, "Audio/Sink",
                                    PW_KEY_NODE_VIRTUAL, "true", nullptr),
                  &input_hook_, &input_events_);
  connect(options, output_, PW_DIRECTION_OUTPUT, {"FL", "FR"},
          PW_STREAM_FLAG_TRIGGER | (options.connect ? PW_STREAM_FLAG_AUTOCONNECT : 0));
  connect(options, input_, PW_DIRECTION_INPUT, options.positions, 0);
  for (const spa_direction direction : {SPA_DIRECTION_INPUT, SPA_DIRECTION_OUTPUT}) {
    spa_latency_info none = {};  // until something is linked
    none.direction = direction;
    report_latency(none);
  }
  if (pw_thread_loop_start(loop_) < 0) throw server_failure(options, "gives no thread");
}

// What is behind one stream has the ear filters' delay before the other one.
void PipeWireSink::Connection::report_latency(spa_latency_info latency) {
  latency.min_ns += kEarLatencyNs;
  latency.max_ns += kEarLatencyNs;
  uint8_t buffer[kParameterBytes];
  spa_pod_builder builder = {};
  spa_pod_builder_init(&builder, buffer, sizeof(buffer));
  const spa_pod* parameters[] = {spa_latency_build(&builder, SPA_PARAM_Latency, &latency)};
  pw_stream_update_params(latency.direction == SPA_DIRECTION_INPUT ? input_ : output_, parameters,
                          1);
}

// A cycle that does not begin where the last one ended: this program was too late in between.
void PipeWireSink::Connection::watch_clock() {
  if (!position_) return;
  const spa_io_clock& clock = position_->clock;
  if (restarts_.exchange(false)) {
    blocks_.reset();
  } else if (clock.id == clock_ && clock.position != next_position_) {
    dropouts_->count(Dropout::kSkipped);
  }
  clock_ = clock.id;
  next_position_ = clock.position + clock.duration;
}

// A period without samples is one of silence, in which what sounds in the room goes on.
void PipeWireSink::Connection::process() {
  pw_buffer* in = take_newest(input_);
  pw_buffer* out = pw_stream_dequeue_buffer(output_);
  if (!in) dropouts_->count(Dropout::kNoInput);
  if (!out) dropouts_->count(Dropout::kNoOutput);
  if (out) {
    const size_t due = in ? sink_input_frames(*in->buffer) : out->requested;
    const size_t frames = std::min(due, sink_output_frames(*out->buffer));
    if (frames < due) dropouts_->count(Dropout::kNoOutput);
    float* ears[kSinkEars];
    sink_begin_output(*out->buffer, frames, ears);
    const float* inputs[kSinkChannels] = {};
    if (in) sink_find_inputs(*in->buffer, inputs);
    if (frames > 0) blocks_.process(inputs, ears, frames);
  }
  if (in) pw_stream_queue_buffer(input_, in);
  if (out) pw_stream_queue_buffer(output_, out);
}

void sink_check(const SinkOptions& options) { format_of(options, options.positions); }

PipeWireSink::PipeWireSink(const SinkOptions& options, FixedBlocks::Render render,
                           Dropouts* dropouts)
    : connection_(std::make_unique<Connection>(options, std::move(render), dropouts)) {
  connection_->open(options);
}

PipeWireSink::~PipeWireSink() = default;

std::string PipeWireSink::lost() const {
  const std::lock_guard lock(connection_->mutex_);
  return connection_->lost_;
}

void pipewire_start(bool verbose) {
  if (!verbose) setenv("PIPEWIRE_DEBUG", "0", 0);
  pw_init(nullptr, nullptr);
}

}  // namespace live
