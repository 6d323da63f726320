#include "python/src/objects_home.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>
#include <vector>

namespace kestrine::python {
namespace {

struct LeftBehind {
  IUnknown* object;
  std::thread::id home;
};

std::mutex mutex;
std::vector<LeftBehind> left_behind;
std::atomic<bool> any = false;  // a call by name should not pay for a lock

}  // namespace

void release_at_home(IUnknown* object, std::thread::id home) {
  if (object == nullptr) return;
  if (home == std::this_thread::get_id()) {
    object->Release();
    return;
  }
  const std::lock_guard lock(mutex);
  left_behind.push_back({object, home});
  any = true;
}

void release_left_behind() {
  if (!any) return;
  std::vector<LeftBehind> mine;
  {
    const std::lock_guard lock(mutex);
    const auto of_others = [](const LeftBehind& each) { return each.home != std::this_thread::get_id(); };
    const auto first = std::partition(left_behind.begin(), left_behind.end(), of_others);
    mine.assign(first, left_behind.end());
    left_behind.erase(first, left_behind.end());
    any = !left_behind.empty();
  }
  for (const LeftBehind& each : mine) each.object->Release();
}

}  // namespace kestrine::python
