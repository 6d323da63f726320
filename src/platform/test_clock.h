// The library's clock in the hand of a test, which then need not nap. Never installed.
#pragma once

#include <chrono>

#include "kestrine/export.h"

namespace kestrine::platform {

// Sets the clock forward, for all threads and for good: timers that end in that time are due, and deadlines have
// passed. A wait that has already begun in the kernel is not cut short.
KESTRINE_HOST_API void advance_clock(std::chrono::nanoseconds by);

// As long as this lives, a wait lasts no longer than `longest` in the kernel; when nothing has come by then, the clock
// is set forward over the rest. With 0 every wait that nothing ends is over at once. Where a peer answers from another
// thread, `longest` is the time it has for that.
class ShortWaits {
 public:
  KESTRINE_HOST_API explicit ShortWaits(std::chrono::nanoseconds longest);
  KESTRINE_HOST_API ~ShortWaits();
  ShortWaits(const ShortWaits&) = delete;
  ShortWaits& operator=(const ShortWaits&) = delete;
};

}  // namespace kestrine::platform
