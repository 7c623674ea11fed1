// SPDX-License-Identifier: Apache-2.0
// Receives head poses as opentrack sends them over UDP, in a thread of its own.
#ifndef ORVANE_TOOLS_LIVE_OPENTRACK_RECEIVER_H_
#define ORVANE_TOOLS_LIVE_OPENTRACK_RECEIVER_H_

#include <atomic>
#include <optional>
#include <span>
#include <thread>

#include "tools/live/head_input.h"
#include "tools/live/tracker_axes.h"
#include "tools/render/pose.h"

namespace live {

// Six little-endian doubles: x, y, z in centimetres, yaw, pitch, roll in degrees. Nothing for a
// datagram of another length or with angles that are not finite.
std::optional<render::Pose> opentrack_parse(std::span<const unsigned char> datagram);

class OpentrackReceiver {
 public:
  // Listens on a UDP port, any free one for 0. `input` must outlive it. Throws Failure when it
  // cannot have the port.
  OpentrackReceiver(int port, const TrackerAxes& axes, HeadInput* input, bool verbose);
  ~OpentrackReceiver();
  OpentrackReceiver(const OpentrackReceiver&) = delete;
  OpentrackReceiver& operator=(const OpentrackReceiver&) = delete;

  int port() const { return port_; }

 private:
  void receive();

  TrackerAxes axes_;
  HeadInput* input_;
  bool verbose_;
  int socket_ = -1, port_ = 0;
  std::atomic<bool> stop_ = false;
  std::thread thread_;
};

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_OPENTRACK_RECEIVER_H_
