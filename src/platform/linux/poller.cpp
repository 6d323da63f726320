#include "platform/linux/poller.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace kestrine::platform {
namespace {

// Whole milliseconds, rounded up: a wait that ended before its deadline would have to be taken up again.
int to_timeout(std::chrono::nanoseconds time) {
  const auto whole = std::chrono::ceil<std::chrono::milliseconds>(time).count();
  return static_cast<int>(std::clamp<std::int64_t>(whole, 0, std::numeric_limits<int>::max()));
}

bool add_to_set(int set, int fd, std::uint32_t events) {
  epoll_event event{};
  event.events = events;
  event.data.fd = fd;
  return epoll_ctl(set, EPOLL_CTL_ADD, fd, &event) == 0;
}

// A descriptor that nobody could be woken by is of no use.
void adopt_into_set(Descriptor& place, int fd, int set) {
  Descriptor made(fd);
  if (made.valid() && add_to_set(set, fd, EPOLLIN)) place.swap(made);
}

}  // namespace

bool Poller::open() {
  if (!epoll_.valid()) epoll_.adopt(epoll_create1(EPOLL_CLOEXEC));
  return epoll_.valid();
}

bool Poller::watch(int fd, std::uint32_t events) {
  if (!open()) return false;
  if (events != 0) {
    if (!add_to_set(epoll_.get(), fd, events)) return false;
    ++watched_;
    return true;
  }
  if (epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, fd, nullptr) != 0) return false;
  --watched_;
  return true;
}

std::span<const epoll_event> Poller::wait(std::optional<std::chrono::nanoseconds> timeout, bool& interrupted) {
  const int most = timeout ? to_timeout(kernel_part(*timeout)) : -1;
  // Without a set (no descriptors left in the process) there is still time to be waited for.
  const int count = open() ? epoll_wait(epoll_.get(), ready_.data(), static_cast<int>(ready_.size()), most)
                           : ::poll(nullptr, 0, most);
  interrupted = count < 0 && errno == EINTR;
  if (count == 0 && timeout) finish_wait(*timeout);
  return {ready_.data(), static_cast<std::size_t>(std::max(count, 0))};
}

int Poller::host_fd() {
  if (!open()) return -1;
  if (!message_due_.valid()) {
    adopt_into_set(message_due_, eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), epoll_.get());
  }
  if (!timer_due_.valid()) {
    adopt_into_set(timer_due_, timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK), epoll_.get());
  }
  return message_due_.valid() && timer_due_.valid() ? epoll_.get() : -1;
}

void Poller::update_host_fd(bool message_due, std::optional<TimePoint> next_timer) {
  if (message_due_.valid() && message_due != shown_message_) {
    eventfd_t count = 1;
    if (message_due) {
      eventfd_write(message_due_.get(), count);
    } else {
      eventfd_read(message_due_.get(), &count);
    }
    shown_message_ = message_due;
  }
  if (next_timer) next_timer = kernel_time(*next_timer);
  if (timer_due_.valid() && next_timer != shown_timer_) {
    itimerspec at{};  // all zeros disarm
    if (next_timer) {
      // A deadline of zero would disarm as well.
      const auto since_start = std::max(next_timer->time_since_epoch(), TimePoint::duration(1));
      const auto seconds = std::chrono::floor<std::chrono::seconds>(since_start);
      at.it_value.tv_sec = seconds.count();
      at.it_value.tv_nsec = std::chrono::nanoseconds(since_start - seconds).count();
    }
    timerfd_settime(timer_due_.get(), TFD_TIMER_ABSTIME, &at, nullptr);
    shown_timer_ = next_timer;
  }
}

}  // namespace kestrine::platform
