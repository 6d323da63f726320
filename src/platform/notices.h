// Notices to the host: message boxes, beeps, log lines and window messages; and the question whether a waiting call is
// to end. None ever blocks here; a host can take all over (host.h). A message box goes to standard error by default,
// the others nowhere.
#pragma once

#include <cstdint>
#include <string_view>

#include "kestrine/export.h"

namespace kestrine::platform {

inline constexpr std::uint32_t kIconStop = 0x10;
inline constexpr std::uint32_t kIconExclamation = 0x30;

KESTRINE_HOST_API void show_message_box(std::u16string_view text, std::u16string_view caption, std::uint32_t style);
KESTRINE_HOST_API void beep(std::uint32_t hertz, std::uint32_t milliseconds);
// A line for the host's log hook; nothing without one.
KESTRINE_HOST_API void log_line(std::string_view line);
// A message for the application's window; returns when it has been handled. Nothing without a hook.
KESTRINE_HOST_API void send_to_host(std::uint32_t message, std::uint64_t wparam, std::int64_t lparam);
// True when the host wants the waiting call to end.
KESTRINE_HOST_API bool host_gives_up();

}  // namespace kestrine::platform
