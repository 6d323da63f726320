#include "platform/linux/timer_set.h"

#include <algorithm>

namespace kestrine::platform {

void TimerSet::set(WindowHandle window, std::uint64_t id, std::uint32_t milliseconds, TimePoint now) {
  const std::chrono::milliseconds period(std::max<std::uint32_t>(milliseconds, 1));
  const Timer timer{window, id, period, now + period};
  const auto at = std::find_if(timers_.begin(), timers_.end(),
                               [&](const Timer& other) { return other.window == window && other.id == id; });
  if (at == timers_.end()) {
    timers_.push_back(timer);
  } else {
    *at = timer;
  }
}

bool TimerSet::kill(WindowHandle window, std::uint64_t id) {
  return std::erase_if(timers_, [&](const Timer& timer) { return timer.window == window && timer.id == id; }) != 0;
}

void TimerSet::drop_window(WindowHandle window) {
  std::erase_if(timers_, [&](const Timer& timer) { return timer.window == window; });
}

std::optional<TimePoint> TimerSet::earliest() const {
  const auto first = std::ranges::min_element(timers_, {}, &Timer::deadline);
  if (first == timers_.end()) return std::nullopt;
  return first->deadline;
}

std::optional<Message> TimerSet::take_due(TimePoint now) {
  const auto first = std::ranges::min_element(timers_, {}, &Timer::deadline);
  if (first == timers_.end() || first->deadline > now) return std::nullopt;
  first->deadline += first->period;
  // Periods that passed meanwhile are not made up for.
  if (first->deadline <= now) first->deadline = now + first->period;
  return Message{first->window, kTimerMessage, first->id, 0};
}

}  // namespace kestrine::platform
