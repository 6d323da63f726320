#include "connection/channel.h"

#include <new>

#include "connection/settings.h"
#include "kestrine/pointer.h"
#include "platform/clock.h"
#include "platform/notices.h"
#include "platform/profile.h"

namespace kestrine::connection {

class Channel::HandlerGuard {
 public:
  explicit HandlerGuard(Channel& channel) : channel_(channel) { ++channel_.depth_; }
  HandlerGuard(const HandlerGuard&) = delete;
  HandlerGuard& operator=(const HandlerGuard&) = delete;
  ~HandlerGuard() {
    if (--channel_.depth_ == 0 && channel_.let_go_) delete &channel_;
  }

 private:
  Channel& channel_;
};

void Channel::LetGo::operator()(Channel* channel) const {
  channel->connection_ = nullptr;
  channel->let_go_ = true;
  if (channel->depth_ == 0 && channel->is_of_this_thread()) delete channel;
}

// A window that cannot be made is not reported here: the connection refuses to connect without it.
Channel::Channel(Connection& connection)
    : connection_(&connection), window_(platform::create_window(*this, u"vl_message_sink")) {}

Channel::~Channel() {
  if (platform::is_window(window_)) platform::destroy_window(window_);
}

const protocol::Error* Channel::connect(Connection& connection, const std::string& address, std::uint16_t port) {
  const protocol::Error* const failure = connection.link().connect(address, port, window_, kSocketMessage);
  if (failure == nullptr) {
    reader_.restart();
    connection.requests().clear();
  }
  return failure;
}

bool Channel::send(const std::uint8_t* bytes, std::int32_t size, std::chrono::milliseconds at_most) const {
  return connection_ != nullptr && connection_->link().send(bytes, size, at_most);
}

void Channel::start_timer(std::int32_t command, std::int32_t milliseconds) {
  platform::set_timer(window_, static_cast<std::uint64_t>(command), static_cast<std::uint32_t>(milliseconds));
}

void Channel::stop_timer(std::int32_t command) {
  platform::kill_timer(window_, static_cast<std::uint64_t>(command));
}

void Channel::request_flush() {
  platform::post_message(window_, kFlushMessage, 0, 0);
}

void Channel::forget(const Connection& connection) {
  if (connection_ == &connection) connection_ = nullptr;
}

std::int64_t Channel::on_message(const platform::Message& message) {
  if (message.id == platform::kTimerMessage) platform::kill_timer(window_, message.wparam);
  if (connection_ == nullptr) return 0;
  const HandlerGuard guard(*this);
  const Pointer<IUnknown> keep(connection_->unknown());  // a handler may drop the last reference
  switch (message.id) {
    case kSocketMessage:
      socket_ = message.wparam;
      return on_socket(static_cast<std::int32_t>(message.lparam & 0xFFFF)) ? 1 : 0;
    case kFlushMessage:
      if (connection_->events().on_flush()) return 1;
      platform::beep(2000, 5000);
      return 0;
    case platform::kTimerMessage:
      connection_->events().on_timer(*connection_);
      return 1;
    default:
      return 0;
  }
}

bool Channel::on_socket(std::int32_t event) {
  if (event == platform::kSocketReadable) return reader_.on_readable(connection_->buffers());
  if (event != platform::kSocketClosed) return reader_.on_unknown_event();
  platform::beep(1000, 200);
  connection_->events().on_closed(*connection_);
  return true;
}

bool Channel::is_open() const {
  return connection_->link().is_open();
}

int Channel::receive(void* into, int bytes, bool peek) {
  return platform::receive(socket_, into, bytes, peek);
}

bool Channel::would_block() const {
  return platform::last_socket_error() == platform::kErrorWouldBlock;
}

bool Channel::comes_later(int bytes) {
  return connection_->rules().takes_whole_packets && platform::notify_of_bytes(socket_, bytes);
}

bool Channel::nap(std::int32_t milliseconds) {
  platform::sleep_ms(static_cast<std::uint32_t>(milliseconds));
  return !platform::host_gives_up();
}

void Channel::beep(std::uint32_t hertz, std::uint32_t milliseconds) {
  platform::beep(hertz, milliseconds);
}

void Channel::trace(std::u16string_view key, std::u16string_view text) {
  try {
    platform::write_profile_string(u"SocketError", key, text, settings::kFile);
  } catch (const std::bad_alloc&) {
    // A stream that is in trouble must be dealt with all the same.
  }
}

void Channel::on_packet(const ReceivedPacket& packet) {
  connection_->events().on_packet(*connection_, packet, window_);
}

void Channel::on_out_of_step() {
  connection_->events().on_out_of_step();
}

}  // namespace kestrine::connection
