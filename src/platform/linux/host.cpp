#include "kestrine/host.h"

#include <algorithm>
#include <cstddef>

#include "platform/clock.h"
#include "platform/linux/thread_loop.h"
#include "platform/loop.h"

namespace kestrine::host {
namespace {

using platform::ThreadLoop;

// How many messages dispatch() delivers beyond those that waited when it was called.
constexpr std::size_t kFollowUps = 256;
// A look at the clock costs as much as the delivery of a small packet.
constexpr std::size_t kMessagesBetweenClocks = 16;

// Not where a handler has forked and this is the child: the loop is the parent's.
bool is_at_work(const ThreadLoop* loop) {
  return loop == ThreadLoop::existing();
}

// While a host is in dispatch() it does not look at its descriptor.
class Dispatching {
 public:
  explicit Dispatching(ThreadLoop& loop) : loop_(loop) { loop_.let_host_fd_wait(true); }
  Dispatching(const Dispatching&) = delete;
  Dispatching& operator=(const Dispatching&) = delete;
  ~Dispatching() {
    if (is_at_work(&loop_)) loop_.let_host_fd_wait(false);
  }

 private:
  ThreadLoop& loop_;
};

}  // namespace

int fd() {
  ThreadLoop* loop = ThreadLoop::current();
  return loop != nullptr ? loop->host_fd() : -1;
}

int dispatch() {
  ThreadLoop* loop = ThreadLoop::current();
  if (loop == nullptr) return 0;
  const std::size_t limit = loop->queued() + kFollowUps;
  std::size_t delivered = 0;
  const Dispatching dispatching(*loop);
  for (platform::Message message; delivered < limit && is_at_work(loop) && loop->next_due(message); ++delivered) {
    platform::dispatch_message(message);
  }
  return static_cast<int>(delivered);
}

int run() {
  platform::Message message;
  while (platform::get_message(message)) platform::dispatch_message(message);
  return static_cast<int>(message.wparam);
}

bool run_for(std::chrono::milliseconds duration) {
  ThreadLoop* loop = ThreadLoop::current();
  if (loop == nullptr) return false;
  // Longer than anybody waits, and short of where a deadline would overflow; nor must one lie too far in the past.
  constexpr std::chrono::milliseconds kLongest = std::chrono::hours(24 * 365);
  const auto until = platform::now() + std::clamp(duration, std::chrono::milliseconds(0), kLongest);
  for (std::size_t delivered = 1;; ++delivered) {
    platform::Message message;
    const ThreadLoop::Next next = loop->next(message, until);
    if (next == ThreadLoop::Next::kQuit || next == ThreadLoop::Next::kInterrupted) return false;
    if (next == ThreadLoop::Next::kTimeout) break;
    platform::dispatch_message(message);
    if (!is_at_work(loop)) return false;
    if (delivered % kMessagesBetweenClocks == 0 && platform::now() >= until) break;
  }
  // Messages that kept the thread busy beyond the end may have left others waiting, and a quit among them.
  dispatch();
  return !loop->take_quit();
}

void quit(int exit_code) {
  platform::post_quit_message(exit_code);
}

}  // namespace kestrine::host
