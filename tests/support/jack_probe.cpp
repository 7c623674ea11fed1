// SPDX-License-Identifier: Apache-2.0
#include "tests/support/jack_probe.h"

#include <cerrno>
#include <utility>

#include "base/limits.h"

namespace {

constexpr size_t kRoom = 30 * size_t{ORVANE_SAMPLE_RATE};  // frames

jack_client_t* open_client() {
  jack_status_t status = {};
  return jack_client_open("probe", JackNoStartServer, &status);
}

}  // namespace

JackProbe::JackProbe(size_t outputs) : client_(open_client()), plays_(outputs > 0) {
  const unsigned long flags =
      plays_ ? JackPortIsOutput : JackPortIsInput | JackPortIsPhysical | JackPortIsTerminal;
  for (size_t i = 0; i < (plays_ ? outputs : 2); ++i) {
    const std::string name = "port" + std::to_string(i);
    ports_.push_back(jack_port_register(client_, name.c_str(), JACK_DEFAULT_AUDIO_TYPE, flags, 0));
  }
  samples_.resize(ports_.size());
  if (!plays_) recorded_.resize(2 * kRoom);
  const auto process = [](jack_nframes_t frames, void* self) {
    static_cast<JackProbe*>(self)->process(frames);
    return 0;
  };
  jack_set_process_callback(client_, process, this);
  jack_activate(client_);
}

JackProbe::~JackProbe() { jack_client_close(client_); }

std::vector<std::string> JackProbe::ports_of(const std::string& other, unsigned long flags) const {
  std::vector<std::string> names;
  const char** ports = jack_get_ports(client_, ("^" + other + ":").c_str(), nullptr, flags);
  for (size_t i = 0; ports && ports[i]; ++i) names.emplace_back(ports[i]);
  jack_free(ports);
  return names;
}

bool JackProbe::connect_to(const std::string& other) const {
  const std::vector<std::string> inputs = inputs_of(other);
  bool connected = inputs.size() == ports_.size();
  for (size_t i = 0; connected && i < ports_.size(); ++i) {
    connected = jack_connect(client_, jack_port_name(ports_[i]), inputs[i].c_str()) == 0;
  }
  return connected;
}

bool JackProbe::hear(const std::string& other) const {
  const std::vector<std::string> outputs = ports_of(other, JackPortIsOutput);
  bool connected = outputs.size() == ports_.size();
  for (size_t i = 0; connected && i < ports_.size(); ++i) {
    const int code = jack_connect(client_, outputs[i].c_str(), jack_port_name(ports_[i]));
    connected = code == 0 || code == EEXIST;
  }
  return connected;
}

void JackProbe::play(std::vector<float> frames, bool loop) {
  playing_ = std::move(frames);
  loop_ = loop;
  started_ = true;
}

void JackProbe::process(size_t frames) {
  for (size_t i = 0; i < ports_.size(); ++i) {
    samples_[i] =
        static_cast<float*>(jack_port_get_buffer(ports_[i], static_cast<jack_nframes_t>(frames)));
  }
  if (plays_) {
    emit(samples_, frames);
  } else {
    record(samples_, frames);
  }
}

void JackProbe::record(const std::vector<float*>& samples, size_t frames) {
  const size_t begin = recorded_frames_.load();
  if (begin == 0) start_time_ = jack_last_frame_time(client_);
  if (begin + frames > kRoom) return;
  for (size_t i = 0; i < frames; ++i) {
    for (size_t ear = 0; ear < 2; ++ear) recorded_[2 * (begin + i) + ear] = samples[ear][i];
  }
  recorded_frames_.store(begin + frames);
}

void JackProbe::emit(const std::vector<float*>& samples, size_t frames) {
  const size_t channels = samples.size(), length = started_ ? playing_.size() / channels : 0;
  for (size_t i = 0; i < frames; ++i) {
    const bool sounds = position_ < length;
    for (size_t c = 0; c < channels; ++c) {
      samples[c][i] = sounds ? playing_[position_ * channels + c] : 0.0f;
    }
    if (sounds && ++position_ == length && loop_) position_ = 0;
  }
}
