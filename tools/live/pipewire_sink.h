// SPDX-License-Identifier: Apache-2.0
// This program as a sink of PipeWire: what other programs play into it comes out of a stream to the
// default output.
#ifndef ORVANE_TOOLS_LIVE_PIPEWIRE_SINK_H_
#define ORVANE_TOOLS_LIVE_PIPEWIRE_SINK_H_

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tools/live/dropouts.h"
#include "tools/live/fixed_blocks.h"

namespace live {

struct SinkOptions {
  std::string name;                    // of the sink; its output's has ".ears" after it
  std::string description;             // what the desktop shows
  std::string remote;                  // name of the server, empty: the default one
  std::vector<std::string> positions;  // PipeWire's names of the channels
  bool connect = true;                 // the ears with the default output
};

// Throws Failure for a position that PipeWire has no name for.
void sink_check(const SinkOptions& options);

// One connection to the server. The session manager moves the ears to whatever is the default
// output, and starts and stops both streams as something plays.
class PipeWireSink {
 public:
  // Joins the server. `render` is called in its audio thread, for blocks of FixedBlocks::kFrames
  // frames at the effect's rate, to which PipeWire resamples. Throws Failure when there is no
  // server or it refuses.
  PipeWireSink(const SinkOptions& options, FixedBlocks::Render render, Dropouts* dropouts);
  ~PipeWireSink();
  PipeWireSink(const PipeWireSink&) = delete;
  PipeWireSink& operator=(const PipeWireSink&) = delete;

  // Why the connection is of no use any more; empty while it is.
  std::string lost() const;

 private:
  struct Connection;  // PipeWire's objects and what its callbacks need
  std::unique_ptr<Connection> connection_;
};

// To be called once, before the first sink; `verbose` lets libpipewire's own warnings out.
void pipewire_start(bool verbose);

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_PIPEWIRE_SINK_H_
