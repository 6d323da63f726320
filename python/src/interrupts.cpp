#include "python/src/interrupts.h"

#include <pybind11/pybind11.h>

#include <chrono>
#include <memory>
#include <utility>

namespace py = pybind11;

namespace kestrine::python {
namespace {

thread_local std::unique_ptr<py::error_already_set> kept;

}  // namespace

bool asked_to_give_up() {
  if (kept) return true;
  // A packet may wake the call every few microseconds; other threads would lose the lock as often.
  using Clock = std::chrono::steady_clock;
  static thread_local Clock::time_point next;
  const Clock::time_point now = Clock::now();
  if (now < next) return false;
  next = now + std::chrono::milliseconds(10);
  const py::gil_scoped_acquire lock;
  if (PyErr_CheckSignals() == 0) return false;
  keep_exception();
  return true;
}

void keep_exception() {
  auto raised = std::make_unique<py::error_already_set>();
  if (!kept) kept = std::move(raised);
}

void raise_kept() {
  if (!kept) return;
  const std::unique_ptr<py::error_already_set> raised = std::move(kept);
  throw py::error_already_set(*raised);
}

}  // namespace kestrine::python
