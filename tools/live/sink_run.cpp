// SPDX-License-Identifier: Apache-2.0
#include "tools/live/sink_run.h"

#include <chrono>
#include <cstdio>
#include <memory>
#include <thread>

#include "tools/live/pipewire_sink.h"
#include "tools/live/positions.h"
#include "tools/render/failure.h"
#include "tools/render/interrupt.h"

namespace live {
namespace {

constexpr std::chrono::milliseconds kLook(50);  // how often to look whether it is over
constexpr std::chrono::seconds kRetry(1);       // between two attempts to join a server

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

void say(const char* what, const std::string& text) {
  std::printf("%-8s%s\n", what, text.c_str());
  std::fflush(stdout);
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
  std::string trouble;  // as it was said last
  auto next_attempt = std::chrono::steady_clock::now();
  try {
    for (;; std::this_thread::sleep_for(kLook)) {
      render::interrupt_check();
      engine->check();
      const auto now = std::chrono::steady_clock::now();
      if (report.is_due(dropouts.text(), now)) say("lost", dropouts.text());
      if (joined && !joined->lost().empty()) {
        dropouts.count(Dropout::kServer);
        joined.reset();
      }
      if (joined || now < next_attempt) continue;
      next_attempt = now + kRetry;
      try {
        joined = std::make_unique<PipeWireSink>(sink, render, &dropouts);
        trouble.clear();
        say("server", "joined");
      } catch (const render::Failure& failure) {
        if (trouble != failure.what()) say("server", failure.what());
        trouble = failure.what();
      }
    }
  } catch (const render::Interrupted&) {  // for a program that has no other end
  }
  joined.reset();
  say("lost", dropouts.text());
}

}  // namespace live
