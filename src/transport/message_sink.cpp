#include "transport/message_sink.h"

#include <memory>

#include "kestrine/pointer.h"
#include "platform/notices.h"
#include "platform/profile.h"
#include "transport/command_sender.h"
#include "transport/connection.h"
#include "transport/settings.h"

namespace kestrine::transport {
namespace {

class DepthGuard {
 public:
  explicit DepthGuard(int& depth) : depth_(depth) { ++depth_; }
  DepthGuard(const DepthGuard&) = delete;
  DepthGuard& operator=(const DepthGuard&) = delete;
  ~DepthGuard() { --depth_; }

 private:
  int& depth_;
};

}  // namespace

// A window that cannot be made is not reported here: the connection refuses to connect without it.
CMsgSink::CMsgSink(CLTConnectBase& connection)
    : connection_(&connection), window_(platform::create_window(*this, u"vl_message_sink")) {}

CMsgSink::~CMsgSink() {
  if (platform::is_window(window_)) platform::destroy_window(window_);
}

void CMsgSink::forget(const CLTConnectBase& connection) {
  if (connection_ == &connection) connection_ = nullptr;
}

std::int64_t CMsgSink::on_message(const platform::Message& message) {
  if (message.id == platform::kTimerMessage) platform::kill_timer(window_, message.wparam);
  if (connection_ == nullptr) return 0;
  const DepthGuard guard(depth_);
  const Pointer<IUnknown> keep(connection_->unknown());  // a handler may drop the last reference
  CLTConnectBase& connection = *connection_;
  switch (message.id) {
    case kSocketMessage:
      socket_ = message.wparam;
      return on_socket(connection, static_cast<std::int32_t>(message.lparam & 0xFFFF));
    case WM_FLUSH_DEFERRED_EVENTS:
      if (connection.slots.current_sync == nullptr) {
        platform::beep(2000, 5000);
        return 0;
      }
      return connection.slots.current_sync->FlushDeferredEvents() ? 1 : 0;
    case platform::kTimerMessage:
      connection.slots.dispatcher->DispatchPacket(connection, nullptr, 0, 0);
      return 1;
    default:
      return 0;
  }
}

std::int64_t CMsgSink::on_socket(CLTConnectBase& connection, std::int32_t event) {
  if (event == platform::kSocketClosed) {
    platform::beep(1000, 200);
    connection.on_server_closed();
    return 1;
  }
  const bool in_step = event == platform::kSocketReadable ? receive_path_.on_readable(connection, *this)
                                                          : receive_path_.on_unknown_event(connection, *this);
  return in_step ? 1 : 0;
}

int CMsgSink::receive(void* into, int bytes, bool peek) {
  return platform::receive(socket_, into, bytes, peek);
}

bool CMsgSink::would_block() const {
  return platform::last_socket_error() == platform::kErrorWouldBlock;
}

void CMsgSink::nap() {
  platform::nap_for_bytes(socket_, 1);
}

void CMsgSink::beep(std::uint32_t hertz, std::uint32_t milliseconds) {
  platform::beep(hertz, milliseconds);
}

void CMsgSink::trace(std::u16string_view key, std::u16string_view text) {
  platform::write_profile_string(u"SocketError", key, text, settings::kFile);
}

CMsgSink& adopt_sink(Slots& slots, CLTConnectBase& connection) {
  std::erase_if(slots.sinks, [](const auto& sink) { return sink->is_idle(); });
  return *slots.sinks.emplace_back(std::make_unique<CMsgSink>(connection));
}

void forget_connection(Slots& slots, const CLTConnectBase& connection) {
  for (const auto& sink : slots.sinks) sink->forget(connection);
  for (const auto& sender : slots.senders) sender->forget(connection);
}

}  // namespace kestrine::transport
