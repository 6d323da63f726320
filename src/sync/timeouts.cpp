#include "sync/timeouts.h"

#include "platform/profile.h"
#include "transport/settings.h"

namespace kestrine::sync {

Timeouts::Timeouts() {
  for (std::size_t i = 0; i < kCount; ++i) values_[i] = kWaitRows[i].ordinary;
  read(kCount, false);
}

bool Timeouts::read_again(bool increased) {
  return read(kReadAgain, increased);
}

bool Timeouts::read(std::size_t count, bool increased) {
  for (std::size_t i = 0; i < count; ++i) {
    const std::int32_t fallback = increased ? kWaitRows[i].increased : kWaitRows[i].ordinary;
    values_[i] = platform::profile_int(u"SyncCommandTimeouts", kWaitRows[i].key, fallback, transport::settings::kFile);
    if (values_[i] <= 0) return false;
  }
  return true;
}

std::int32_t Timeouts::operator[](commands::WaitClass wait) const {
  return wait == commands::WaitClass::kNone ? 0 : values_[static_cast<std::size_t>(wait) - 1];
}

}  // namespace kestrine::sync
