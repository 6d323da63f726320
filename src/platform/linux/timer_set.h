// The timers of one thread. They live here, not in the kernel: starting and killing one costs no system call.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/clock.h"
#include "platform/loop.h"

namespace kestrine::platform {

class TimerSet {
 public:
  void set(WindowHandle window, std::uint64_t id, std::uint32_t milliseconds) {
    kill(window, id);
    const std::chrono::milliseconds period(std::max<std::uint32_t>(milliseconds, 1));
    timers_.push_back({window, id, period, now() + period});
  }

  bool kill(WindowHandle window, std::uint64_t id) {
    return std::erase_if(timers_, [&](const Timer& timer) { return timer.window == window && timer.id == id; }) != 0;
  }

  void drop_window(WindowHandle window) {
    std::erase_if(timers_, [&](const Timer& timer) { return timer.window == window; });
  }

  std::optional<TimePoint> earliest() const {
    const auto first = std::ranges::min_element(timers_, {}, &Timer::deadline);
    return first != timers_.end() ? std::optional(first->deadline) : std::nullopt;
  }

  // The message of the timer that is due longest, which starts on its next period.
  std::optional<Message> take_due() {
    const auto first = std::ranges::min_element(timers_, {}, &Timer::deadline);
    if (first == timers_.end()) return std::nullopt;
    const TimePoint at = now();
    if (first->deadline > at) return std::nullopt;
    first->deadline += first->period;
    // Periods that passed meanwhile are not made up for.
    if (first->deadline <= at) first->deadline = at + first->period;
    return Message{first->window, kTimerMessage, first->id, 0};
  }

 private:
  struct Timer {
    WindowHandle window;
    std::uint64_t id;
    std::chrono::milliseconds period;
    TimePoint deadline;
  };

  std::vector<Timer> timers_;  // a handful at most, so they are simply searched
};

}  // namespace kestrine::platform
