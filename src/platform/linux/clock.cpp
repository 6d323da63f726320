#include "platform/clock.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <ctime>

#include "platform/test_clock.h"

namespace kestrine::platform {
namespace {

using std::chrono::nanoseconds;

// In nanoseconds. How far a test has set the clock forward, and the longest wait that it leaves to the kernel.
std::atomic<std::int64_t> ahead = 0;
std::atomic<std::int64_t> longest_wait = nanoseconds::max().count();

nanoseconds time_ahead() {
  return nanoseconds(ahead.load(std::memory_order_relaxed));
}

}  // namespace

TimePoint now() {
  return std::chrono::steady_clock::now() + time_ahead();
}

std::uint32_t tick_count() {
  const auto since_start = now().time_since_epoch();
  return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(since_start).count());
}

void sleep_ms(std::uint32_t milliseconds) {
  const std::chrono::milliseconds wait(milliseconds);
  const nanoseconds end = kernel_time(now() + kernel_part(wait)).time_since_epoch();
  const auto seconds = std::chrono::floor<std::chrono::seconds>(end);
  const timespec at{seconds.count(), nanoseconds(end - seconds).count()};
  // Towards a fixed moment, so that signals do not stretch the sleep.
  while (::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &at, nullptr) == EINTR) {
  }
  finish_wait(wait);
}

nanoseconds kernel_part(nanoseconds wait) {
  return std::min(wait, nanoseconds(longest_wait.load(std::memory_order_relaxed)));
}

void finish_wait(nanoseconds wait) {
  if (const nanoseconds rest = wait - kernel_part(wait); rest.count() > 0) advance_clock(rest);
}

TimePoint kernel_time(TimePoint moment) {
  return moment - time_ahead();
}

void advance_clock(nanoseconds by) {
  ahead += by.count();
}

ShortWaits::ShortWaits(nanoseconds longest) {
  longest_wait = longest.count();
}

ShortWaits::~ShortWaits() {
  longest_wait = nanoseconds::max().count();
}

}  // namespace kestrine::platform
