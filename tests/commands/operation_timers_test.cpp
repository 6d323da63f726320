// How long every operation of ILTCommandSync waits for an answer that does not come.
#include <ostream>

#include "operation_walk.h"

namespace kestrine::test {
namespace {

constexpr int kNever = 600'000;  // milliseconds; longer than any test runs
constexpr int kSoon = 4;

struct Timer {
  const char* name;
  Wait wait;
  const char16_t* key;
  bool adds_measure_time;
};

std::ostream& operator<<(std::ostream& out, const Timer& timer) {
  return out << timer.name;
}

constexpr Timer kTimers[] = {
    {"Standard", Wait::kStandard, u"StandardWaitTime", false},
    {"Extended", Wait::kExtended, u"ExtendedWaitTime", false},
    {"TrackerInit", Wait::kTrackerInit, u"TrackerInitWaitTime", false},
    {"Find", Wait::kFind, u"FindWaitTime", false},
    {"Transformation", Wait::kTransformation, u"TransformationWaitTime", false},
    {"OrientToGravity", Wait::kOrientToGravity, u"OrientToGravityWaitTime", false},
    {"IntermediateCompensation", Wait::kIntermediateCompensation, u"IntermedCompensationWaitTime", false},
    {"AtrCompensation", Wait::kAtrCompensation, u"ATRCompensationWaitTime", false},
    {"MeasureTimeAndStandard", Wait::kMeasureTimeAndStandard, u"StandardWaitTime", true},
    {"MeasureTimeAndAdditional", Wait::kMeasureTimeAndAdditional, u"MeasurementAdditionalTime", true},
    {"MeasureTimeAndFind", Wait::kMeasureTimeAndFind, u"FindWaitTime", true},
};

class OperationTimers : public Operations, public testing::WithParamInterface<Timer> {};

// One class of timers ends soon and the others never: a call with another timer than its own would not come back.
// So would one that adds the measure time where it must not, or the other way round: the two of them are far from
// zero, but for their sum.
TEST_P(OperationTimers, EndTheCallsOfTheirClassInBothTimeoutSettings) {
  const Timer& timer = GetParam();
  for (const Timer& other : kTimers) set_timeout(other.key, kNever);
  set_timeout(timer.key, timer.adds_measure_time ? kNever : kSoon);
  const int measure_time = timer.adds_measure_time ? kSoon - kNever : kNever;
  start();
  int walked = 0;
  for (const bool increased : {false, true}) {
    ASSERT_EQ(commands->put_UseIncreasedTimeouts(increased ? VARIANT_TRUE : VARIANT_FALSE), S_OK);
    for (const OperationRow& row : operation_rows()) {
      if (row.wait != timer.wait) continue;
      ++walked;
      later([&] { engine().cancel_wait(); }, 5000);
      const TypedCall made = call(row, measure_time);
      forget_tasks();
      expect_failure(row, made.result, increased ? 40028 : 36,
                     join({"[", number(row.command), "]  ", command_text(row), ":  No answer, timed out!"}));
      EXPECT_EQ(peer.receive_request(), expected_request(row, made)) << row.name;
      ASSERT_FALSE(HasFailure());
    }
  }
  EXPECT_GT(walked, 0);
}

INSTANTIATE_TEST_SUITE_P(Walk, OperationTimers, testing::ValuesIn(kTimers),
                         [](const auto& timer) { return std::string(timer.param.name); });

}  // namespace
}  // namespace kestrine::test
