// SPDX-License-Identifier: Apache-2.0
// Receives head poses over OSC in a thread of its own.
#ifndef ORVANE_TOOLS_LIVE_OSC_RECEIVER_H_
#define ORVANE_TOOLS_LIVE_OSC_RECEIVER_H_

#include <lo/lo.h>

#include <memory>
#include <type_traits>

#include "tools/live/head_input.h"
#include "tools/live/head_messages.h"

namespace live {

class OscReceiver {
 public:
  // Listens on a UDP port, any free one for 0, and hands what it hears to `input`, which must
  // outlive it; /recenter recentres it. `verbose` prints what it ignores. Throws Failure when it
  // cannot have the port.
  OscReceiver(int port, const HeadMessages& messages, HeadInput* input, bool verbose);
  OscReceiver(const OscReceiver&) = delete;
  OscReceiver& operator=(const OscReceiver&) = delete;

  int port() const;

 private:
  void receive(const char* path, const char* types, lo_arg** arguments, int count);

  HeadMessages messages_;
  HeadInput* input_;
  bool verbose_;
  using Server = std::remove_pointer_t<lo_server_thread>;
  std::unique_ptr<Server, void (*)(lo_server_thread)> server_;  // stopped before the rest goes
};

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_OSC_RECEIVER_H_
