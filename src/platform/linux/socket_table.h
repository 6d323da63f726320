// What is remembered of the process's own sockets beyond what the kernel says of them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/linux/read_ahead.h"
#include "platform/socket.h"

namespace kestrine::platform {

inline constexpr int kErrorInvalidArgument = 10022;
inline constexpr int kErrorTooManySockets = 10024;
inline constexpr int kErrorNoBuffers = 10055;

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
  bool reads_wait = false;     // non-blocking to its users only, while its reads can wait for a slice
  std::uint16_t failure = 0;   // the error number to be reported, in phase kFailed
  int low_water = 1;           // bytes that must have come before the socket counts as readable
  int kernel_low_water = 1;    // of those, what the kernel itself waits for
  ReadAhead* ahead = nullptr;  // owned; a plain pointer, so that the table needs no end

  bool has_enough() const { return ahead->size() >= static_cast<std::size_t>(low_water); }
};

// Null, with the error set, for a handle that is not an open socket. A socket belongs to one thread at a time.
SocketRecord* find_socket(SocketHandle socket);
// The record for a descriptor that has just been opened; null, with the error set, when it cannot be had.
SocketRecord* add_socket(int fd);
// The descriptor is not a socket of ours, or is one no longer.
void forget_socket(int fd);
// The same in a forked child, where no memory may be freed yet.
void disown_socket(int fd);

inline int descriptor_of(SocketHandle socket) {
  return static_cast<int>(socket);
}

// open_socket() for a family of addresses.
SocketHandle open_socket_of(int family);

// How many bytes can be read without waiting.
int unread_bytes(int fd);

// Makes the socket a non-blocking one to its users. -1 with the error set when that cannot be had.
int prepare_for_notifications(SocketHandle socket);

// The phase, brought up to date when a connect is under way.
SocketPhase update_phase(SocketHandle socket, SocketRecord& record);

// The number that the original system gives to this error of the host.
int error_number_of(int host_error);
// Sets last_socket_error() and returns -1.
int fail_with(int error_number);

}  // namespace kestrine::platform
