// SPDX-License-Identifier: Apache-2.0
// This program as a client of the JACK server.
#ifndef ORVANE_TOOLS_LIVE_JACK_CLIENT_H_
#define ORVANE_TOOLS_LIVE_JACK_CLIENT_H_

#include <jack/jack.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "tools/live/engine.h"

namespace live {

// libjack's own messages are dropped from now on, or printed to standard error.
void jack_messages_set_verbose(bool verbose);

class JackClient {
 public:
  // Joins the server of that name, the default one where it is empty, as `name` or, if that is
  // taken, a name like it. Periods that the server had to do without somebody's audio are counted
  // in `xruns`. Throws Failure when there is none, or none at the effect's rate.
  JackClient(const std::string& name, const std::string& server, std::atomic<uint32_t>* xruns);
  JackClient(const JackClient&) = delete;
  JackClient& operator=(const JackClient&) = delete;

  std::string name() const { return jack_get_client_name(client_.get()); }
  size_t period_frames() const { return jack_get_buffer_size(client_.get()); }

  // Has one input port of each name and the outputs "left" and "right". Once. Throws Failure.
  void add_ports(const std::vector<std::string>& inputs);

  // From now on `engine`, which must outlive this object, is called for every period; it has been
  // made ready for the present one. Throws Failure.
  void activate(Engine* engine);

  // Connects the ears with the first two playback ports of the hardware, one where there is but
  // one. Returns their names.
  std::vector<std::string> connect_ears();

  // Whether the server has gone or has thrown this client out.
  bool lost() const { return lost_.load(); }

 private:
  jack_port_t* add_port(const std::string& name, unsigned long flags);
  void set_callbacks();
  int process(jack_nframes_t frames);
  void report_latency(jack_latency_callback_mode_t mode);

  std::string server_;  // for messages
  Engine* engine_ = nullptr;
  std::vector<jack_port_t*> inputs_;
  std::array<jack_port_t*, 2> ears_ = {};
  std::vector<const float*> input_samples_;
  std::atomic<uint32_t>* xruns_;
  std::atomic<bool> lost_ = false;
  using Client = std::unique_ptr<jack_client_t, int (*)(jack_client_t*)>;
  Client client_;  // closed before what its callbacks use
};

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_JACK_CLIENT_H_
