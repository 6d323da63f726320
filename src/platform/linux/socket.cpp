#include "platform/socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "platform/clock.h"
#include "platform/linux/fork.h"
#include "platform/linux/socket_table.h"
#include "platform/linux/thread_loop.h"

namespace kestrine::platform {
namespace {

constexpr int kErrorAddressNotAvailable = 10049;
constexpr int kErrorVersion = 10092;
constexpr int kErrorNotStarted = 10093;

std::atomic<int> startups = 0;

void set_option(int fd, int level, int option, int value) {
  ::setsockopt(fd, level, option, &value, sizeof value);
}

// A peer that has vanished is noticed within the sum of these.
constexpr int kIdleSeconds = 10;  // before the first probe
constexpr int kProbeSeconds = 5;  // for each
constexpr int kProbes = 3;

void configure(int fd) {
  set_option(fd, IPPROTO_TCP, TCP_NODELAY, 1);
  set_option(fd, SOL_SOCKET, SO_KEEPALIVE, 1);
  set_option(fd, IPPROTO_TCP, TCP_KEEPIDLE, kIdleSeconds);
  set_option(fd, IPPROTO_TCP, TCP_KEEPINTVL, kProbeSeconds);
  set_option(fd, IPPROTO_TCP, TCP_KEEPCNT, kProbes);
  // An idle connection is probed, but one with a request on its way repeats that instead, for a quarter of an hour. A
  // peer that is there and takes nothing for so long counts as gone, too.
  set_option(fd, IPPROTO_TCP, TCP_USER_TIMEOUT, (kIdleSeconds + kProbes * kProbeSeconds) * 1000);
}

// Moves the descriptor past standard input, output and error: 0 means "no socket" to the users of a handle, and
// a program that starts with these closed must not write its complaints to the tracker.
int above_standard_streams(int fd) {
  if (fd < 0 || fd > STDERR_FILENO) return fd;
  const int moved = ::fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  ::close(fd);
  return moved;
}

int fail_with_errno() {
  return fail_with(error_number_of(errno));
}

// Takes bytes from the system or gives it some, whichever `call` does with the descriptor and its flags.
template <typename Call>
int transfer(SocketHandle socket, SocketRecord& record, int bytes, Call call) {
  if (update_phase(socket, record) != SocketPhase::kConnected) return fail_with(kErrorNotConnected);
  if (bytes < 0) return fail_with(kErrorInvalidArgument);
  const int flags = record.non_blocking ? MSG_DONTWAIT : 0;
  ssize_t count;
  do {
    count = call(descriptor_of(socket), static_cast<std::size_t>(bytes), flags);
  } while (count < 0 && errno == EINTR);
  return count >= 0 ? static_cast<int>(count) : fail_with_errno();
}

void set_kernel_low_water(SocketHandle socket, SocketRecord& record, int bytes) {
  if (record.kernel_low_water == bytes) return;
  set_option(descriptor_of(socket), SOL_SOCKET, SO_RCVLOWAT, bytes);
  record.kernel_low_water = bytes;
}

int connect_blocking(int fd, const sockaddr_in& peer, SocketRecord& record) {
  int result;
  do {
    result = ::connect(fd, reinterpret_cast<const sockaddr*>(&peer), sizeof peer);
  } while (result != 0 && errno == EINTR);
  if (result != 0) return fail_with_errno();
  record.phase = SocketPhase::kConnected;
  return 0;
}

int start_connect(int fd, const sockaddr_in& peer, SocketRecord& record) {
  if (::connect(fd, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) == 0) {
    record.phase = SocketPhase::kConnected;
  } else if (errno == EINPROGRESS || errno == EINTR) {
    record.phase = SocketPhase::kConnecting;
  } else {
    record.phase = SocketPhase::kFailed;
    record.failure = static_cast<std::uint16_t>(error_number_of(errno));
  }
  return fail_with(kErrorWouldBlock);
}

}  // namespace

int socket_startup(std::uint16_t version) {
  // The major number stands in the low byte, the minor one in the high byte.
  const int number = (version & 0xFF) * 256 + (version >> 8);
  if (number < 0x0101 || number > 0x0202) return kErrorVersion;
  ++startups;
  return 0;
}

void socket_cleanup() {
  int count = startups;
  while (count > 0 && !startups.compare_exchange_weak(count, count - 1)) {
  }
}

SocketHandle open_socket_of(int family) {
  const auto none = [](int error) { return fail_with(error), kInvalidSocket; };
  if (startups == 0) return none(kErrorNotStarted);
  const int fd = above_standard_streams(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (fd < 0) return none(error_number_of(errno));
  if (add_socket(fd) == nullptr) {
    ::close(fd);
    return kInvalidSocket;
  }
  configure(fd);
  return static_cast<SocketHandle>(fd);
}

SocketHandle open_socket() {
  return open_socket_of(AF_INET);
}

int close_socket(SocketHandle socket) {
  SocketRecord* record = find_socket(socket);
  if (record == nullptr) return -1;
  // Before the close: a copy of the descriptor in a forked child would keep a forgotten one in the epoll set.
  if (ThreadLoop* loop = ThreadLoop::existing()) loop->drop_socket(socket);
  forget_socket(descriptor_of(socket));
  no_longer_keep_from_children(descriptor_of(socket));
  // Linux frees the descriptor whatever close() returns.
  ::close(descriptor_of(socket));
  return 0;
}

AddressWord parse_dotted_address(const std::string& text) {
  return ::inet_addr(text.c_str());
}

std::optional<AddressWord> resolve_host_name(const std::string& name) {
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (::getaddrinfo(name.c_str(), nullptr, &hints, &found) != 0 || found == nullptr) return std::nullopt;
  const AddressWord address = reinterpret_cast<const sockaddr_in*>(found->ai_addr)->sin_addr.s_addr;
  ::freeaddrinfo(found);
  return address;
}

int connect_socket(SocketHandle socket, AddressWord address, std::uint16_t port) {
  SocketRecord* record = find_socket(socket);
  if (record == nullptr) return -1;
  switch (update_phase(socket, *record)) {
    case SocketPhase::kConnected:
      return fail_with(kErrorAlreadyConnected);
    case SocketPhase::kConnecting:
      return fail_with(kErrorAlready);
    case SocketPhase::kFailed:
      record->phase = SocketPhase::kIdle;
      return fail_with(record->failure);
    default:
      break;
  }
  // Linux takes the address of nobody for its own; the original system does not.
  if (address == INADDR_ANY) return fail_with(kErrorAddressNotAvailable);
  sockaddr_in peer{};
  peer.sin_family = AF_INET;
  peer.sin_port = htons(port);
  peer.sin_addr.s_addr = address;
  const int fd = descriptor_of(socket);
  const int result = record->non_blocking ? start_connect(fd, peer, *record) : connect_blocking(fd, peer, *record);
  if (ThreadLoop* loop = ThreadLoop::existing()) loop->rearm_socket(socket);
  return result;
}

int set_non_blocking(SocketHandle socket, bool on) {
  SocketRecord* record = find_socket(socket);
  if (record == nullptr) return -1;
  int value = on ? 1 : 0;
  if (::ioctl(descriptor_of(socket), FIONBIO, &value) != 0) return fail_with_errno();
  record->non_blocking = on;
  record->reads_wait = false;
  return 0;
}

int prepare_for_notifications(SocketHandle socket) {
  SocketRecord* record = find_socket(socket);
  if (record == nullptr) return -1;
  if (update_phase(socket, *record) != SocketPhase::kConnected) return set_non_blocking(socket, true);
  if (set_non_blocking(socket, false) != 0) return -1;
  record->non_blocking = true;
  constexpr timeval kOneSlice{.tv_sec = 0, .tv_usec = std::chrono::microseconds(kSlice).count()};
  record->reads_wait = ::setsockopt(descriptor_of(socket), SOL_SOCKET, SO_RCVTIMEO, &kOneSlice, sizeof kOneSlice) == 0;
  return record->reads_wait ? 0 : fail_with_errno();
}

int set_receive_buffer(SocketHandle socket, std::int32_t bytes) {
  if (find_socket(socket) == nullptr) return -1;
  if (::setsockopt(descriptor_of(socket), SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes) == 0) return 0;
  return fail_with_errno();
}

int receive(SocketHandle socket, void* into, int bytes, bool peek) {
  SocketRecord* record = find_socket(socket);
  if (record == nullptr) return -1;
  if (!peek) {
    record->low_water = 1;
    set_kernel_low_water(socket, *record, 1);
  }
  const int count = transfer(socket, *record, bytes, [&](int fd, std::size_t most, int flags) {
    if (most == 0) return ssize_t{0};
    return peek ? record->ahead->peek(fd, into, most, flags) : record->ahead->take(fd, into, most, flags);
  });
  if (ThreadLoop* loop = ThreadLoop::existing()) loop->rearm_socket(socket);
  return count;
}

bool notify_of_bytes(SocketHandle socket, int bytes) {
  SocketRecord* record = find_socket(socket);
  if (record == nullptr) return false;
  const int fd = descriptor_of(socket);
  record->low_water = bytes;
  if (record->has_enough()) return false;
  const auto wanted = static_cast<std::size_t>(bytes);
  if (wanted <= ReadAhead::kBytes) {
    const ssize_t came = record->ahead->fill(fd, wanted, MSG_DONTWAIT);
    return came < 0 ? errno == EAGAIN : came > 0 && !record->has_enough();
  }
  const int missing = bytes - static_cast<int>(record->ahead->size());
  if (unread_bytes(fd) >= missing) return false;
  set_kernel_low_water(socket, *record, missing);
  // The kernel calls a socket readable all the same when its buffer is full.
  pollfd look{fd, POLLIN | POLLRDHUP, 0};
  return ::poll(&look, 1, 0) == 0;
}

int send_bytes(SocketHandle socket, const void* from, int bytes) {
  SocketRecord* record = find_socket(socket);
  if (record == nullptr) return -1;
  return transfer(socket, *record, bytes,
                  [&](int fd, std::size_t count, int flags) { return ::send(fd, from, count, flags | MSG_NOSIGNAL); });
}

bool wait_for_room(SocketHandle socket, std::chrono::milliseconds at_most) {
  if (find_socket(socket) == nullptr) return false;
  pollfd look{descriptor_of(socket), POLLOUT, 0};
  const auto wait = std::chrono::ceil<std::chrono::milliseconds>(kernel_part(at_most));
  const int found = ::poll(&look, 1, static_cast<int>(wait.count()));
  if (found == 0) finish_wait(at_most);
  return found > 0;
}

void shut_down(SocketHandle socket) {
  if (find_socket(socket) != nullptr) ::shutdown(descriptor_of(socket), SHUT_RDWR);
}

}  // namespace kestrine::platform
