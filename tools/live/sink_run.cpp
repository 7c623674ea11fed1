// SPDX-License-Identifier: Apache-2.0
#include "tools/live/sink_run.h"

#include <chrono>
#include <memory>
#include <thread>

#include "tools/live/joining.h"
#include "tools/live/pipewire_sink.h"
#include "tools/live/positions.h"
#include "tools/render/interrupt.h"

namespace live {
namespace {

SinkOptions sink_options(const Options& options, const render::ChannelPlan& plan) {
  SinkOptions sink;
  sink.name = options.name;
  sink.description = "Headphones (orvane)";
  sink.remote = options.server;
  sink.connect = options.connect;
  for (const render::Speaker speaker : plan.labels) {
    sink.positions.push_back(position_name(static_cast<uint32_t>(speaker) - 1));
  }
  return sink;
}

}  // namespace

void sink_run(const Options& options, const render::ChannelPlan& plan, Engine* engine,
              int osc_port) {
  pipewire_start(options.verbose);
  const SinkOptions sink = sink_options(options, plan);
  sink_check(sink);
  engine->set_period(FixedBlocks::kFrames);
  engine->start();
  const auto render = [engine](const float* const* inputs, float* const* ears) {
    engine->process(inputs, ears, FixedBlocks::kFrames);
  };
  Dropouts dropouts;
  DropoutReport report(dropouts.text());
  say("layout", plan.layout->name);
  say("sink", sink.name + ", " + std::to_string(sink.positions.size()) + " channels");
  say("osc", "port " + std::to_string(osc_port));
  std::unique_ptr<PipeWireSink> joined;
  Joining joining;
  try {
    for (;; std::this_thread::sleep_for(kLook)) {
      render::interrupt_check();
      engine->check();
      if (report.is_due(dropouts.text(), std::chrono::steady_clock::now())) {
        say("lost", dropouts.text());
      }
      if (joined && !joined->lost().empty()) {
        dropouts.count(Dropout::kServer);
        joined.reset();
      }
      if (joined) continue;
      joining.attempt([&] { joined = std::make_unique<PipeWireSink>(sink, render, &dropouts); });
    }
  } catch (const render::Interrupted&) {  // for a program that has no other end
  }
  joined.reset();
  say("lost", dropouts.text());
}

}  // namespace live
