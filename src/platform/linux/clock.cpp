#include "platform/clock.h"

#include <cerrno>
#include <chrono>
#include <ctime>

namespace kestrine::platform {

std::uint32_t tick_count() {
  const auto since_start = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(since_start).count());
}

void sleep_ms(std::uint32_t milliseconds) {
  timespec end{};
  ::clock_gettime(CLOCK_MONOTONIC, &end);
  end.tv_sec += milliseconds / 1000;
  end.tv_nsec += static_cast<long>(milliseconds % 1000) * 1'000'000;
  if (end.tv_nsec >= 1'000'000'000) {
    end.tv_nsec -= 1'000'000'000;
    ++end.tv_sec;
  }
  // Towards a fixed moment, so that signals do not stretch the sleep.
  while (::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
  }
}

}  // namespace kestrine::platform
