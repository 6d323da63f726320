// What the library says without being asked: message boxes and beeps. Neither ever blocks here; a host can
// take both over (host.h). A message box goes to standard error by default, a beep nowhere.
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

}  // namespace kestrine::platform
