// How long calls wait, as the settings file has it.
#include "commands/timeouts.h"

#include "client_test.h"

namespace kestrine::test {
namespace {

using commands::Timeouts;
using protocol::wait_classes;

class TimeoutSettings : public ClientTest {
 protected:
  TimeoutSettings() { set_timeout(u"StandardWaitTime", 10000); }
  // The first four; those behind them are the defaults.
  static void expect(const Timeouts& timeouts, std::vector<std::int32_t> values) {
    values.insert(values.end(), {300000, 90000, 180000, 1200000, 120000});
    for (std::size_t i = 0; i < values.size(); ++i) EXPECT_EQ(timeouts[wait_classes()[i]], values[i]) << i;
  }
};

TEST_F(TimeoutSettings, HaveDefaultsAndAreReadUpToTheFirstThatIsNotPositive) {
  expect(Timeouts(false), {10000, 30000, 90000, 10000});
  for (const int stop : {0, -7}) {
    set_timeout(u"TrackerInitWaitTime", stop);
    set_timeout(u"FindWaitTime", 5);
    expect(Timeouts(false), {10000, 30000, stop, 10000});
    EXPECT_EQ(Timeouts(true)[wait_classes()[2]], 90000) << "modern behaviour ignores what makes no sense";
    EXPECT_EQ(Timeouts(true)[wait_classes()[4]], 5);
  }
  int value = 0;
  for (const protocol::WaitRow& wait : wait_classes()) set_timeout(wait.key, ++value);
  const Timeouts timeouts(false);
  value = 0;
  for (const protocol::WaitRow& wait : wait_classes()) EXPECT_EQ(timeouts[wait], ++value);
}

TEST_F(TimeoutSettings, ChangeForTheFirstFourWhenIncreased) {
  Timeouts timeouts(false);
  set_timeout(u"ExtendedWaitTime", 77);
  set_timeout(u"FindWaitTime", 5);
  EXPECT_TRUE(timeouts.read_again(true));
  expect(timeouts, {10000, 77, 240000, 60000});
  EXPECT_TRUE(timeouts.read_again(false));
  expect(timeouts, {10000, 77, 90000, 10000});
  set_timeout(u"ExtendedWaitTime", 0);
  EXPECT_FALSE(timeouts.read_again(true));
  expect(timeouts, {10000, 0, 90000, 10000});
}

TEST_F(TimeoutSettings, AreSwitchedByAPropertyThatKeepsItsFlagWhenReadingStops) {
  make();
  engine().begin_wait(VL_C_Park);
  set_timeout(u"MeasurementAdditionalTime", 0);
  EXPECT_EQ(commands->put_UseIncreasedTimeouts(1), S_FALSE);
  EXPECT_EQ(commands->MoveLeft(), E_FAIL) << "the flag decides how a move is refused";
}

}  // namespace
}  // namespace kestrine::test
