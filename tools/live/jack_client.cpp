// SPDX-License-Identifier: Apache-2.0
#include "tools/live/jack_client.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "tools/render/effect_host.h"
#include "tools/render/failure.h"

namespace live {
namespace {

using render::Failure;

void drop(const char* /*message*/) {}
void print(const char* message) { std::fprintf(stderr, "jack: %s\n", message); }

std::string server_text(const std::string& server) {
  const char* usual = std::getenv("JACK_DEFAULT_SERVER");
  return "JACK server " + (!server.empty() ? server : usual && *usual ? usual : "default");
}

jack_client_t* open_client(const std::string& name, const std::string& server) {
  jack_status_t status = {};
  const int options = JackNoStartServer | (server.empty() ? 0 : JackServerName);
  jack_client_t* client =
      jack_client_open(name.c_str(), static_cast<jack_options_t>(options), &status, server.c_str());
  if (client) return client;
  if (status & JackServerFailed) throw Failure(server_text(server), "is not running");
  throw Failure(server_text(server), "does not accept the client " + name);
}

}  // namespace

void jack_messages_set_verbose(bool verbose) {
  jack_set_error_function(verbose ? print : drop);
  jack_set_info_function(verbose ? print : drop);
}

JackClient::JackClient(const std::string& name, const std::string& server,
                       std::atomic<uint32_t>* xruns)
    : server_(server_text(server)),
      xruns_(xruns),
      client_(open_client(name, server), jack_client_close) {
  const jack_nframes_t rate_hz = jack_get_sample_rate(client_.get());
  if (rate_hz != render::kEffectRateHz) {
    throw Failure(server_, "runs at " + std::to_string(rate_hz) + " Hz, but the effect needs " +
                               std::to_string(render::kEffectRateHz));
  }
}

jack_port_t* JackClient::add_port(const std::string& name, unsigned long flags) {
  jack_port_t* port =
      jack_port_register(client_.get(), name.c_str(), JACK_DEFAULT_AUDIO_TYPE, flags, 0);
  if (!port) throw Failure(server_, "gives no port " + name);
  return port;
}

void JackClient::add_ports(const std::vector<std::string>& inputs) {
  for (const std::string& input : inputs) inputs_.push_back(add_port(input, JackPortIsInput));
  input_samples_.resize(inputs_.size());
  ears_ = {add_port("left", JackPortIsOutput), add_port("right", JackPortIsOutput)};
}

void JackClient::activate(Engine* engine) {
  engine_ = engine;
  set_callbacks();
  if (jack_activate(client_.get()) != 0) throw Failure(server_, "does not start the client");
}

void JackClient::set_callbacks() {
  jack_client_t* client = client_.get();
  jack_set_process_callback(
      client,
      [](jack_nframes_t frames, void* self) {
        return static_cast<JackClient*>(self)->process(frames);
      },
      this);
  jack_set_buffer_size_callback(
      client,
      [](jack_nframes_t frames, void* self) {
        static_cast<JackClient*>(self)->engine_->set_period(frames);
        return 0;
      },
      this);
  jack_set_xrun_callback(
      client,
      [](void* self) {
        static_cast<JackClient*>(self)->xruns_->fetch_add(1, std::memory_order_relaxed);
        return 0;
      },
      this);
  jack_set_latency_callback(
      client,
      [](jack_latency_callback_mode_t mode, void* self) {
        static_cast<JackClient*>(self)->report_latency(mode);
      },
      this);
  jack_on_shutdown(
      client, [](void* self) { static_cast<JackClient*>(self)->lost_.store(true); }, this);
}

int JackClient::process(jack_nframes_t frames) {
  for (size_t i = 0; i < inputs_.size(); ++i) {
    input_samples_[i] = static_cast<const float*>(jack_port_get_buffer(inputs_[i], frames));
  }
  float* const ears[] = {static_cast<float*>(jack_port_get_buffer(ears_[0], frames)),
                         static_cast<float*>(jack_port_get_buffer(ears_[1], frames))};
  engine_->process(input_samples_.data(), ears, frames);
  return 0;
}

// What is behind the widest range of one side has the ear filters' delay before the other side.
void JackClient::report_latency(jack_latency_callback_mode_t mode) {
  const std::vector<jack_port_t*> ears(ears_.begin(), ears_.end());
  const bool capture = mode == JackCaptureLatency;
  jack_latency_range_t widest = {~jack_nframes_t{0}, 0};
  for (jack_port_t* port : capture ? inputs_ : ears) {
    jack_latency_range_t range = {};
    jack_port_get_latency_range(port, mode, &range);
    widest = {std::min(widest.min, range.min), std::max(widest.max, range.max)};
  }
  if (widest.min > widest.max) widest = {};  // a file is played: there are no inputs
  widest.min += render::kEarLatencyFrames;
  widest.max += render::kEarLatencyFrames;
  for (jack_port_t* port : capture ? ears : inputs_) {
    jack_port_set_latency_range(port, mode, &widest);
  }
}

std::vector<std::string> JackClient::connect_ears() {
  std::vector<std::string> connected;
  const char** playback = jack_get_ports(client_.get(), nullptr, JACK_DEFAULT_AUDIO_TYPE,
                                         JackPortIsPhysical | JackPortIsInput);
  for (size_t ear = 0; playback && ear < ears_.size() && playback[ear]; ++ear) {
    const int code = jack_connect(client_.get(), jack_port_name(ears_[ear]), playback[ear]);
    if (code == 0) connected.emplace_back(playback[ear]);
  }
  jack_free(playback);
  return connected;
}

}  // namespace live
