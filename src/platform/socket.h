// TCP client sockets with the results and error values that the library expects of its system.
//
// Every call returns -1 on failure and leaves the reason in last_socket_error(), in the numbers below, whatever
// the host's own numbers are.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "kestrine/export.h"

namespace kestrine::platform {

using SocketHandle = std::uint64_t;
inline constexpr SocketHandle kInvalidSocket = ~SocketHandle{0};

inline constexpr int kErrorInterrupted = 10004;
inline constexpr int kErrorBadSocket = 10038;
inline constexpr int kErrorWouldBlock = 10035;
inline constexpr int kErrorAlready = 10037;
inline constexpr int kErrorConnectionReset = 10054;
inline constexpr int kErrorAlreadyConnected = 10056;
inline constexpr int kErrorNotConnected = 10057;
inline constexpr int kErrorConnectionRefused = 10061;

KESTRINE_HOST_API int last_socket_error();

// Start-up and clean-up are counted; the sockets work only in between. Returns 0 or an error number.
KESTRINE_HOST_API int socket_startup(std::uint16_t version);
KESTRINE_HOST_API void socket_cleanup();

// A TCP socket over IPv4 that sends every request at once (no delay for small writes) and notices within 25 s a peer
// that has vanished, whether the connection is idle or a request is on its way.
KESTRINE_HOST_API SocketHandle open_socket();
// 0, or -1 for a handle that is not an open socket. Ends its notifications.
KESTRINE_HOST_API int close_socket(SocketHandle socket);

// The four bytes of an IPv4 address in network order, as one word.
using AddressWord = std::uint32_t;
inline constexpr AddressWord kAddressNone = 0xFFFFFFFF;
KESTRINE_HOST_API AddressWord parse_dotted_address(const std::string& text);  // kAddressNone when it is none
KESTRINE_HOST_API std::optional<AddressWord> resolve_host_name(const std::string& name);  // the first address

// On a non-blocking socket the first call always reports kErrorWouldBlock, a later one the outcome:
// kErrorAlready while the connect is under way, kErrorAlreadyConnected once it has succeeded, or the error that it
// ended on; the call after that one tries anew.
KESTRINE_HOST_API int connect_socket(SocketHandle socket, AddressWord address, std::uint16_t port);
KESTRINE_HOST_API int set_non_blocking(SocketHandle socket, bool on);
KESTRINE_HOST_API int set_receive_buffer(SocketHandle socket, std::int32_t bytes);

// A connection to a host by name or address.
struct HostConnection {
  enum class Outcome { kConnected, kNotFound, kNoSocket, kFailed };

  Outcome outcome;
  SocketHandle socket = kInvalidSocket;
  std::string reason;  // of a failure: what the system says
};
// Tries the addresses that the host has, IPv4 and IPv6, in the system's order, for that long in all; the host's give-up
// hook ends it earlier. The socket is a blocking one like those of open_socket().
KESTRINE_HOST_API HostConnection connect_to_host(const std::string& name, std::uint16_t port,
                                                 std::chrono::milliseconds at_most);

// The number of bytes taken (with `peek`: looked at), 0 when the peer has closed, or -1. While a connect is
// under way the error is kErrorNotConnected. Arms the socket's readable notification again.
// A look sees 24 KiB at most: what is read ahead of the reader.
KESTRINE_HOST_API int receive(SocketHandle socket, void* into, int bytes, bool peek = false);
// Has the next readable notification come when there are so many bytes, or the peer has ended. False when that is so
// already, or when so many never fit.
KESTRINE_HOST_API bool notify_of_bytes(SocketHandle socket, int bytes);
// One write. The number of bytes taken over by the system, or -1; a closed peer is an error, never a signal.
KESTRINE_HOST_API int send_bytes(SocketHandle socket, const void* from, int bytes);
// Waits until the system takes more bytes, or says why it never will; false when it does neither in that time.
KESTRINE_HOST_API bool wait_for_room(SocketHandle socket, std::chrono::milliseconds at_most);
// Ends the connection but keeps the socket: nothing can be sent any more, and kSocketClosed comes.
KESTRINE_HOST_API void shut_down(SocketHandle socket);

}  // namespace kestrine::platform
