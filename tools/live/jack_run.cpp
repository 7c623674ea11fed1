// SPDX-License-Identifier: Apache-2.0
#include "tools/live/jack_run.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tools/live/dropouts.h"
#include "tools/live/jack_client.h"
#include "tools/live/joining.h"
#include "tools/render/effect_host.h"
#include "tools/render/interrupt.h"

namespace live {
namespace {

using Clock = std::chrono::steady_clock;

// What was lost so far, by cause.
struct Losses {
  const BedPlayer* player;
  std::atomic<uint32_t> xruns = 0;
  uint32_t servers = 0;

  std::string text() const {
    std::string text = std::to_string(xruns.load(std::memory_order_relaxed)) + " xruns";
    if (player) text += ", " + std::to_string(player->missing_frames()) + " frames of the bed late";
    return text + ", " + std::to_string(servers) + " server gone";
  }
};

// One per channel; none where a file is played.
std::vector<std::string> input_names(const Options& options, const render::ChannelPlan& plan) {
  std::vector<std::string> names;
  if (!options.bed.empty()) return names;
  for (const render::Speaker speaker : plan.labels) names.emplace_back(speaker_name(speaker));
  return names;
}

std::chrono::duration<double> period_of(const JackClient& jack) {
  return std::chrono::duration<double>(static_cast<double>(jack.period_frames()) /
                                       render::kEffectRateHz);
}

void print_start(const Options& options, const render::ChannelPlan& plan, const JackClient& jack,
                 const std::vector<std::string>& ears) {
  const std::string input = options.bed.empty() ? "ports of " + jack.name() : options.bed;
  std::string output = ears.empty() ? "not connected" : ears.front();
  if (ears.size() > 1) output += ", " + ears.back();
  std::printf("layout  %s\ninput   %s\noutput  %s\nperiod  %zu frames, %.1f ms\n",
              plan.layout->name.c_str(), input.c_str(), output.c_str(), jack.period_frames(),
              1000.0 * period_of(jack).count());
}

// The client, which plays from now on. Throws Failure where the server is not there or refuses.
std::unique_ptr<JackClient> join(const Options& options, const render::ChannelPlan& plan,
                                 Engine* engine, Losses* losses) {
  auto jack = std::make_unique<JackClient>(options.name, options.server, &losses->xruns);
  jack->add_ports(input_names(options, plan));
  engine->set_period(jack->period_frames());
  jack->activate(engine);
  print_start(options, plan, *jack,
              options.connect ? jack->connect_ears() : std::vector<std::string>());
  return jack;
}

void print_end(const Losses& losses) {
  std::printf("xruns   %u\n", losses.xruns.load());
  if (losses.player && losses.player->missing_frames() > 0) {
    std::printf("late    %llu frames of the bed\n",
                static_cast<unsigned long long>(losses.player->missing_frames()));
  }
}

}  // namespace

void jack_run(const Options& options, const render::ChannelPlan& plan, Engine* engine,
              const BedPlayer* player, int osc_port) {
  Losses losses{.player = player};
  DropoutReport report(losses.text());
  std::unique_ptr<JackClient> jack = join(options, plan, engine, &losses);
  say("osc", "port " + std::to_string(osc_port));
  std::this_thread::sleep_for(2 * period_of(*jack));  // the server connects from a later period on
  engine->start();
  Joining joining;
  try {
    for (; !player || !player->finished(); std::this_thread::sleep_for(kLook)) {
      render::interrupt_check();
      engine->check();
      if (player) player->check();
      if (report.is_due(losses.text(), Clock::now())) say("lost", losses.text());
      if (jack && jack->lost()) {
        ++losses.servers;
        jack.reset();
      }
      if (!jack) joining.attempt([&] { jack = join(options, plan, engine, &losses); });
    }
  } catch (const render::Interrupted&) {  // for a program that may have no other end
  }
  print_end(losses);
}

}  // namespace live
