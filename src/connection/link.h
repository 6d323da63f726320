// The socket to the server: connecting, sending, closing, and whether the server is still there.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "connection/rules.h"
#include "platform/clock.h"
#include "platform/loop.h"
#include "platform/socket.h"
#include "protocol/errors.h"

namespace kestrine::connection {

class Link {
 public:
  explicit Link(const Rules& rules) : rules_(rules) {}

  // Connects, and has `window` sent `message` for what can be read and for the server's closing. Null, or why not.
  const protocol::Error* connect(const std::string& address, std::uint16_t port, platform::WindowHandle window,
                                 std::uint32_t message);
  // False when the system says that there was nothing to close.
  bool close(platform::WindowHandle window);
  // Never sends a part without the rest: what cannot be completed in that time ends the link. False when it is not
  // sent; in classic behaviour that is when nothing of it is.
  bool send(const std::uint8_t* bytes, std::int32_t size, std::chrono::milliseconds at_most) const;

  // From the connecting to the closing here, whatever the server does.
  bool is_connected() const { return connected_; }
  // A handle left from an attempt that failed counts as open, until the next attempt.
  bool is_open() const { return socket_ != 0; }
  // The server has gone, or said that it goes. False when that is known already.
  bool mark_ended();

 private:
  const protocol::Error* fail(const protocol::Error& failure) const;
  // An attempt, without a look at what it leaves behind when memory runs out.
  const protocol::Error* establish(const std::string& address, std::uint16_t port, platform::WindowHandle window,
                                   std::uint32_t message);
  // The connecting of classic behaviour, and of modern.
  const protocol::Error* connect_to_address(const std::string& address, std::uint16_t port);
  const protocol::Error* connect_to_host(const std::string& name, std::uint16_t port);
  bool connect_socket(platform::AddressWord address, std::uint16_t port) const;
  bool wait_for_connection(platform::AddressWord address, std::uint16_t port, std::int32_t timeout) const;

  // Room for more to be sent. False when there is none by then, or when the host gives up.
  bool wait_for_room(platform::TimePoint end) const;

  const Rules& rules_;
  platform::SocketHandle socket_ = 0;
  bool connected_ = false;
  bool alive_ = true;
};

}  // namespace kestrine::connection
