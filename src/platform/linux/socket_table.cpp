#include "platform/linux/socket_table.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <new>
#include <utility>

#include "platform/linux/fork.h"

namespace kestrine::platform {
namespace {

// A plain table, indexed by descriptor, needs no lock and is still there when the last static object closes its socket;
// untouched pages of it take no memory.
std::array<SocketRecord, kMostDescriptors> table;

thread_local int last_error = 0;

constexpr std::pair<int, int> kErrorNumbers[] = {
    {EINTR, kErrorInterrupted},
    {EBADF, kErrorBadSocket},
    {EACCES, 10013},
    {EPERM, 10013},
    {EFAULT, 10014},
    {EINVAL, kErrorInvalidArgument},
    {EMFILE, kErrorTooManySockets},
    {ENFILE, kErrorTooManySockets},
    {EWOULDBLOCK, kErrorWouldBlock},
    {EALREADY, kErrorAlready},
    {ENOTSOCK, kErrorBadSocket},
    {EADDRNOTAVAIL, 10049},
    {ENETDOWN, 10050},
    {ENETUNREACH, 10051},
    {ECONNABORTED, 10053},
    {ECONNRESET, kErrorConnectionReset},
    {EPIPE, kErrorConnectionReset},
    {ENOBUFS, kErrorNoBuffers},
    {ENOMEM, kErrorNoBuffers},
    {EISCONN, kErrorAlreadyConnected},
    {ENOTCONN, kErrorNotConnected},
    {ETIMEDOUT, 10060},
    {ECONNREFUSED, kErrorConnectionRefused},
    {EHOSTUNREACH, 10065},
};
constexpr int kErrorOther = 10107;  // "a system call that should never fail has failed"

// Frees the kernel's socket from a failed connect, so that it can be connected anew.
void forget_connect(int fd) {
  sockaddr nowhere{};
  nowhere.sa_family = AF_UNSPEC;
  static_cast<void>(::connect(fd, &nowhere, sizeof nowhere));
}

}  // namespace

int last_socket_error() {
  return last_error;
}

int fail_with(int error_number) {
  last_error = error_number;
  return -1;
}

int error_number_of(int host_error) {
  for (const auto& [host, number] : kErrorNumbers) {
    if (host == host_error) return number;
  }
  return kErrorOther;
}

SocketRecord* find_socket(SocketHandle socket) {
  if (socket < table.size() && table[socket].phase != SocketPhase::kClosed) return &table[socket];
  last_error = kErrorBadSocket;
  return nullptr;
}

SocketRecord* add_socket(int fd) {
  const auto index = static_cast<std::size_t>(fd);
  if (index >= table.size()) return fail_with(kErrorTooManySockets), nullptr;
  forget_socket(fd);  // a parent's, in a forked child
  auto* ahead = new (std::nothrow) ReadAhead;
  if (ahead == nullptr) return fail_with(kErrorNoBuffers), nullptr;
  table[index].ahead = ahead;
  table[index].phase = SocketPhase::kIdle;
  keep_from_children(fd);
  return &table[index];
}

void forget_socket(int fd) {
  SocketRecord& record = table[static_cast<std::size_t>(fd)];
  delete record.ahead;
  record = {};
}

void disown_socket(int fd) {
  table[static_cast<std::size_t>(fd)].phase = SocketPhase::kClosed;
}

int unread_bytes(int fd) {
  int count = 0;
  return ::ioctl(fd, FIONREAD, &count) == 0 ? count : 0;
}

SocketPhase update_phase(SocketHandle socket, SocketRecord& record) {
  if (record.phase != SocketPhase::kConnecting) return record.phase;
  const int fd = descriptor_of(socket);
  sockaddr_in peer{};
  socklen_t length = sizeof peer;
  if (::getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &length) == 0) {
    return record.phase = SocketPhase::kConnected;
  }
  pollfd look{fd, POLLOUT, 0};
  if (::poll(&look, 1, 0) <= 0) return record.phase;
  int error = 0;
  length = sizeof error;
  if (::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length) != 0) error = errno;
  // These befall a connection that had been made; what the peer sent before it left can still be read.
  if (error == 0 || error == ECONNRESET || error == EPIPE) return record.phase = SocketPhase::kConnected;
  forget_connect(fd);
  record.failure = static_cast<std::uint16_t>(error_number_of(error));
  return record.phase = SocketPhase::kFailed;
}

}  // namespace kestrine::platform
