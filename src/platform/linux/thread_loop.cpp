#include "platform/linux/thread_loop.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <utility>

namespace kestrine::platform {
namespace {

// Messages taken before the sockets are polled although the queue has not run dry: a handler that keeps posting
// must not shut them out.
constexpr int kMessagesBetweenPolls = 64;

// What has been read ahead costs no system call to find; a poll comes in between for the others' sake only.
constexpr int kHeldBetweenPolls = 512;

// The same for timers: a stream that never pauses must not keep a command's timeout from ending its wait.
constexpr int kMessagesBetweenTimers = 64;

std::atomic<WindowHandle> last_window = 0;

// Plain thread-locals, still readable after LoopCleanup has run. They are read several times for each packet, and so
// lie where a single instruction finds them.
[[gnu::tls_model("initial-exec")]] thread_local ThreadLoop* thread_loop = nullptr;
[[gnu::tls_model("initial-exec")]] thread_local bool thread_loop_gone = false;
// In a forked child, for those who look for leaks.
ThreadLoop* volatile abandoned_loop = nullptr;

struct LoopCleanup {
  ~LoopCleanup() {
    thread_loop_gone = true;
    delete std::exchange(thread_loop, nullptr);
  }
};

}  // namespace

ThreadLoop* ThreadLoop::current() {
  if (thread_loop == nullptr && !thread_loop_gone) {
    static thread_local LoopCleanup cleanup;
    thread_loop = new ThreadLoop;
  }
  return thread_loop;
}

ThreadLoop* ThreadLoop::existing() {
  return thread_loop;
}

void ThreadLoop::abandon() {
  if (thread_loop != nullptr) abandoned_loop = std::exchange(thread_loop, nullptr);
}

WindowHandle ThreadLoop::create_window(WindowProcedure& procedure) {
  windows_.push_back({++last_window, &procedure});
  return windows_.back().handle;
}

bool ThreadLoop::destroy_window(WindowHandle window) {
  if (std::erase_if(windows_, [&](const Window& other) { return other.handle == window; }) == 0) return false;
  timers_.drop_window(window);
  watches_.drop_window(window);
  queue_.erase_if([&](const MessageQueue::Entry& entry) { return entry.message.window == window; });
  update_host_fd();
  return true;
}

WindowProcedure* ThreadLoop::procedure_of(WindowHandle window) const {
  const auto at = std::ranges::lower_bound(windows_, window, {}, &Window::handle);
  return at != windows_.end() && at->handle == window ? at->procedure : nullptr;
}

bool ThreadLoop::post(const Message& message) {
  if (procedure_of(message.window) == nullptr) return false;
  try {
    queue_.push({.message = message});
  } catch (const std::bad_alloc&) {
    return false;
  }
  update_host_fd();
  return true;
}

void ThreadLoop::post_quit(int exit_code) {
  quit_code_ = exit_code;
}

bool ThreadLoop::set_timer(WindowHandle window, std::uint64_t id, std::uint32_t milliseconds) {
  if (procedure_of(window) == nullptr) return false;
  timers_.set(window, id, milliseconds);
  update_host_fd();
  return true;
}

bool ThreadLoop::kill_timer(WindowHandle window, std::uint64_t id) {
  if (!timers_.kill(window, id)) return false;
  update_host_fd();
  return true;
}

bool ThreadLoop::watch_socket(SocketHandle socket, WindowHandle window, std::uint32_t id, std::int32_t events) {
  const bool watched = watches_.add(socket, window, id, events);
  update_host_fd();
  return watched;
}

void ThreadLoop::drop_socket(SocketHandle socket) {
  watches_.drop(socket);
  update_host_fd();
}

bool ThreadLoop::is_due() const {
  if (!queue_.empty() || quit_code_) return true;
  const auto timer = timers_.earliest();
  return timer && *timer <= now();
}

bool ThreadLoop::is_due_after_poll() {
  if (queue_.empty() && !find_held()) poll(std::chrono::nanoseconds(0));
  return is_due();
}

ThreadLoop::Next ThreadLoop::next(Message& message, std::optional<TimePoint> until) {
  for (;;) {
    if (must_poll() && !find_held() && !poll(time_to_wait(until))) return Next::kInterrupted;
    if (take_late_timer(message) || take_queued(message)) return Next::kMessage;
    if (const auto quit = take_quit()) {
      message = {.id = kQuitMessage, .wparam = static_cast<std::uint64_t>(*quit)};
      return Next::kQuit;
    }
    if (take_timer(message)) return Next::kMessage;
    if (until && *until <= now()) return Next::kTimeout;
  }
}

bool ThreadLoop::next_due(Message& message) {
  if (must_poll() && !find_held()) poll(std::chrono::nanoseconds(0));
  return take_late_timer(message) || take_queued(message) || take_timer(message);
}

bool ThreadLoop::must_poll() const {
  return queue_.empty() || taken_since_poll_ >= kMessagesBetweenPolls;
}

bool ThreadLoop::take_queued(Message& message) {
  if (queue_.empty()) return false;
  const MessageQueue::Entry entry = queue_.pop();
  ++taken_since_poll_;
  ++taken_since_timer_;
  if (entry.from_socket) watches_.note_delivery(entry.message.wparam);
  update_host_fd();
  message = entry.message;
  return true;
}

bool ThreadLoop::take_late_timer(Message& message) {
  return taken_since_timer_ >= kMessagesBetweenTimers && take_timer(message);
}

bool ThreadLoop::take_timer(Message& message) {
  taken_since_timer_ = 0;
  const auto timer = timers_.take_due();
  if (!timer) return false;
  update_host_fd();
  message = *timer;
  return true;
}

void ThreadLoop::wait_slice() {
  if (is_due()) return;
  const TimePoint end = now() + kSlice;
  const auto timer = timers_.earliest();
  const bool may_read = (!timer || *timer > end) && kernel_part(kSlice) == kSlice;
  if (may_read && watches_.wait_by_reading() != SocketWatches::Read::kNotTold) return update_host_fd();
  poll(time_to_wait(end));
}

std::optional<std::chrono::nanoseconds> ThreadLoop::time_to_wait(std::optional<TimePoint> until) const {
  if (!queue_.empty() || quit_code_) return std::chrono::nanoseconds(0);
  const auto timer = timers_.earliest();
  if (timer && (!until || *timer < *until)) until = timer;
  if (!until) return std::nullopt;
  return std::max<std::chrono::nanoseconds>(*until - now(), std::chrono::nanoseconds(0));
}

// What has been read ahead is found without a system call, which the other sockets get all the same from time to time.
bool ThreadLoop::find_held() {
  if (found_held_ >= kHeldBetweenPolls || !watches_.notify_held()) return false;
  ++found_held_;
  taken_since_poll_ = 0;
  return true;
}

bool ThreadLoop::poll(std::optional<std::chrono::nanoseconds> wait) {
  taken_since_poll_ = 0;
  found_held_ = 0;
  if (watches_.notify_held()) wait = std::chrono::nanoseconds(0);
  const bool waits = !wait || wait->count() != 0;
  if (!waits && !poller_.watches_anything()) return true;
  const TimePoint start = waits ? now() : TimePoint();
  auto read = SocketWatches::Read::kNotTold;
  // A slice may be over late.
  if (reads_first_ && (!wait || *wait > 2 * kSlice) && kernel_part(kSlice) == kSlice) read = watches_.wait_by_reading();
  bool interrupted = read == SocketWatches::Read::kInterrupted;
  if (read == SocketWatches::Read::kNothing && wait) *wait -= kSlice;
  if (read == SocketWatches::Read::kNothing || read == SocketWatches::Read::kNotTold) {
    for (const epoll_event& event : poller_.wait(wait, interrupted)) watches_.on_ready(event);
  }
  // An idle loop must not wake up for the end of a slice.
  if (waits) reads_first_ = !queue_.empty() && now() - start < kSlice;
  update_host_fd();
  return !(interrupted && waits);
}

int ThreadLoop::host_fd() {
  const int fd = poller_.host_fd();
  update_host_fd();
  return fd;
}

}  // namespace kestrine::platform
