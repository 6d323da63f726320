// The tracker's time. Tests bring their own.
#pragma once

#include <cstdint>
#include <functional>
#include <utility>

namespace kestrine::simulator {

enum class Pace {
  kTracker,  // which a time scale can make faster than the wall's
  kWall,
};

class Scheduler {
 public:
  virtual ~Scheduler() = default;
  // Seconds of the tracker's time.
  virtual double now() const = 0;
  // Runs the task later, never from inside this call. The number cancels it and is never 0.
  virtual std::uint64_t after(double seconds, Pace pace, std::function<void()> task) = 0;
  virtual void cancel(std::uint64_t number) = 0;
};

// At most one task in the future; none any more once the timer is gone.
class Timer {
 public:
  explicit Timer(Scheduler& scheduler) : scheduler_(scheduler) {}
  ~Timer() { stop(); }
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

  void start(double seconds, std::function<void()> task, Pace pace = Pace::kTracker) {
    stop();
    number_ = scheduler_.after(seconds, pace, [this, task = std::move(task)] {
      number_ = 0;
      // The task may destroy the timer, and this closure with it.
      const auto last_act = task;
      last_act();
    });
  }
  void stop() {
    if (number_ != 0) scheduler_.cancel(std::exchange(number_, 0));
  }
  bool running() const { return number_ != 0; }

 private:
  Scheduler& scheduler_;
  std::uint64_t number_ = 0;
};

}  // namespace kestrine::simulator
