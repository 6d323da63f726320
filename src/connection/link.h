// The socket to the server: connecting, sending, closing, and whether the server is still there.
#pragma once

#include <cstdint>
#include <string>

#include "platform/loop.h"
#include "platform/socket.h"
#include "protocol/errors.h"

namespace kestrine::connection {

class Link {
 public:
  // Connects, and has `window` sent `message` for what can be read and for the server's closing. Null, or why not.
  // An address with a dot anywhere is taken for a dotted one and never looked up, not even a full host name.
  const protocol::Error* connect(const std::string& address, std::uint16_t port, platform::WindowHandle window,
                                 std::uint32_t message);
  // False when the system says that there was nothing to close.
  bool close(platform::WindowHandle window);
  // True unless the write itself fails: a partial write counts as success, and nothing is retried.
  bool send(const std::uint8_t* bytes, std::int32_t size) const;

  // From the connecting to the closing here, whatever the server does.
  bool is_connected() const { return connected_; }
  // A handle left from an attempt that failed counts as open, until the next attempt.
  bool is_open() const { return socket_ != 0; }
  // The server has gone, or said that it goes. False when that is known already.
  bool mark_ended();

 private:
  const protocol::Error* fail(const protocol::Error& failure) const;
  bool connect_socket(platform::AddressWord address, std::uint16_t port) const;
  bool wait_for_connection(platform::AddressWord address, std::uint16_t port, std::int32_t timeout) const;

  platform::SocketHandle socket_ = 0;
  bool connected_ = false;
  bool alive_ = true;
};

}  // namespace kestrine::connection
