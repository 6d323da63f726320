#include "python/src/loop.h"

#include <pybind11/pybind11.h>

#include <algorithm>
#include <chrono>
#include <cmath>

#include "kestrine/host.h"
#include "python/src/deferred.h"

namespace py = pybind11;

namespace kestrine::python {
namespace {

using Milliseconds = std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

// A signal may come just before the wait that it is meant to end.
constexpr Milliseconds kSlice(50);
constexpr double kForever = 1e9;

thread_local bool quitting = false;

// What is due once messages have been delivered.
void handle_deferred() {
  release_deferred();
  if (PyErr_CheckSignals() != 0) throw py::error_already_set();
  raise_deferred();
}

}  // namespace

int pump_waiting() {
  int delivered = 0;
  {
    const py::gil_scoped_release unlocked;
    delivered = host::dispatch();
  }
  handle_deferred();
  return delivered;
}

// The loop ends early for a signal as it does for a quit, which is why the latter is remembered here.
bool pump_for(double seconds) {
  if (std::isnan(seconds)) throw py::value_error("a time is needed");
  const double bounded = std::clamp(seconds, 0.0, kForever);
  const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(bounded));
  for (;;) {
    const auto left = std::max(std::chrono::ceil<Milliseconds>(end - Clock::now()), Milliseconds(0));
    bool whole = false;
    {
      const py::gil_scoped_release unlocked;
      whole = host::run_for(std::min(left, kSlice));
    }
    const bool ended = !whole && std::exchange(quitting, false);
    handle_deferred();
    if (ended) return false;
    if (Clock::now() >= end) return true;
  }
}

void pump() {
  while (pump_for(kForever)) {
  }
}

void quit() {
  quitting = true;
  host::quit();
}

}  // namespace kestrine::python
