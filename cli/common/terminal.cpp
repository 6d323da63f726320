#include "cli/common/terminal.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <iostream>

namespace kestrine::cli::terminal {
namespace {

constexpr int kStopSignals[] = {SIGINT, SIGTERM, SIGHUP};

std::atomic<bool> asked = false;
static_assert(std::atomic<bool>::is_always_lock_free);

}  // namespace

bool shows_progress() {
  return isatty(STDERR_FILENO) == 1;
}

void print_error(std::string text) {
  text.erase(text.find_last_not_of("\r\n ") + 1);
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
  std::cerr << "kestrine: " << text << std::endl;
}

void watch_for_stop() {
  struct sigaction action {};
  // The second signal leaves at once. Handlers run between the writes of the thread that they interrupt, so that every
  // line is whole.
  action.sa_handler = [](int number) {
    if (asked.exchange(true)) _exit(128 + number);
  };
  // No SA_RESTART, so that waits end.
  sigemptyset(&action.sa_mask);
  for (const int number : kStopSignals) {
    struct sigaction before {};
    sigaction(number, nullptr, &before);
    // What has been made to outlive its terminal does so.
    if (number == SIGHUP && before.sa_handler == SIG_IGN) continue;
    sigaction(number, &action, nullptr);
  }
  // A reader that leaves and a file that grows too large show as failed writes.
  signal(SIGPIPE, SIG_IGN);
  signal(SIGXFSZ, SIG_IGN);
}

bool stop_asked() {
  return asked;
}

SignalsElsewhere::SignalsElsewhere() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : kStopSignals) sigaddset(&signals, number);
  pthread_sigmask(SIG_BLOCK, &signals, &before_);
}

SignalsElsewhere::~SignalsElsewhere() {
  pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

}  // namespace kestrine::cli::terminal
