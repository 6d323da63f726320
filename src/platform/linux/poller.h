// The kernel's side of one thread's loop: an epoll set, and what makes it readable for a host that polls it.
#pragma once

#include <sys/epoll.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "platform/clock.h"
#include "platform/linux/descriptor.h"

namespace kestrine::platform {

class Poller {
 public:
  // Asks for these epoll events of the descriptor, level-triggered; 0 asks for none any more. False on failure.
  bool watch(int fd, std::uint32_t events);

  // What has become ready, within that time (none: for as long as it takes). Empty when the time is over;
  // `interrupted` tells when a signal handler ended the wait. The result holds until the next call.
  std::span<const epoll_event> wait(std::optional<std::chrono::nanoseconds> timeout, bool& interrupted);

  // Whether anything but the host's own descriptor is in the set, which is to say whether a poll can find anything.
  bool watches_anything() const { return watched_ != 0; }

  // The epoll set itself, for the host to poll; -1 when it cannot be made. From now on update_host_fd() counts.
  int host_fd();
  bool has_host() const { return message_due_.valid() || timer_due_.valid(); }
  // For a polling host: dues that the kernel does not know of make the set readable. Costs system calls only on a
  // change.
  void update_host_fd(bool message_due, std::optional<TimePoint> next_timer);

 private:
  bool open();

  Descriptor epoll_;
  Descriptor message_due_;  // an eventfd, readable while messages wait; made with the first host_fd()
  Descriptor timer_due_;    // a timerfd at the earliest deadline; likewise
  bool shown_message_ = false;
  std::optional<TimePoint> shown_timer_;
  std::size_t watched_ = 0;
  std::array<epoll_event, 16> ready_;
};

}  // namespace kestrine::platform
