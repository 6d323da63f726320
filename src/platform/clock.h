// Time as the library counts it: whole milliseconds since some moment, and naps.
#pragma once

#include <cstdint>

#include "kestrine/export.h"

namespace kestrine::platform {

// Milliseconds; wraps around after 49.7 days.
KESTRINE_HOST_API std::uint32_t tick_count();
KESTRINE_HOST_API void sleep_ms(std::uint32_t milliseconds);

}  // namespace kestrine::platform
