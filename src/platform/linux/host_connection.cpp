#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <future>
#include <memory>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "platform/clock.h"
#include "platform/linux/socket_table.h"
#include "platform/notices.h"
#include "platform/socket.h"

namespace kestrine::platform {
namespace {

using std::chrono::milliseconds;
using Outcome = HostConnection::Outcome;

// Between two questions to the host whether to give up.
constexpr milliseconds kStep{20};

struct Address {
  int family;
  sockaddr_storage bytes;
  socklen_t length;
};

struct Found {
  std::vector<Address> addresses;
  std::string reason;  // why there are none
};

Found look_up(const std::string& name, std::uint16_t port, int flags = 0) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICSERV | flags;
  addrinfo* first = nullptr;
  const int error = ::getaddrinfo(name.c_str(), std::to_string(port).c_str(), &hints, &first);
  if (error != 0) return {{}, ::gai_strerror(error)};
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> all(first, &::freeaddrinfo);
  Found found;
  for (const addrinfo* each = first; each != nullptr; each = each->ai_next) {
    Address address{each->ai_family, {}, each->ai_addrlen};
    std::memcpy(&address.bytes, each->ai_addr, each->ai_addrlen);
    found.addresses.push_back(address);
  }
  return found;
}

milliseconds time_until(TimePoint end) {
  return std::max(std::chrono::ceil<milliseconds>(end - now()), milliseconds(0));
}

// The system's look-up cannot be ended, so it gets a thread of its own, which is left behind if need be.
Found look_up_until(const std::string& name, std::uint16_t port, TimePoint end) {
  Found address = look_up(name, port, AI_NUMERICHOST);
  if (!address.addresses.empty()) return address;
  std::packaged_task<Found()> task([name, port] { return look_up(name, port); });
  std::future<Found> found = task.get_future();
  try {
    std::thread(std::move(task)).detach();
  } catch (const std::system_error&) {
    return look_up(name, port);
  }
  while (found.wait_for(std::min(kStep, time_until(end))) != std::future_status::ready) {
    if (host_gives_up()) return {{}, "given up"};
    if (now() >= end) return {{}, "the name could not be looked up in time"};
  }
  return found.get();
}

// 0, or why not.
int wait_for_connect(int fd, TimePoint end) {
  for (;;) {
    pollfd look{fd, POLLOUT, 0};
    const auto step = std::min(kStep, time_until(end));
    if (::poll(&look, 1, static_cast<int>(step.count())) > 0) {
      int error = 0;
      socklen_t length = sizeof error;
      return ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length) == 0 ? error : errno;
    }
    if (host_gives_up()) return ECANCELED;
    if (now() >= end) return ETIMEDOUT;
  }
}

int connect_until(int fd, const Address& address, TimePoint end) {
  const int flags = ::fcntl(fd, F_GETFL);
  // A connect that blocks would not end in time.
  if (flags < 0 || ::fcntl(fd, F_SETFL, flags | O_NONBLOCK) != 0) return errno;
  int error = 0;
  if (::connect(fd, reinterpret_cast<const sockaddr*>(&address.bytes), address.length) != 0) error = errno;
  if (error == EINPROGRESS || error == EINTR) error = wait_for_connect(fd, end);
  ::fcntl(fd, F_SETFL, flags);
  return error;
}

}  // namespace

HostConnection connect_to_host(const std::string& name, std::uint16_t port, milliseconds at_most) {
  const TimePoint end = now() + at_most;
  const Found found = look_up_until(name, port, end);
  HostConnection result{Outcome::kNotFound, kInvalidSocket, found.reason};
  for (std::size_t i = 0; i < found.addresses.size(); ++i) {
    const Address& address = found.addresses[i];
    const SocketHandle socket = open_socket_of(address.family);
    if (socket == kInvalidSocket) {
      // A machine without IPv6 is no reason for a failure.
      if (result.outcome == Outcome::kNotFound) result = {Outcome::kNoSocket, kInvalidSocket, std::strerror(errno)};
      continue;
    }
    // None may use up the time of those behind it.
    const auto share = time_until(end) / static_cast<std::int64_t>(found.addresses.size() - i);
    const int error = connect_until(descriptor_of(socket), address, now() + share);
    if (error == 0) {
      find_socket(socket)->phase = SocketPhase::kConnected;
      return {Outcome::kConnected, socket, ""};
    }
    close_socket(socket);
    result = {Outcome::kFailed, kInvalidSocket, std::strerror(error)};
    if (error == ECANCELED) break;
  }
  return result;
}

}  // namespace kestrine::platform
