// What the tests of the system layer share: a window that records, and a peer that speaks in letters.
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "environment.h"
#include "kestrine/host.h"
#include "platform/loop.h"
#include "platform/socket.h"
#include "scripted_peer.h"

namespace kestrine::platform {

using namespace std::chrono_literals;
using test::pump_until;

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

inline bool is_readable(int fd, int timeout_ms = 0) {
  pollfd asked{fd, POLLIN, 0};
  return ::poll(&asked, 1, timeout_ms) == 1;
}

inline const AddressWord kLoopback = htonl(INADDR_LOOPBACK);

inline void send(test::ScriptedPeer& peer, std::string_view text) {
  peer.send({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

inline std::string receive_text(SocketHandle socket, int most, bool peek = false) {
  std::string text(static_cast<std::size_t>(most), '\0');
  text.resize(static_cast<std::size_t>(std::max(receive(socket, text.data(), most, peek), 0)));
  return text;
}

}  // namespace kestrine::platform
