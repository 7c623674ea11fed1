// SPDX-License-Identifier: Apache-2.0
#include "tools/live/opentrack_receiver.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>

#include "tools/live/steady_clock.h"
#include "tools/render/failure.h"

namespace live {
namespace {

constexpr size_t kDoubles = 6, kFirstAngle = 3;
constexpr int kPollMs = 100;

int open_socket(int port) {
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_ANY);
  address.sin_port = htons(static_cast<uint16_t>(port));
  if (fd >= 0 && bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0) return fd;
  const int error = errno;
  if (fd >= 0) close(fd);
  throw render::Failure("opentrack port " + std::to_string(port), error);
}

int bound_port(int fd) {
  sockaddr_in address = {};
  socklen_t size = sizeof(address);
  getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
  return ntohs(address.sin_port);
}

double read_double(const unsigned char* bytes) {
  uint64_t bits = 0;
  for (size_t i = 0; i < sizeof(bits); ++i) bits |= uint64_t{bytes[i]} << (8 * i);
  return std::bit_cast<double>(bits);
}

}  // namespace

std::optional<render::Pose> opentrack_parse(std::span<const unsigned char> datagram) {
  if (datagram.size() != kDoubles * sizeof(double)) return std::nullopt;
  double angles[3];
  for (size_t i = 0; i < 3; ++i) {
    angles[i] = read_double(&datagram[(kFirstAngle + i) * sizeof(double)]);
    if (!std::isfinite(angles[i])) return std::nullopt;
  }
  return render::Pose{angles[0], angles[1], angles[2]};
}

OpentrackReceiver::OpentrackReceiver(int port, const TrackerAxes& axes, HeadInput* input,
                                     bool verbose)
    : axes_(axes),
      input_(input),
      verbose_(verbose),
      socket_(open_socket(port)),
      port_(bound_port(socket_)),
      thread_([this] { receive(); }) {}

OpentrackReceiver::~OpentrackReceiver() {
  stop_ = true;
  thread_.join();
  close(socket_);
}

void OpentrackReceiver::receive() {
  std::array<unsigned char, 256> datagram;
  pollfd waits = {socket_, POLLIN, 0};
  while (!stop_) {
    if (poll(&waits, 1, kPollMs) <= 0) continue;
    const ssize_t size = recv(socket_, datagram.data(), datagram.size(), MSG_TRUNC);
    if (size < 0) continue;
    const size_t held = std::min(static_cast<size_t>(size), datagram.size());
    const auto pose = opentrack_parse({datagram.data(), held});
    if (pose) {
      input_->take(pose_rotation(axes_.pose(*pose)), steady_seconds());
    } else if (verbose_) {
      std::fprintf(stderr, "orvane-live: ignored a datagram of %zd bytes\n", size);
    }
  }
}

}  // namespace live
