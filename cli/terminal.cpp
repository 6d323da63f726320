#include "cli/terminal.h"

#include <signal.h>
#include <unistd.h>

#include <atomic>

namespace kestrine::cli::terminal {
namespace {

// Any thread of the process may run the handler.
std::atomic<bool> asked = false;
static_assert(std::atomic<bool>::is_always_lock_free);

void note(int) {
  asked = true;
}

}  // namespace

bool shows_progress() {
  return isatty(STDERR_FILENO) == 1;
}

void watch_for_stop() {
  struct sigaction action {};
  action.sa_handler = note;
  // Waits must end when it comes, so nothing is restarted; and a user who asks twice is not to be kept waiting.
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
