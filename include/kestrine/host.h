// What a host program decides for itself: who drives the message loop, where notices and log lines go, and how
// promptly a waiting call looks at the socket.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "kestrine/export.h"

inline constexpr std::uint32_t WM_COPYDATA = 0x004A;

struct COPYDATASTRUCT {
  std::uint64_t dwData;  // the cookie given to SelectNotificationMethod
  std::uint32_t cbData;  // bytes
  const void* lpData;    // the packet, in the buffer that the next one of its kind overwrites
};

namespace kestrine::host {

// --- The calling thread's message loop. The thread that creates the objects must run it, in one of these ways.

// Becomes readable whenever something is due, for a host that has a loop of its own (poll, GLib, Qt, asyncio):
// wait for it, then call dispatch(). It stays the same for the life of the thread and must not be closed. -1 when
// the process has no descriptors left.
KESTRINE_HOST_API int fd();
// Delivers everything that is due now and returns how many messages that were. Never waits, and handlers that post
// ever more messages cannot hold it. A call to quit() is left for run() or run_for(), and does not show at fd().
KESTRINE_HOST_API int dispatch();
// Delivers messages until quit() is called; returns the exit code given to it.
KESTRINE_HOST_API int run();
// Delivers messages for that long, or until quit() is called or a signal handler has run. True when the time
// has passed, false when it ended early.
KESTRINE_HOST_API bool run_for(std::chrono::milliseconds duration);
// Ends the innermost run() or run_for(), or the next one, once the messages posted before it have been delivered.
KESTRINE_HOST_API void quit(int exit_code = 0);

// --- Early wake. Off (the default), a waiting call looks at the socket every 10 ms; on, as soon as something
// is due. Holds for the whole process.
KESTRINE_HOST_API void set_early_wake(bool on);
KESTRINE_HOST_API bool early_wake();

// --- Notices. An empty function restores the default: message boxes go to standard error, beeps and log lines
// nowhere. Hooks must not throw. They hold for the whole process.
using MessageBoxHook =
    std::function<void(const std::u16string& text, const std::u16string& caption, std::uint32_t style)>;
using BeepHook = std::function<void(std::uint32_t hertz, std::uint32_t milliseconds)>;
using LogHook = std::function<void(const std::string& line)>;
KESTRINE_HOST_API void set_message_box_hook(MessageBoxHook hook);
KESTRINE_HOST_API void set_beep_hook(BeepHook hook);
KESTRINE_HOST_API void set_log_hook(LogHook hook);

// --- Packets by message, for connections with the notification method KR_NM_WM_CopyData or KR_NM_WM_Notify: the hook
// stands where an application's window would, and is called on the connection's thread for every packet that a loop
// delivers, unless its frame is broken or its type unknown, after everything else that the packet causes. It gets the
// three values of a window message:
//   KR_NM_WM_CopyData  WM_COPYDATA, the handle of the connection's own window, the address of a COPYDATASTRUCT;
//   KR_NM_WM_Notify    the cookie,  the cookie,                                the length of the packet in bytes.
// What a COPYDATASTRUCT points to is valid during the call only. An empty function ends the delivery. The hook must
// not throw, and holds for the whole process.
using WindowMessageHook = std::function<void(std::uint32_t message, std::uint64_t wparam, std::int64_t lparam)>;
KESTRINE_HOST_API void set_window_message_hook(WindowMessageHook hook);

// --- Giving up. Asked on the thread of a call that waits, after every slice; true ends the wait, and the call fails as
// one that no answer came for (status 36). For hosts whose Ctrl-C must not wait for a timeout of minutes. The hook must
// neither throw nor call the library, and holds for the whole process; an empty function removes it.
using GiveUpHook = std::function<bool()>;
KESTRINE_HOST_API void set_give_up_hook(GiveUpHook hook);

// --- Whose classes DllRegisterServer and DllUnregisterServer write: those of the user (the default) or those of the
// whole system, for which most users lack the right. Holds for the whole process.
enum class RegistrationScope { kUser, kSystem };
KESTRINE_HOST_API void set_registration_scope(RegistrationScope scope);

}  // namespace kestrine::host
