// SPDX-License-Identifier: Apache-2.0
#include "tools/live/osc_receiver.h"

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "tools/live/steady_clock.h"
#include "tools/render/failure.h"

namespace live {
namespace {

constexpr std::string_view kRecentre = "/recenter";

// liblo gives its reason to a function without context, in the thread that called it.
thread_local std::string t_reason;

void remember_reason(int number, const char* message, const char* /*where*/) {
  t_reason = number == LO_NOPORT ? "another program has it"
             : message           ? message
                                 : "cannot be opened";
}

lo_server_thread open_server(int port) {
  const std::string text = std::to_string(port);
  t_reason.clear();
  lo_server_thread server = lo_server_thread_new(port ? text.c_str() : nullptr, remember_reason);
  if (!server) throw render::Failure("OSC port " + text, t_reason);
  return server;
}

}  // namespace

OscReceiver::OscReceiver(int port, const HeadMessages& messages, HeadInput* input, bool verbose)
    : messages_(messages),
      input_(input),
      verbose_(verbose),
      server_(open_server(port), lo_server_thread_free) {
  const auto handle = [](const char* path, const char* types, lo_arg** arguments, int count,
                         lo_message, void* self) {
    static_cast<OscReceiver*>(self)->receive(path, types, arguments, count);
    return 0;
  };
  lo_server_thread_add_method(server_.get(), nullptr, nullptr, handle, this);
  if (lo_server_thread_start(server_.get()) != 0) {
    throw render::Failure("OSC port " + std::to_string(port), "its thread does not start");
  }
}

int OscReceiver::port() const { return lo_server_thread_get_port(server_.get()); }

void OscReceiver::receive(const char* path, const char* types, lo_arg** arguments, int count) {
  if (std::string_view(path) == kRecentre) return input_->recentre();
  std::vector<double> values;
  for (int i = 0; i < count; ++i) {
    const lo_type type = static_cast<lo_type>(types[i]);
    if (!lo_is_numerical_type(type)) continue;
    values.push_back(static_cast<double>(lo_hires_val(type, arguments[i])));
  }
  const std::optional<render::Rotation> head = messages_.read(path, values);
  if (head) {
    input_->take(*head, steady_seconds());
  } else if (verbose_) {
    std::fprintf(stderr, "orvane-live: ignored the OSC message %s %s\n", path, types);
  }
}

}  // namespace live
