// How long calls wait, as the settings file has it.
#include "commands/timeouts.h"

#include "client_test.h"

namespace kestrine::test {
namespace {

using commands::Timeouts;
using commands::WaitClass;

constexpr WaitClass kOrder[] = {WaitClass::kStandard,
                                WaitClass::kExtended,
                                WaitClass::kTrackerInit,
                                WaitClass::kMeasurementAdditional,
                                WaitClass::kFind,
                                WaitClass::kTransformation,
                                WaitClass::kOrientToGravity,
                                WaitClass::kIntermediateCompensation,
                                WaitClass::kAtrCompensation};

class TimeoutSettings : public ClientTest {
 protected:
  TimeoutSettings() { set_timeout(u"StandardWaitTime", 10000); }
  static std::vector<std::int32_t> values(const Timeouts& timeouts) {
    std::vector<std::int32_t> all;
    for (const WaitClass wait : kOrder) all.push_back(timeouts[wait]);
    return all;
  }
};

TEST_F(TimeoutSettings, HaveDefaultsForEveryKey) {
  EXPECT_EQ(values(Timeouts()),
            (std::vector<std::int32_t>{10000, 30000, 90000, 10000, 300000, 90000, 180000, 1200000, 120000}));
}

TEST_F(TimeoutSettings, AreReadFromNineKeys) {
  const char16_t* const keys[] = {
      u"StandardWaitTime",       u"ExtendedWaitTime",       u"TrackerInitWaitTime",     u"MeasurementAdditionalTime",
      u"FindWaitTime",           u"TransformationWaitTime", u"OrientToGravityWaitTime", u"IntermedCompensationWaitTime",
      u"ATRCompensationWaitTime"};
  int value = 0;
  for (const char16_t* key : keys) set_timeout(key, ++value);
  EXPECT_EQ(values(Timeouts()), (std::vector<std::int32_t>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST_F(TimeoutSettings, StopBeingReadAtTheFirstThatIsNotPositive) {
  for (const int stop : {0, -7}) {
    set_timeout(u"TrackerInitWaitTime", stop);
    set_timeout(u"FindWaitTime", 5);
    EXPECT_EQ(values(Timeouts()),
              (std::vector<std::int32_t>{10000, 30000, stop, 10000, 300000, 90000, 180000, 1200000, 120000}));
  }
}

TEST_F(TimeoutSettings, ChangeForTheFirstFourWhenIncreased) {
  Timeouts timeouts;
  set_timeout(u"ExtendedWaitTime", 77);
  set_timeout(u"FindWaitTime", 5);
  EXPECT_TRUE(timeouts.read_again(true));
  EXPECT_EQ(values(timeouts),
            (std::vector<std::int32_t>{10000, 77, 240000, 60000, 300000, 90000, 180000, 1200000, 120000}));
  EXPECT_TRUE(timeouts.read_again(false));
  EXPECT_EQ(values(timeouts),
            (std::vector<std::int32_t>{10000, 77, 90000, 10000, 300000, 90000, 180000, 1200000, 120000}));
  set_timeout(u"ExtendedWaitTime", 0);
  EXPECT_FALSE(timeouts.read_again(true));
  EXPECT_EQ(values(timeouts),
            (std::vector<std::int32_t>{10000, 0, 90000, 10000, 300000, 90000, 180000, 1200000, 120000}));
}

TEST_F(TimeoutSettings, AreSwitchedByAPropertyThatKeepsItsFlagWhenReadingStops) {
  make();
  engine().begin_wait(VL_C_Park);
  EXPECT_EQ(commands->put_UseIncreasedTimeouts(1), S_OK);
  EXPECT_EQ(commands->MoveLeft(), E_FAIL) << "the flag decides how a move is refused";
  EXPECT_EQ(commands->put_UseIncreasedTimeouts(VARIANT_FALSE), S_OK);
  EXPECT_EQ(commands->MoveLeft(), S_FALSE);
  set_timeout(u"MeasurementAdditionalTime", 0);
  EXPECT_EQ(commands->put_UseIncreasedTimeouts(VARIANT_TRUE), S_FALSE);
  EXPECT_EQ(commands->MoveLeft(), E_FAIL);
}

}  // namespace
}  // namespace kestrine::test
