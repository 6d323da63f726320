// One thread's message loop behind the functions of loop.h and host.h.
#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "platform/linux/message_queue.h"
#include "platform/linux/poller.h"
#include "platform/linux/socket_watches.h"
#include "platform/linux/timer_set.h"
#include "platform/loop.h"

namespace kestrine::platform {

// Between two looks of a waiting call at its messages.
inline constexpr std::chrono::milliseconds kSlice{10};

class ThreadLoop {
 public:
  enum class Next { kMessage, kQuit, kTimeout, kInterrupted };

  // The calling thread's loop, made on first use. Null once the thread's end has torn it down: static objects may
  // call in later than that.
  static ThreadLoop* current();
  // The same, but null as well when there is none yet.
  static ThreadLoop* existing();
  // In a forked child: the thread has none any more. The parent's stays where it is, as a handler of it may be at work.
  static void abandon();

  ThreadLoop() = default;
  ThreadLoop(const ThreadLoop&) = delete;
  ThreadLoop& operator=(const ThreadLoop&) = delete;

  WindowHandle create_window(WindowProcedure& procedure);
  bool destroy_window(WindowHandle window);
  WindowProcedure* procedure_of(WindowHandle window) const;

  bool post(const Message& message);
  void post_quit(int exit_code);
  bool set_timer(WindowHandle window, std::uint64_t id, std::uint32_t milliseconds);
  bool kill_timer(WindowHandle window, std::uint64_t id);

  bool watch_socket(SocketHandle socket, WindowHandle window, std::uint32_t id, std::int32_t events);
  void drop_socket(SocketHandle socket);
  void rearm_socket(SocketHandle socket) {
    watches_.rearm(socket);
    update_host_fd();
  }

  bool is_due_after_poll();
  bool is_due() const;
  // Takes what is due, waiting for it until then (none: for as long as it takes). The quit message is consumed.
  Next next(Message& message, std::optional<TimePoint> until);
  // Takes what is due without waiting, past a quit message, which stays. False when nothing is.
  bool next_due(Message& message);
  // Waits until something is due, a signal handler has run, or a slice is over. Takes nothing.
  void wait_slice();

  // While it waits the host's descriptor shows nothing new, which saves system calls.
  void let_host_fd_wait(bool waits) {
    host_fd_waits_ = waits;
    update_host_fd();
  }

  std::size_t queued() const { return queue_.size(); }
  std::optional<int> take_quit() { return std::exchange(quit_code_, std::nullopt); }
  int host_fd();

 private:
  struct Window {
    WindowHandle handle;
    WindowProcedure* procedure;
  };

  bool must_poll() const;
  bool find_held();
  bool take_queued(Message& message);
  bool take_timer(Message& message);
  bool take_late_timer(Message& message);
  // Moves what the kernel reports into the queue. False when a signal handler ended the wait.
  bool poll(std::optional<std::chrono::nanoseconds> wait);
  std::optional<std::chrono::nanoseconds> time_to_wait(std::optional<TimePoint> until) const;
  void update_host_fd() {
    if (poller_.has_host() && !host_fd_waits_) {
      poller_.update_host_fd(!queue_.empty() || watches_.has_held(), timers_.earliest());
    }
  }

  std::vector<Window> windows_;  // handles only grow, so this is in their order
  MessageQueue queue_;
  TimerSet timers_;
  Poller poller_;
  SocketWatches watches_{queue_, poller_};
  std::optional<int> quit_code_;
  bool host_fd_waits_ = false;
  int found_held_ = 0;        // times since the latest poll
  bool reads_first_ = false;  // bytes come faster than slices pass
  int taken_since_poll_ = 0;
  int taken_since_timer_ = 0;
};

}  // namespace kestrine::platform
