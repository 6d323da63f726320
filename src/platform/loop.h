// The message loop of the calling thread: windows, posted and sent messages, timers, socket notifications.
//
// There is one loop per thread, made on first use. A window belongs to the thread that created it; its
// procedure runs only on that thread, from dispatch_message() or send_message(). Nothing here may be called
// for a window of another thread, and nothing locks. When the thread ends its windows go; calls that come later,
// from static objects, are refused.
//
// Order of delivery: posted messages and socket notifications in the order in which they became due, then the
// quit message, then expired timers (earliest deadline first). A timer overtakes messages only where they never end:
// after 64 in a row an expired timer has its turn.
#pragma once

#include <cstdint>
#include <string_view>

#include "kestrine/export.h"
#include "platform/socket.h"

namespace kestrine::platform {

using WindowHandle = std::uint64_t;  // 0 is no window; a handle is never used again for another window

struct Message {
  WindowHandle window = 0;
  std::uint32_t id = 0;
  std::uint64_t wparam = 0;
  std::int64_t lparam = 0;
};

inline constexpr std::uint32_t kQuitMessage = 0x0012;
inline constexpr std::uint32_t kTimerMessage = 0x0113;  // wparam: the timer's identifier

// Events of a socket notification: a mask when asked for, a single value in the low word of lparam when delivered.
inline constexpr std::int32_t kSocketReadable = 0x01;
inline constexpr std::int32_t kSocketClosed = 0x20;

class WindowProcedure {
 public:
  virtual std::int64_t on_message(const Message& message) = 0;

 protected:
  ~WindowProcedure() = default;
};

// A hidden window: a handle to which messages can be addressed. 0 when none can be made.
KESTRINE_HOST_API WindowHandle create_window(WindowProcedure& procedure, std::u16string_view name);
// Drops the window's timers, notifications and undelivered messages with it. False for an unknown handle.
KESTRINE_HOST_API bool destroy_window(WindowHandle window);
KESTRINE_HOST_API bool is_window(WindowHandle window);

// False when the window does not exist, or when there is no memory for one more message.
KESTRINE_HOST_API bool post_message(WindowHandle window, std::uint32_t id, std::uint64_t wparam, std::int64_t lparam);
// Calls the procedure at once and returns its result; 0 when the window does not exist.
KESTRINE_HOST_API std::int64_t send_message(WindowHandle window, std::uint32_t id, std::uint64_t wparam,
                                            std::int64_t lparam);

// Starts the timer `id` of the window, or restarts it; it posts kTimerMessage every `milliseconds` (at least
// one) until it is killed. An expired timer that has not been delivered yet is due once, not many times.
KESTRINE_HOST_API bool set_timer(WindowHandle window, std::uint64_t id, std::uint32_t milliseconds);
KESTRINE_HOST_API bool kill_timer(WindowHandle window, std::uint64_t id);

// Asks for messages `id` about the socket: wparam the socket, the low word of lparam the event. The socket
// becomes non-blocking. kSocketReadable comes once and is armed again by the next receive(); kSocketClosed
// comes once, and only when every byte that the peer sent before it has been taken. A second call replaces the
// first; events 0 ends it. Returns 0, or -1 with last_socket_error(), or that error itself when the system has no more
// notifications to give.
KESTRINE_HOST_API int select_notifications(SocketHandle socket, WindowHandle window, std::uint32_t id,
                                           std::int32_t events);

// True when a message is due now. Never waits.
KESTRINE_HOST_API bool peek_message();
// The same without polling the sockets: saves a system call for a caller that is about to wait again anyhow.
KESTRINE_HOST_API bool is_message_queued();
// Waits for the next message and takes it. False for the quit message, which is consumed by being taken.
KESTRINE_HOST_API bool get_message(Message& message);
// Hands the message to its window's procedure; drops it when the window is gone.
KESTRINE_HOST_API std::int64_t dispatch_message(const Message& message);
KESTRINE_HOST_API void post_quit_message(int exit_code);

// The wait between two looks at the queue: 10 ms in which nothing is delivered. A prompt one ends as soon as something
// is due, or when a signal handler has run.
KESTRINE_HOST_API void wait_slice(bool prompt);

}  // namespace kestrine::platform
