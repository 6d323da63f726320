#include "platform/loop.h"

#include <sys/resource.h>
#include <sys/time.h>

#include <csignal>
#include <thread>

#include "platform/test_clock.h"
#include "support.h"

namespace kestrine::platform {
namespace {

using Clock = std::chrono::steady_clock;
using Ids = std::vector<std::uint32_t>;

class LoopTest : public ::testing::Test {
 protected:
  Recorder box_;
};

TEST_F(LoopTest, DeliversPostedMessagesThenQuitThenTimers) {
  set_timer(box_.window, 7, 50);
  host::quit(42);
  EXPECT_TRUE(post_message(box_.window, 2001, 1, -1));
  EXPECT_TRUE(post_message(box_.window, 2002, 2, -2));
  advance_clock(55ms);
  EXPECT_EQ(host::dispatch(), 3) << "the quit message is left for run";
  EXPECT_EQ(box_.ids(), (Ids{2001, 2002, kTimerMessage}));
  EXPECT_EQ(std::pair(box_.seen[1].lparam, box_.seen[2].wparam), std::pair(std::int64_t{-2}, std::uint64_t{7}));
  EXPECT_TRUE(peek_message());
  post_message(box_.window, 2003, 0, 0);
  advance_clock(55ms);
  EXPECT_EQ(host::run(), 42);
  EXPECT_EQ(box_.ids().back(), 2003u);
  EXPECT_EQ(host::dispatch(), 1);
  EXPECT_FALSE(peek_message()) << "it is there once";
  host::quit();
  EXPECT_FALSE(host::run_for(1h));
  post_quit_message(3);
  Message message;
  EXPECT_FALSE(get_message(message));
  EXPECT_EQ(std::pair(message.id, message.wparam), std::pair(kQuitMessage, std::uint64_t{3}));
}

TEST_F(LoopTest, TimersComeEarliestFirstRepeatUntilKilledAndRestartFromAnew) {
  set_timer(box_.window, 1, 80);
  set_timer(box_.window, 2, 50);
  advance_clock(120ms);
  EXPECT_EQ(host::dispatch(), 2) << "each once, however late";
  EXPECT_EQ(std::pair(box_.seen[0].wparam, box_.seen[1].wparam), std::pair(std::uint64_t{2}, std::uint64_t{1}));
  advance_clock(120ms);
  EXPECT_EQ(host::dispatch(), 2);
  EXPECT_TRUE(kill_timer(box_.window, 2));
  set_timer(box_.window, 1, 1);
  advance_clock(3ms);
  set_timer(box_.window, 1, 60'000);
  EXPECT_EQ(host::dispatch(), 0) << "a restart takes back an expiry that was not delivered";
  EXPECT_TRUE(kill_timer(box_.window, 1));
  EXPECT_FALSE(kill_timer(box_.window, 1));
  set_timer(box_.window, 2, 1);
  advance_clock(3ms);
  kill_timer(box_.window, 2);
  EXPECT_EQ(host::dispatch(), 0);
}

TEST_F(LoopTest, ADestroyedWindowTakesItsMessagesAndTimersWithIt) {
  Recorder other;
  set_timer(other.window, 1, 1);
  post_message(other.window, 2001, 0, 0);
  post_message(box_.window, 2002, 0, 0);
  const Message taken{other.window, 2003, 0, 0};
  EXPECT_TRUE(destroy_window(other.window));
  EXPECT_FALSE(destroy_window(other.window));
  EXPECT_FALSE(is_window(other.window));
  EXPECT_FALSE(post_message(other.window, 2001, 0, 0));
  EXPECT_FALSE(set_timer(other.window, 1, 1));
  EXPECT_EQ(dispatch_message(taken), 0);
  advance_clock(3ms);
  EXPECT_EQ(host::dispatch(), 1);
  EXPECT_TRUE(other.seen.empty());
  EXPECT_GT(Recorder().window, other.window) << "handles are never used again";
}

TEST_F(LoopTest, HandlersMayPumpPostAndDestroy) {
  Recorder other;
  box_.handler = [&](const Message& message) {
    if (message.id != 1) return;
    post_message(box_.window, 3, 0, 0);
    host::dispatch();
    destroy_window(other.window);
    destroy_window(box_.window);
  };
  EXPECT_EQ(send_message(box_.window, 4, 10, 0), 11) << "at once";
  box_.seen.clear();
  post_message(box_.window, 1, 0, 0);
  post_message(other.window, 2, 0, 0);
  EXPECT_TRUE(pump_until([&] { return box_.seen.size() >= 2; }));
  EXPECT_EQ(box_.ids(), (Ids{1, 3}));
  EXPECT_EQ(other.ids(), (Ids{2}));
  EXPECT_FALSE(is_window(box_.window));
}

TEST_F(LoopTest, QuitEndsTheInnermostLoop) {
  bool inner_ended = false;
  box_.handler = [&](const Message& message) {
    if (message.id != 1) return host::quit(9);
    inner_ended = !host::run_for(1h);
    host::quit(8);
  };
  for (const std::uint32_t id : {1u, 2u}) post_message(box_.window, id, 0, 0);
  EXPECT_EQ(host::run(), 8);
  EXPECT_TRUE(inner_ended);
}

TEST_F(LoopTest, AHandlerThatKeepsPostingHoldsNeitherDispatchNorRunForNorDoesAnEndLongPast) {
  box_.handler = [&](const Message&) { post_message(box_.window, 1, 0, 0); };
  post_message(box_.window, 1, 0, 0);
  EXPECT_GT(host::dispatch(), 1);
  EXPECT_TRUE(host::run_for(5ms));
  EXPECT_TRUE(host::run_for(-9'300'000'000'000ms));
}

TEST_F(LoopTest, ASignalEndsRunForButNotGetMessage) {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  ::sigaction(SIGALRM, &action, nullptr);
  const itimerval again_and_again{{0, 5000}, {0, 5000}};
  ::setitimer(ITIMER_REAL, &again_and_again, nullptr);
  EXPECT_FALSE(host::run_for(1h));
  set_timer(box_.window, 1, 40);
  Message message;
  EXPECT_TRUE(get_message(message));
  EXPECT_EQ(message.id, kTimerMessage);
  const itimerval never{};
  ::setitimer(ITIMER_REAL, &never, nullptr);
}

TEST_F(LoopTest, AnIdleWaitNeverWakes) {
  set_timer(box_.window, 1, 100);
  rusage before{};
  rusage after{};
  ::getrusage(RUSAGE_THREAD, &before);
  Message message;
  const auto start = Clock::now();
  ASSERT_TRUE(get_message(message));
  EXPECT_GE(Clock::now() - start, 100ms);
  ::getrusage(RUSAGE_THREAD, &after);
  EXPECT_LE(after.ru_nvcsw - before.ru_nvcsw, 4);
}

TEST_F(LoopTest, TheHostsDescriptorIsReadableExactlyWhileSomethingIsDue) {
  const int fd = host::fd();
  ASSERT_GE(fd, 0);
  EXPECT_EQ(host::fd(), fd);
  EXPECT_FALSE(is_readable(fd));
  post_message(box_.window, 1, 0, 0);
  EXPECT_TRUE(is_readable(fd));
  EXPECT_EQ(host::dispatch(), 1);

  set_timer(box_.window, 1, 60);
  for (int round = 0; round < 2; ++round) {  // the timer repeats
    EXPECT_FALSE(is_readable(fd));
    EXPECT_TRUE(is_readable(fd, 5000));
    EXPECT_EQ(host::dispatch(), 1);
  }
  EXPECT_TRUE(is_readable(fd, 5000));
  kill_timer(box_.window, 1);
  EXPECT_FALSE(is_readable(fd));

  host::quit();
  EXPECT_FALSE(is_readable(fd)) << "dispatch() would leave it, and the host would spin";
  post_message(Recorder().window, 1, 0, 0);
  EXPECT_FALSE(is_readable(fd)) << "its window has gone";
  EXPECT_EQ(host::run(), 0);
}

TEST_F(LoopTest, AThreadHasWindowsAndAHostsDescriptorOfItsOwn) {
  std::thread([&] {
    EXPECT_FALSE(is_window(box_.window) || post_message(box_.window, 1, 0, 0));
    Recorder box;
    post_message(box.window, 1, 0, 0);
    EXPECT_TRUE(is_readable(host::fd())) << "due from before the first asking";
    host::dispatch();
    EXPECT_FALSE(is_readable(host::fd()));
    set_timer(box.window, 1, 1);
    EXPECT_TRUE(is_readable(host::fd(), 5000));
  }).join();
}

TEST_F(LoopTest, ASliceLastsTenMillisecondsUnlessAPromptOneFindsSomethingDue) {
  const auto slice = [](bool prompt = true) {
    const auto start = Clock::now();
    wait_slice(prompt);
    return Clock::now() - start;
  };
  post_message(box_.window, 1, 0, 0);
  EXPECT_GE(slice(false), 10ms);
  const auto quickest = std::min({slice(), slice(), slice()});
  EXPECT_LT(quickest, 5ms);
  host::dispatch();
  EXPECT_GE(slice(), 10ms);
  EXPECT_LT(slice(), 5s);
  set_timer(box_.window, 1, 1);
  EXPECT_LT(std::min({slice(), slice(), slice()}), 8ms);
  EXPECT_TRUE(peek_message());
}

// Destroyed after the thread's loop: it was there before it.
struct LateCaller {
  std::function<void()> call;
  ~LateCaller() {
    if (call) call();
  }
};

TEST_F(LoopTest, CallsAfterTheThreadsLoopHasGoneAreRefused) {
  int refusals = 0;
  std::thread([&] {
    static thread_local LateCaller late;
    static Recorder* box = new Recorder;
    late.call = [&refusals, window = box->window] {
      Message message;
      refusals = !destroy_window(window) + !set_timer(window, 1, 1) + !post_message(window, 1, 0, 0) +
                 !get_message(message) + (host::fd() == -1) + (host::dispatch() == 0) + !host::run_for(1h);
    };
    set_timer(box->window, 1, 1000);
  }).join();
  EXPECT_EQ(refusals, 7);
}

}  // namespace
}  // namespace kestrine::platform
