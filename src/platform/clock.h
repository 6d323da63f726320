// Time as the library counts it. All of its waits and timers go by this clock, and tests can set it forward
// (platform/test_clock.h).
#pragma once

#include <chrono>
#include <cstdint>

#include "kestrine/export.h"

namespace kestrine::platform {

using TimePoint = std::chrono::steady_clock::time_point;

KESTRINE_HOST_API TimePoint now();

// Whole milliseconds since some moment; wraps around after 49.7 days.
KESTRINE_HOST_API std::uint32_t tick_count();
KESTRINE_HOST_API void sleep_ms(std::uint32_t milliseconds);

// For whoever waits in the kernel: how much of a wait to spend there, and what to call when nothing came in that time.
// Outside of tests the first is the wait itself and the second does nothing.
std::chrono::nanoseconds kernel_part(std::chrono::nanoseconds wait);
void finish_wait(std::chrono::nanoseconds wait);
// The kernel's own time for a moment of this clock.
TimePoint kernel_time(TimePoint moment);

}  // namespace kestrine::platform
