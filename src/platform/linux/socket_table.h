// What is remembered of the process's own sockets beyond what the kernel says of them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/socket.h"

namespace kestrine::platform {

inline constexpr int kErrorInvalidArgument = 10022;
inline constexpr int kErrorTooManySockets = 10024;

// As many as Linux lets a process have by default.
inline constexpr std::size_t kMostDescriptors = 1 << 20;

enum class SocketPhase : std::uint8_t {
  kClosed,      // not a socket of ours
  kIdle,        // never connected, or its failure has been reported
  kConnecting,  // the kernel is at it
  kFailed,      // the connect has failed; the next connect_socket() reports it
  kConnected,
};

struct SocketRecord {
  SocketPhase phase = SocketPhase::kClosed;
  bool non_blocking = false;
  int low_water = 1;          // bytes that must have come before the socket counts as readable
  std::uint16_t failure = 0;  // the error number to be reported, in phase kFailed
};

// Null, with the error set, for a handle that is not an open socket. A socket belongs to one thread at a time.
SocketRecord* find_socket(SocketHandle socket);
// The record for a descriptor that has just been opened; null when its number lies beyond the table.
SocketRecord* add_socket(int fd);
// The descriptor is not a socket of ours, or is one no longer.
void forget_socket(int fd);

inline int descriptor_of(SocketHandle socket) {
  return static_cast<int>(socket);
}

// open_socket() for a family of addresses.
SocketHandle open_socket_of(int family);

// How many bytes can be read without waiting.
int unread_bytes(int fd);

// The phase, brought up to date when a connect is under way.
SocketPhase update_phase(SocketHandle socket, SocketRecord& record);

// The number that the original system gives to this error of the host.
int error_number_of(int host_error);
// Sets last_socket_error() and returns -1.
int fail_with(int error_number);

}  // namespace kestrine::platform
