#include "connection/link.h"

#include <new>
#include <optional>
#include <utility>

#include "connection/settings.h"
#include "platform/clock.h"
#include "platform/notices.h"

namespace kestrine::connection {
namespace {

constexpr std::uint16_t kSocketsVersion = 0x0101;
constexpr std::int32_t kReceiveBufferBytes = 256 * 1024;  // large continuous blocks in few notifications
constexpr std::int32_t kConnectStep = 100;                // milliseconds between two looks at a pending connect
constexpr std::chrono::milliseconds kSendStep{20};        // between two questions to the host whether to give up

// An address with a dot anywhere is taken for a dotted one and never looked up, not even a full host name; and what has
// a dot but is no address is found all the same: its connect fails. Kept.
std::optional<platform::AddressWord> find_address(const std::string& name) {
  if (name.find('.') != std::string::npos) return platform::parse_dotted_address(name);
  return platform::resolve_host_name(name);
}

}  // namespace

const protocol::Error* Link::connect(const std::string& address, std::uint16_t port, platform::WindowHandle window,
                                     std::uint32_t message) {
  // Counted once per attempt; a failure further down keeps the count.
  if (platform::socket_startup(kSocketsVersion) != 0) return &protocol::error::kSocketStartup;
  socket_ = 0;
  try {
    return establish(address, port, window, message);
  } catch (const std::bad_alloc&) {
    platform::close_socket(socket_);
    throw;
  }
}

const protocol::Error* Link::establish(const std::string& address, std::uint16_t port, platform::WindowHandle window,
                                       std::uint32_t message) {
  const protocol::Error* const failure =
      rules_.finds_every_host ? connect_to_host(address, port) : connect_to_address(address, port);
  if (failure != nullptr) return failure;

  // A result of -1 counts as success here; only a positive one is taken as a failure: kept.
  if (platform::select_notifications(socket_, window, message, platform::kSocketReadable | platform::kSocketClosed) >
      0) {
    return fail(protocol::error::kNotificationFailed);
  }
  platform::set_receive_buffer(socket_, kReceiveBufferBytes);
  connected_ = true;
  alive_ = true;
  return nullptr;
}

const protocol::Error* Link::connect_to_address(const std::string& address, std::uint16_t port) {
  socket_ = platform::open_socket();
  if (socket_ == platform::kInvalidSocket) return &protocol::error::kInvalidSocket;
  const auto found = find_address(address);
  if (!found) return fail(protocol::error::kHostNotFound);
  return connect_socket(*found, port) ? nullptr : fail(protocol::error::kConnectFailed);
}

const protocol::Error* Link::connect_to_host(const std::string& name, std::uint16_t port) {
  const std::int32_t timeout = settings::connection_timeout();
  platform::HostConnection made = platform::connect_to_host(
      name, port, std::chrono::milliseconds(timeout > 0 ? timeout : settings::kConnectionTimeout.default_value));
  socket_ = made.socket;
  if (made.outcome == platform::HostConnection::Outcome::kConnected) return nullptr;
  platform::log_line("cannot connect to " + name + " port " + std::to_string(port) + ": " + made.reason);
  switch (made.outcome) {
    case platform::HostConnection::Outcome::kNoSocket:
      return &protocol::error::kInvalidSocket;
    case platform::HostConnection::Outcome::kNotFound:
      return &protocol::error::kHostNotFound;
    default:
      return &protocol::error::kConnectFailed;
  }
}

const protocol::Error* Link::fail(const protocol::Error& failure) const {
  platform::close_socket(socket_);
  return &failure;
}

bool Link::connect_socket(platform::AddressWord address, std::uint16_t port) const {
  if (!settings::nonblocking_connect() || platform::set_non_blocking(socket_, true) != 0) {
    return platform::connect_socket(socket_, address, port) == 0;
  }
  const std::int32_t timeout = settings::connection_timeout();
  // Without a timeout nothing is attempted and the connection counts as made: kept.
  if (timeout > 0 && !wait_for_connection(address, port, timeout)) return false;
  return platform::set_non_blocking(socket_, false) == 0;
}

// The time spent in the calls themselves is not counted.
bool Link::wait_for_connection(platform::AddressWord address, std::uint16_t port, std::int32_t timeout) const {
  for (std::int64_t elapsed = kConnectStep;; elapsed += kConnectStep) {
    if (platform::connect_socket(socket_, address, port) == 0) return true;
    if (platform::last_socket_error() == platform::kErrorAlreadyConnected) return true;
    platform::sleep_ms(kConnectStep);
    std::uint8_t scratch[4];
    const bool not_connected = platform::receive(socket_, scratch, sizeof scratch, true) == -1 &&
                               platform::last_socket_error() == platform::kErrorNotConnected;
    // Any other outcome of the look means that the connection stands.
    if (elapsed >= timeout) return !not_connected;
  }
}

bool Link::close(platform::WindowHandle window) {
  platform::select_notifications(socket_, window, 0, 0);
  const int result = platform::close_socket(std::exchange(socket_, 0));
  platform::socket_cleanup();
  connected_ = false;
  return result == 0;
}

bool Link::send(const std::uint8_t* bytes, std::int32_t size, std::chrono::milliseconds at_most) const {
  const platform::TimePoint end = platform::now() + at_most;
  std::int32_t sent = 0;
  for (;;) {
    const int taken = platform::send_bytes(socket_, bytes + sent, size - sent);
    if (taken != -1) sent += taken;
    if (sent == size) return true;
    const bool is_full = taken != -1 || platform::last_socket_error() == platform::kErrorWouldBlock;
    if (!is_full || (sent == 0 && !rules_.waits_for_room) || !wait_for_room(end)) break;
  }
  if (sent == 0) return false;
  // The server would take the next request for the rest of this one.
  platform::shut_down(socket_);
  return !rules_.waits_for_room;  // a part counts as success: kept, in classic
}

bool Link::wait_for_room(platform::TimePoint end) const {
  while (platform::now() < end && !platform::host_gives_up()) {
    if (platform::wait_for_room(socket_, kSendStep)) return true;
  }
  return false;
}

bool Link::mark_ended() {
  return std::exchange(alive_, false);
}

}  // namespace kestrine::connection
