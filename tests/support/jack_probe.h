// SPDX-License-Identifier: Apache-2.0
// A JACK client of the default server that plays into other programs or hears them.
#ifndef ORVANE_TESTS_SUPPORT_JACK_PROBE_H_
#define ORVANE_TESTS_SUPPORT_JACK_PROBE_H_

#include <jack/jack.h>

#include <atomic>
#include <cstddef>
#include <string>
#include <vector>

class JackProbe {
 public:
  // Plays from `outputs` outputs or, where that is 0, records two inputs for up to 30 seconds. The
  // inputs call themselves hardware, so that other programs connect to them by themselves.
  explicit JackProbe(size_t outputs);
  ~JackProbe();
  JackProbe(const JackProbe&) = delete;
  JackProbe& operator=(const JackProbe&) = delete;

  // JACK's time now, in frames since the first that was recorded.
  size_t now() const { return jack_frame_time(client_) - start_time_; }

  // Input ports of another client in the order of their making.
  std::vector<std::string> inputs_of(const std::string& other) const {
    return ports_of(other, JackPortIsInput);
  }

  // Connects the outputs with those, one by one. False if that fails.
  bool connect_to(const std::string& other) const;

  // Connects the outputs of another client, which has as many, with the inputs, where they are not
  // yet. False if that fails.
  bool hear(const std::string& other) const;

  // Plays interleaved frames once, or again and again, from the next period on. Only once.
  void play(std::vector<float> frames, bool loop);

  // Interleaved; as many frames as recorded_frames() says are there.
  const std::vector<float>& recorded() const { return recorded_; }
  size_t recorded_frames() const { return recorded_frames_.load(); }

 private:
  std::vector<std::string> ports_of(const std::string& other, unsigned long flags) const;
  void process(size_t frames);
  void record(const std::vector<float*>& samples, size_t frames);
  void emit(const std::vector<float*>& samples, size_t frames);

  jack_client_t* client_;
  std::vector<jack_port_t*> ports_;
  std::vector<float*> samples_;  // of the ports in this period
  bool plays_;
  std::vector<float> playing_, recorded_;
  std::atomic<bool> started_ = false;
  bool loop_ = false;
  size_t position_ = 0;  // frame that is played next
  std::atomic<size_t> recorded_frames_ = 0;
  jack_nframes_t start_time_ = 0;
};

#endif  // ORVANE_TESTS_SUPPORT_JACK_PROBE_H_
