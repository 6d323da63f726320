// The hidden window through which the system reaches the library: readable data, the peer's closing, expired
// command timers, and the engine's request to flush its held-back events.
#pragma once

#include <cstdint>

#include "platform/loop.h"
#include "transport/receive_path.h"

namespace kestrine::transport {

inline constexpr std::uint32_t kSocketMessage = 2025;  // wparam: socket, low word of lparam: event
inline constexpr std::uint32_t WM_FLUSH_DEFERRED_EVENTS = 2026;

class CMsgSink final : private platform::WindowProcedure, private ReceivePort {
 public:
  explicit CMsgSink(CLTConnectBase& connection);
  CMsgSink(const CMsgSink&) = delete;
  CMsgSink& operator=(const CMsgSink&) = delete;
  ~CMsgSink();

  platform::WindowHandle window() const { return window_; }
  void forget(const CLTConnectBase& connection);
  // A new connection begins with a whole header, whatever the one before left unfinished.
  void start_stream() { receive_path_ = {}; }
  // Without a connection and not inside one of its handlers.
  bool is_idle() const { return connection_ == nullptr && depth_ == 0; }

 private:
  std::int64_t on_message(const platform::Message& message) override;
  std::int64_t on_socket(CLTConnectBase& connection, std::int32_t event);

  int receive(void* into, int bytes, bool peek) override;
  bool would_block() const override;
  void nap() override;
  void beep(std::uint32_t hertz, std::uint32_t milliseconds) override;
  void trace(std::u16string_view key, std::u16string_view text) override;

  CLTConnectBase* connection_;
  platform::WindowHandle window_;
  // Of the notification at hand: an earlier connection object's, when that connected after this sink's was made.
  platform::SocketHandle socket_ = platform::kInvalidSocket;
  ReceivePath receive_path_;
  int depth_ = 0;  // handlers under way, nested ones included
};

// A sink for the connection, kept in the slots.
CMsgSink& adopt_sink(Slots& slots, CLTConnectBase& connection);
// Called when a connection ends: its sinks and senders stay, without it.
void forget_connection(Slots& slots, const CLTConnectBase& connection);

}  // namespace kestrine::transport
