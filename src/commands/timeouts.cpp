#include "commands/timeouts.h"

#include "connection/settings.h"
#include "platform/profile.h"

namespace kestrine::commands {

using protocol::wait_classes;

Timeouts::Timeouts(bool ignores_senseless) : ignores_senseless_(ignores_senseless) {
  for (const protocol::WaitRow& row : wait_classes()) values_.push_back(row.ordinary);
  for (std::size_t i = 0; i < values_.size() && read(i, wait_classes()[i].ordinary);) ++i;
}

bool Timeouts::read_again(bool increased) {
  for (std::size_t i = 0; i < values_.size(); ++i) {
    const protocol::WaitRow& row = wait_classes()[i];
    if (row.increased != 0 && !read(i, increased ? row.increased : row.ordinary)) return false;
  }
  return true;
}

bool Timeouts::read(std::size_t place, std::int32_t fallback) {
  values_[place] =
      platform::profile_int(u"SyncCommandTimeouts", wait_classes()[place].key, fallback, connection::settings::kFile);
  if (values_[place] <= 0 && ignores_senseless_) values_[place] = fallback;
  return values_[place] > 0;
}

std::int32_t Timeouts::operator[](const protocol::WaitRow& wait) const {
  return values_[static_cast<std::size_t>(&wait - wait_classes().data())];
}

}  // namespace kestrine::commands
