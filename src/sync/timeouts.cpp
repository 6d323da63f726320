#include "sync/timeouts.h"

#include <string_view>

#include "platform/profile.h"
#include "transport/settings.h"

namespace kestrine::sync {

using protocol::WaitClass;

namespace {

struct Row {
  WaitClass wait;
  std::u16string_view key;
  std::int32_t ordinary;
  std::int32_t increased;  // 0: never read again
};

// In the order of reading.
constexpr Row kRows[] = {
    {WaitClass::kStandard, u"StandardWaitTime", 10'000, 30'000},
    {WaitClass::kExtended, u"ExtendedWaitTime", 30'000, 90'000},
    {WaitClass::kTrackerInit, u"TrackerInitWaitTime", 90'000, 240'000},
    {WaitClass::kMeasurementAdditional, u"MeasurementAdditionalTime", 10'000, 60'000},
    {WaitClass::kFind, u"FindWaitTime", 300'000, 0},
    {WaitClass::kTransformation, u"TransformationWaitTime", 90'000, 0},
    {WaitClass::kOrientToGravity, u"OrientToGravityWaitTime", 180'000, 0},
    {WaitClass::kIntermediateCompensation, u"IntermedCompensationWaitTime", 1'200'000, 0},
    {WaitClass::kAtrCompensation, u"ATRCompensationWaitTime", 120'000, 0},
};
constexpr std::size_t kReadAgain = 4;

}  // namespace

Timeouts::Timeouts() {
  for (std::size_t i = 0; i < kCount; ++i) values_[i] = kRows[i].ordinary;
  read(kCount, false);
}

bool Timeouts::read_again(bool increased) {
  return read(kReadAgain, increased);
}

bool Timeouts::read(std::size_t count, bool increased) {
  for (std::size_t i = 0; i < count; ++i) {
    const std::int32_t fallback = increased ? kRows[i].increased : kRows[i].ordinary;
    values_[i] = platform::profile_int(u"SyncCommandTimeouts", kRows[i].key, fallback, transport::settings::kFile);
    if (values_[i] <= 0) return false;
  }
  return true;
}

std::int32_t Timeouts::operator[](WaitClass wait) const {
  for (std::size_t i = 0; i < kCount; ++i) {
    if (kRows[i].wait == wait) return values_[i];
  }
  return 0;
}

}  // namespace kestrine::sync
