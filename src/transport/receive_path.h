// From readable bytes to whole packets: one packet per notification, framed by the size in its header, read
// into the connection's buffer for its kind. Allocates nothing.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "transport/connection.h"

namespace kestrine::transport {

// Where the bytes come from and where the signs of trouble go.
class ReceivePort {
 public:
  // As platform::receive: bytes, 0 at the peer's end, or -1.
  virtual int receive(void* into, int bytes, bool peek) = 0;
  virtual bool would_block() const = 0;  // of the last receive() that returned -1
  virtual void nap() = 0;                // one millisecond
  virtual void beep(std::uint32_t hertz, std::uint32_t milliseconds) = 0;
  // The latest trouble of a kind, kept in the settings file.
  virtual void trace(std::u16string_view key, std::u16string_view text) = 0;

 protected:
  ~ReceivePort() = default;
};

class ReceivePath {
 public:
  // Reads what the notification announced; a whole packet goes to the dispatcher. False when the stream was out
  // of step and everything readable has been thrown away.
  bool on_readable(CLTConnectBase& connection, ReceivePort& port);
  // The same clean-up for a notification that is none.
  bool on_unknown_event(CLTConnectBase& connection, ReceivePort& port);

 private:
  enum class Body { kComplete, kNothingRead, kGivenUp };

  bool take_short_header(int peeked, ReceivePort& port, bool connected);
  Body read_body(ReceivePort& port, std::uint8_t* buffer, std::int32_t size, std::int32_t& have);
  bool discard_input(CLTConnectBase& connection, ReceivePort& port, CLTConnectBase::Buffer buffer);

  std::int32_t peek_tries_ = 0;  // notifications in a row on which the header was not complete
  std::int32_t held_ = 0;        // header bytes already taken out of the socket
  std::array<std::uint8_t, 8> header_{};
  std::int32_t attempts_ = 0;  // reads made for the packet at hand
};

}  // namespace kestrine::transport
