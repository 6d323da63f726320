// The timers of one thread. They live here, not in the kernel: starting and killing one costs no system call.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/loop.h"

namespace kestrine::platform {

using TimePoint = std::chrono::steady_clock::time_point;

class TimerSet {
 public:
  void set(WindowHandle window, std::uint64_t id, std::uint32_t milliseconds, TimePoint now);
  bool kill(WindowHandle window, std::uint64_t id);
  void drop_window(WindowHandle window);

  std::optional<TimePoint> earliest() const;
  // The message of the timer that is due longest, which starts on its next period.
  std::optional<Message> take_due(TimePoint now);

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
