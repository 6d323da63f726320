#include "python/src/deferred.h"

#include <pybind11/pybind11.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "kestrine/host.h"
#include "kestrine/text.h"
#include "python/src/failure.h"

namespace py = pybind11;

namespace kestrine::python {
namespace {

struct Reference {
  IUnknown* object;
  std::thread::id home;
};

std::mutex mutex;
std::vector<Reference> references;
std::atomic<bool> any_reference = false;  // a call by name should not pay for a lock

thread_local std::unique_ptr<py::error_already_set> kept;
thread_local std::vector<std::string> notices;

// Sets the exception. To Ctrl-C asyncio raises nothing, but cancels the task that the program waits in.
bool has_signal_raised() {
  if (PyErr_CheckSignals() != 0) return true;
  try {
    py::module_::import("kestrine._loop").attr("raise_cancellation")();
    return false;
  } catch (py::error_already_set& raised) {
    raised.restore();
    return true;
  }
}

}  // namespace

void release_on(std::thread::id home, IUnknown* object) {
  if (object == nullptr) return;
  if (home == std::this_thread::get_id()) {
    object->Release();
    return;
  }
  const std::lock_guard lock(mutex);
  references.push_back({object, home});
  any_reference = true;
}

void release_deferred() {
  if (!any_reference) return;
  std::vector<Reference> mine;
  {
    const std::lock_guard lock(mutex);
    const auto of_others = [](const Reference& each) { return each.home != std::this_thread::get_id(); };
    const auto first = std::partition(references.begin(), references.end(), of_others);
    mine.assign(first, references.end());
    references.erase(first, references.end());
    any_reference = !references.empty();
  }
  for (const Reference& each : mine) each.object->Release();
}

bool asked_to_give_up() {
  if (kept) return true;
  // A packet may wake the call every few microseconds; other threads would lose the lock as often.
  using Clock = std::chrono::steady_clock;
  static thread_local Clock::time_point next;
  const Clock::time_point now = Clock::now();
  if (now < next) return false;
  next = now + std::chrono::milliseconds(10);
  const py::gil_scoped_acquire lock;
  if (!has_signal_raised()) return false;
  keep_exception();
  return true;
}

void keep_exception() {
  auto raised = std::make_unique<py::error_already_set>();
  if (!kept) kept = std::move(raised);
}

void catch_notices() {
  host::set_message_box_hook([](const std::u16string& text, const std::u16string& caption, std::uint32_t) {
    notices.push_back(to_utf8(caption) + ": " + to_utf8(text));
  });
}

void restore_notices() {
  host::set_message_box_hook({});
}

void raise_deferred() {
  if (kept) {
    const std::unique_ptr<py::error_already_set> raised = std::move(kept);
    throw py::error_already_set(*raised);
  }
  if (notices.empty()) return;
  const py::object category = error_class("NoticeWarning");
  for (const std::string& text : std::exchange(notices, {})) {
    if (PyErr_WarnEx(category.ptr(), text.c_str(), 3) != 0) throw py::error_already_set();
  }
}

}  // namespace kestrine::python
