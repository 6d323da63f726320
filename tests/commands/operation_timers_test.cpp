// How long every operation of ILTCommandSync waits for an answer that does not come.
#include <algorithm>
#include <ostream>

#include "operation_walk.h"

namespace kestrine::test {
namespace {

constexpr int kNever = 600'000;  // milliseconds; longer than any test runs
constexpr int kSoon = 4;

struct Timer {
  const protocol::WaitRow* wait;
  bool adds_measure_time;

  bool operator==(const Timer&) const = default;
  std::string name() const { return to_utf8(wait->key) + (adds_measure_time ? "AndMeasureTime" : ""); }
};

std::ostream& operator<<(std::ostream& out, const Timer& timer) {
  return out << timer.name();
}

std::vector<Timer> all_timers() {
  std::vector<Timer> timers;
  for (const protocol::MemberRow& row : protocol::sync_methods()) {
    const Timer timer{row.wait, row.adds_measure_time};
    if (row.wait != nullptr && std::ranges::count(timers, timer) == 0) timers.push_back(timer);
  }
  return timers;
}

class OperationTimers : public Operations, public testing::WithParamInterface<Timer> {};

// One class of timers ends soon and the others never: a call with another timer than its own would not come back.
// So would one that adds the measure time where it must not, or the other way round: the two of them are far from
// zero, but for their sum.
TEST_P(OperationTimers, EndTheCallsOfTheirClassInBothTimeoutSettings) {
  const Timer& timer = GetParam();
  for (const protocol::WaitRow& wait : protocol::wait_classes()) set_timeout(wait.key, kNever);
  set_timeout(timer.wait->key, timer.adds_measure_time ? kNever : kSoon);
  const int measure_time = timer.adds_measure_time ? kSoon - kNever : kNever;
  start();
  for (const bool increased : {false, true}) {
    ASSERT_EQ(commands->put_UseIncreasedTimeouts(increased ? VARIANT_TRUE : VARIANT_FALSE), S_OK);
    for (const SyncOperation& row : sync_operations()) {
      if (Timer{row.wait, row.adds_measure_time} != timer) continue;
      later([&] { engine().cancel_wait(); }, 5000);
      const TypedCall made = call(row, measure_time);
      forget_tasks();
      expect_failure(row, made.result, increased ? 40028 : 36,
                     join({"[", number(row.code()), "]  ", row.text(), ":  No answer, timed out!"}));
      EXPECT_EQ(peer.receive_request(), expected_request(row, made)) << row.name;
      ASSERT_FALSE(HasFailure());
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Walk, OperationTimers, testing::ValuesIn(all_timers()),
                         [](const auto& timer) { return timer.param.name(); });

}  // namespace
}  // namespace kestrine::test
