// What the tests of the system layer share: a window that records, a plain TCP peer, waits with a deadline.
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "kestrine/host.h"
#include "platform/loop.h"
#include "platform/socket.h"

namespace kestrine::platform {

using namespace std::chrono_literals;

class Recorder final : public WindowProcedure {
 public:
  ~Recorder() { destroy_window(window); }
  std::int64_t on_message(const Message& message) override {
    seen.push_back(message);
    if (handler) handler(message);
    return static_cast<std::int64_t>(message.wparam) + 1;
  }
  std::vector<std::uint32_t> ids() const {
    std::vector<std::uint32_t> all;
    for (const Message& message : seen) all.push_back(message.id);
    return all;
  }

  std::vector<Message> seen;
  std::function<void(const Message&)> handler;
  WindowHandle window = create_window(*this, u"recorder");
};

// Delivers messages until the condition holds; false when it does not within five seconds.
inline bool pump_until(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + 5s;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    host::run_for(5ms);
  }
  return true;
}

inline bool is_readable(int fd, int timeout_ms = 0) {
  pollfd look{fd, POLLIN, 0};
  return ::poll(&look, 1, timeout_ms) == 1;
}

inline std::chrono::nanoseconds thread_cpu_time() {
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

// A listening socket on the loopback, and the one connection accepted from it.
class Peer {
 public:
  explicit Peer(int backlog = 4) {
    listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in at = address();
    ::bind(listener_, reinterpret_cast<sockaddr*>(&at), sizeof at);
    ::listen(listener_, backlog);
    socklen_t length = sizeof at;
    ::getsockname(listener_, reinterpret_cast<sockaddr*>(&at), &length);
    port_ = ntohs(at.sin_port);
  }
  ~Peer() {
    stop_listening();
    end();
  }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  static sockaddr_in address(std::uint16_t port = 0) {
    sockaddr_in at{};
    at.sin_family = AF_INET;
    at.sin_port = htons(port);
    at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return at;
  }
  std::uint16_t port() const { return port_; }
  void accept() { connection_ = ::accept(listener_, nullptr, nullptr); }
  void send(const std::string& text) { ::send(connection_, text.data(), text.size(), MSG_NOSIGNAL); }
  void end() { drop(connection_); }
  void reset() {
    const linger now{1, 0};
    ::setsockopt(connection_, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    end();
  }
  void stop_listening() { drop(listener_); }

 private:
  static void drop(int& fd) {
    if (fd >= 0) ::close(fd);
    fd = -1;
  }
  int listener_ = -1;
  int connection_ = -1;
  std::uint16_t port_ = 0;
};

inline const AddressWord kLoopback = htonl(INADDR_LOOPBACK);

inline std::string receive_text(SocketHandle socket, int most, bool peek = false) {
  std::string text(static_cast<std::size_t>(most), '\0');
  const int count = receive(socket, text.data(), most, peek);
  text.resize(static_cast<std::size_t>(std::max(count, 0)));
  return text;
}

}  // namespace kestrine::platform
