// SPDX-License-Identifier: Apache-2.0
// What head trackers send, byte by byte.
#ifndef ORVANE_TESTS_SUPPORT_FAKE_TRACKER_H_
#define ORVANE_TESTS_SUPPORT_FAKE_TRACKER_H_

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <bit>
#include <cstdint>
#include <string>
#include <vector>

namespace live {

// A datagram of opentrack's "UDP over network"; the position is of no interest.
inline std::string opentrack(double yaw, double pitch, double roll) {
  const double values[] = {1.0, 2.0, 3.0, yaw, pitch, roll};
  std::string datagram;
  for (const double value : values) {
    const auto bits = std::bit_cast<uint64_t>(value);
    for (int i = 0; i < 8; ++i) datagram += static_cast<char>(bits >> (8 * i));
  }
  return datagram;
}

// An OSC message of floats.
inline std::string osc(const std::string& path, const std::vector<float>& values) {
  const auto padded = [](std::string text) {
    do text += '\0';
    while (text.size() % 4 != 0);
    return text;
  };
  std::string message = padded(path) + padded("," + std::string(values.size(), 'f'));
  for (const float value : values) {
    const auto bits = std::bit_cast<uint32_t>(value);
    for (int i = 3; i >= 0; --i) message += static_cast<char>(bits >> (8 * i));
  }
  return message;
}

class Sender {
 public:
  explicit Sender(int port) : fd_(socket(AF_INET, SOCK_DGRAM, 0)) {
    sockaddr_in to = {};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    to.sin_port = htons(static_cast<uint16_t>(port));
    EXPECT_EQ(0, connect(fd_, reinterpret_cast<sockaddr*>(&to), sizeof(to)));
  }
  ~Sender() { close(fd_); }
  Sender(const Sender&) = delete;
  Sender& operator=(const Sender&) = delete;
  void send(const std::string& datagram) const {
    [[maybe_unused]] const ssize_t sent = ::send(fd_, datagram.data(), datagram.size(), 0);
  }

 private:
  int fd_;
};

}  // namespace live

#endif  // ORVANE_TESTS_SUPPORT_FAKE_TRACKER_H_
