// SPDX-License-Identifier: Apache-2.0
// orvane-live --watch: the received pose as text, to check a tracker before listening.
#ifndef ORVANE_TOOLS_LIVE_WATCH_H_
#define ORVANE_TOOLS_LIVE_WATCH_H_

#include <string>

#include "tools/live/head_input.h"
#include "tools/live/options.h"

namespace live {

// One line: the angles, in words which way the head is, and how many poses come per second.
std::string watch_line(const HeadInput::State& state, double poses_per_second);

// Prints it over and over until a signal comes, on one line of a terminal and else line by line
// where it changes. Needs no audio. Throws Failure.
void watch_run(const Options& options);

}  // namespace live

#endif  // ORVANE_TOOLS_LIVE_WATCH_H_
