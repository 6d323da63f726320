// What a host program decides for itself: by which rules calls work, who drives the message loop, and where notices
// and log lines go.
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

// --- Threads. An object belongs to the thread that made it, and so does every other object that it hands out. A call
// from elsewhere does nothing and answers RPC_E_WRONG_THREAD at once, QueryInterface too; AddRef and Release do nothing
// there, so a last reference must be dropped at home. Class objects (IClassFactory) may be called from any thread.
//
// A forked child is elsewhere as well. The objects of its parent are of no use to it, and stay: what it does with them,
// and how it ends, does not disturb the parent. It can make objects and connections of its own.

// --- The calling thread's message loop. The thread that creates the objects must run it, in one of these ways. Where
// memory runs out they throw std::bad_alloc: what was to be delivered then is lost, and the loop can go on.

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

// --- Behaviour: the rules by which calls wait and connections live, chosen once for the process.
//
// Classic, the default, is what programs written for one tracker and one pair of command objects were made for. Each
// interface generation has one set of command objects: a second connection of the generation takes over from the
// first one, so more than one tracker at a time takes modern behaviour. Modern is for everything new. It departs from
// classic in these rules and in no others:
//   1. A waiting call looks at the thread's messages as soon as one is due, not every 10 ms.
//   2. A wait ends with the call's own answer or result, with an error packet that names its command or none, with its
//      timer, or with the link, and the call returns at once. In classic the answer to any command ends it, and is
//      handed out as the call's own. Answers belong to the requests for them in the order in which these were sent,
//      also to one that was given up: until its late answer comes, or twice its time has passed, it comes first.
//   3. A call's timer ends with the call. In classic it may end a later call.
//   4. Timers, error packets and the link's end release a wait under every notification method, not only under events.
//   5. Every connection stands for itself, with command objects and state of its own, as many in a process as one
//      likes, on one thread or several; and its command objects stay until the connection goes. A command object that
//      a program makes by itself belongs to the connection that its thread made last.
//   6. A host name may have dots, and every address that the name has is tried, IPv6 too. A refused connection fails at
//      once, one that cannot be made in ConnectionTimeout then, and the give-up hook ends it earlier. A timeout that is
//      no positive number counts as the default, here and in the waiting times of calls.
//   7. A packet that has come in part does not hold up the thread: the loop goes on until the rest comes.
//   8. A request waits for room, for as long as its call may take, where a server does not read what it was sent; in
//      classic it fails at once if the system takes nothing of it. One that is sent in part only is completed in that
//      time or ends the link, in both; the call fails then, which in classic it does not.
enum class Behaviour { kClassic, kModern };
// False when the other one holds already: an object has been made, or KESTRINE_BEHAVIOUR in the environment says
// "classic" or "modern", for programs that cannot be changed.
KESTRINE_HOST_API bool set_behaviour(Behaviour behaviour);
KESTRINE_HOST_API Behaviour behaviour();

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
