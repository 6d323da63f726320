// What the tool asks of the system it runs on: the user's terminal and signals, and the time.
#pragma once

#include <signal.h>

#include <chrono>
#include <string>

namespace kestrine::cli {

namespace terminal {

// Whether standard error, where progress is shown, is a terminal.
bool shows_progress();

// "kestrine: " and the text to standard error, in one line whatever the text holds.
void print_error(std::string text);

// From here on the first signal to interrupt, terminate or hang up only asks to stop; the next one ends the process.
void watch_for_stop();
bool stop_asked();

// Threads that start while it lives get none of those signals: they are to end the waits of this thread.
class SignalsElsewhere {
 public:
  SignalsElsewhere();
  ~SignalsElsewhere();
  SignalsElsewhere(const SignalsElsewhere&) = delete;
  SignalsElsewhere& operator=(const SignalsElsewhere&) = delete;

 private:
  sigset_t before_;
};

}  // namespace terminal

// Counts from its construction.
class Stopwatch {
 public:
  double seconds() const { return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count(); }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace kestrine::cli
