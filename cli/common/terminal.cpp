#include "cli/common/terminal.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <iostream>

namespace kestrine::cli::terminal {
namespace {

// Any thread of the process may run the handler.
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
  action.sa_handler = [](int) { asked = true; };
  // No SA_RESTART, so that waits end; and the second signal ends the process.
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  // A reader that leaves must not take the measurement's files with it; failed output is noticed at the end.
  signal(SIGPIPE, SIG_IGN);
}

bool stop_asked() {
  return asked;
}

}  // namespace kestrine::cli::terminal
