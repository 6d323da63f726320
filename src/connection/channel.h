// The way between the library and its server: out request by request, in by messages to a hidden window
// (readable data, the server's closing, expired command timers, requests to flush held-back events).
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

#include "connection/connection.h"
#include "connection/packet_reader.h"
#include "platform/home.h"
#include "platform/loop.h"

namespace kestrine::connection {

inline constexpr std::uint32_t kSocketMessage = 2025;  // wparam: socket, low word of lparam: event
inline constexpr std::uint32_t kFlushMessage = 2026;

// Made with a connection. The latest one outlives it where earlier connections may still connect by it.
class Channel final : private platform::WindowProcedure, private ByteSource, private PacketConsumer {
 public:
  // Its last handler takes it away when it is let go of inside one. Let go of by another thread it stays, and is deaf:
  // its window still refers to it.
  struct LetGo {
    void operator()(Channel* channel) const;
  };
  using Owner = std::unique_ptr<Channel, LetGo>;

  static Owner make(Connection& connection) { return Owner(new Channel(connection)); }
  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;

  platform::WindowHandle window() const { return window_; }
  // Connects, with this channel's window for the notifications. Of the connection that this channel was made for, or of
  // an earlier one: that connects by the latest channel, too.
  const protocol::Error* connect(Connection& connection, const std::string& address, std::uint16_t port);

  bool send(const std::uint8_t* bytes, std::int32_t size, std::chrono::milliseconds at_most) const;
  // A timer for a command that waits for its answer; kills itself when it expires.
  void start_timer(std::int32_t command, std::int32_t milliseconds);
  void stop_timer(std::int32_t command);
  // The connection's events get an on_flush() from the loop.
  void request_flush();

  void forget(const Connection& connection);
  bool has_connection() const { return connection_ != nullptr; }
  bool is_of_this_thread() const { return home_.is_here(); }

 private:
  class HandlerGuard;

  explicit Channel(Connection& connection);
  ~Channel();

  std::int64_t on_message(const platform::Message& message) override;
  bool on_socket(std::int32_t event);

  bool is_open() const override;
  int receive(void* into, int bytes, bool peek) override;
  bool would_block() const override;
  bool comes_later(int bytes) override;
  bool nap(std::int32_t milliseconds) override;
  void beep(std::uint32_t hertz, std::uint32_t milliseconds) override;
  void trace(std::u16string_view key, std::u16string_view text) override;

  void on_packet(const ReceivedPacket& packet) override;
  void on_out_of_step() override;

  const platform::Home home_;
  Connection* connection_;
  platform::WindowHandle window_;
  // The one that the message at hand is about, which may be an earlier connection's.
  platform::SocketHandle socket_ = platform::kInvalidSocket;
  PacketReader reader_{*this, *this};
  int depth_ = 0;  // handlers under way, nested ones included
  bool let_go_ = false;
};

}  // namespace kestrine::connection
