// Continuous measurements: count, order, time, stop, clients that do not read, and the pace of the trigger inputs.
#include <cmath>

#include "bench.h"
#include "simulator/tracker/world.h"

namespace kestrine::simulator {
namespace {

struct StreamBench : Bench {
  StreamBench(std::int32_t separation, std::int32_t count)
      : Bench({build_Initialize(), build_SetContinuousTimeModeParams(separation, count, 0, VL_RT_Sphere),
               build_SetMeasurementMode(VL_MM_ContinuousTime)}) {}
};

// Every point is there, at its time and in order.
void expect_spaced(const std::vector<MeasValueT>& points, std::int64_t microseconds) {
  std::int64_t due = -microseconds;
  for (const auto& each : points) ASSERT_EQ(each.lTime1 * std::int64_t{1000000} + each.lTime2, due += microseconds);
}

TEST(Stream, SendsTheCountInOrderInBlocksOfAHundredMilliseconds) {
  StreamBench bench(10, 205);
  bench.listen();
  const auto packets = bench.measure(5);
  const auto all = points(packets);
  ASSERT_EQ(all.size(), 205u);
  expect_spaced(all, 10000);
  for (std::size_t i = 0; i < all.size(); ++i)
    expect_near(values_of(all[i]), path_at(static_cast<double>(i) / 100), 115e-6);
  EXPECT_EQ(only(packets, VL_DT_MultiMeasResult).size(), 21u);
  EXPECT_EQ(type_of(packets.front()), VL_DT_Command);
  EXPECT_EQ(changes(packets), (Codes{VL_SSC_MeasStatus_Busy, VL_SSC_MeasurementCountReached, VL_SSC_MeasStatus_Ready}));
}

TEST(Stream, HandsOutTheRestBeforeTheStopIsAcknowledged) {
  StreamBench bench(10, 0);
  Packets packets = bench.measure(0.234);
  const auto last = bench.ask(build_StopMeasurement());
  ASSERT_EQ(last.size(), 2u);
  EXPECT_EQ(type_of(last[0]), VL_DT_MultiMeasResult);
  EXPECT_EQ(code_of(last[1]), VL_C_StopMeasurement);
  packets.insert(packets.end(), last.begin(), last.end());
  // The test's clock has gone on by one step of waiting for the start: points due by now, and none of the future.
  EXPECT_NEAR(static_cast<double>(points(packets).size()), 25, 1);
  EXPECT_TRUE(bench.after(5).empty());
}

TEST(Stream, WaitsForAClientThatDoesNotReadAndThenLeavesNothingOut) {
  StreamBench bench(1, 0);
  Packets packets = bench.measure(1);
  bench.client->unread = 1 << 20;
  EXPECT_TRUE(points(bench.after(3)).empty());
  bench.client->unread = 0;
  bench.client->packets.clear();
  bench.tracker.caught_up(*bench.client);
  bench.scheduler.advance(1);
  packets.insert(packets.end(), bench.client->packets.begin(), bench.client->packets.end());
  const auto all = points(packets);
  EXPECT_NEAR(static_cast<double>(all.size()), 5000, 101);
  expect_spaced(all, 1000);
  // A stop hands out what was ready.
  bench.client->unread = 1 << 20;
  bench.after(1);
  EXPECT_EQ(points(bench.ask(build_StopMeasurement())).size(), 100u);
}

TEST(Stream, TakesAPointWhereverTheReflectorHasComeFarEnough) {
  StreamBench bench(10, 0);
  bench.set_up({build_SetMeasurementMode(VL_MM_ContinuousDistance),
                build_SetContinuousDistanceModeParams(0.02, 50, 0, VL_RT_Sphere)});
  const auto by_distance = points(bench.measure(20));
  ASSERT_EQ(by_distance.size(), 50u);
  for (std::size_t i = 1; i < by_distance.size(); ++i)
    EXPECT_NEAR(length(values_of(by_distance[i]) - values_of(by_distance[i - 1])), 0.02, 0.0006);
  bench.set_up({build_SetMeasurementMode(VL_MM_Grid), build_SetGridModeParams(0, 0, 0.05, 20, 0, VL_RT_Sphere)});
  EXPECT_EQ(points(bench.measure(60)).size(), 20u);
}

TEST(Stream, LeavesOutWhatLiesOutsideTheRegion) {
  StreamBench bench(10, 0);
  // Half of the circle, nothing of it, and no region at all.
  bench.set_up({build_SetBoxRegionParams(2, -1, -1, 3, 1, 1), build_SetContinuousTimeModeParams(10, 0, 1, VL_RT_Box)});
  bench.measure(10);
  const auto inside = points(bench.after(10));
  EXPECT_NEAR(static_cast<double>(inside.size()), 500, 12);
  for (const MeasValueT& point : inside) EXPECT_GE(double{point.dVal1}, 2);
  bench.set_up({build_StopMeasurement(), build_SetSphereRegionParams(0, 0, 0, 0.1),
                build_SetContinuousTimeModeParams(10, 0, 1, VL_RT_Sphere)});
  EXPECT_TRUE(points(bench.measure(10)).empty());
  bench.set_up({build_StopMeasurement(), build_SetContinuousTimeModeParams(10, 0, 0, VL_RT_Sphere)});
  EXPECT_FALSE(points(bench.measure(1)).empty());
}

TEST(Stream, EndsWithItsClient) {
  StreamBench bench(10, 0);
  bench.measure(1);
  const auto other = bench.add_client();
  bench.tracker.leave(*bench.client);
  EXPECT_EQ(bench.tracker.readiness(), VL_TS_Ready);
  EXPECT_EQ(status_of(bench.ask(build_StartMeasurement(), other).at(0)), VL_RS_AllOK);
}

// The trigger inputs: ten pulses a second, and a start line that is high from 0.5 s to 2.5 s after the start and every
// three seconds again.
struct TriggerBench : Bench {
  TriggerBench(VL_TriggerMode mode, VL_TriggerStartSignal level, VL_ClockTransition clock = VL_CT_Positive,
               std::int32_t least_delay = 1, std::int32_t count = 0)
      : Bench({build_Initialize(), set_system_settings(told(true)),
               build_SetContinuousTimeModeParams(20, count, 0, VL_RT_Sphere),
               build_SetMeasurementMode(VL_MM_ContinuousTime),
               build_SetExternTriggerParams(clock, mode, level, least_delay), build_SetTriggerSource(VL_TS_External)}) {
  }
};

std::vector<int> milliseconds(const Packets& packets) {
  std::vector<int> times;
  for (const MeasValueT& each : points(packets)) times.push_back(each.lTime1 * 1000 + each.lTime2 / 1000);
  return times;
}

std::vector<int> every(int step, int from, int until) {
  std::vector<int> times;
  for (int at = from; at < until; at += step) times.push_back(at);
  return times;
}

TEST(Trigger, TakesAPointAtEveryPulse) {
  for (const auto& [transition, start] : {std::pair{VL_CT_Positive, 0}, {VL_CT_Negative, 50}}) {
    TriggerBench bench(VL_TM_EventTrigger, VL_TSS_High, transition);
    EXPECT_EQ(milliseconds(bench.measure(1.97)), every(100, start, 2000));
  }
}

TEST(Trigger, GatesTheExternalClockWithTheStartLine) {
  TriggerBench bench(VL_TM_ContinuousExternalClockWithStartStop, VL_TSS_High);
  const auto packets = bench.measure(2.97);
  EXPECT_EQ(milliseconds(packets), every(100, 500, 2500));
  EXPECT_EQ(changes(packets),
            (Codes{VL_SSC_MeasStatus_Busy, VL_SSC_ExternalTriggerStartEvent, VL_SSC_ExternalTriggerStopEvent}));
  // The start comes before the first of its points, the stop after the last.
  const auto is_point = [](const Bytes& packet) { return type_of(packet) == VL_DT_MultiMeasResult; };
  EXPECT_EQ(code_of(*(std::find_if(packets.begin(), packets.end(), is_point) - 1)), VL_SSC_ExternalTriggerStartEvent);
  EXPECT_EQ(code_of(packets.back()), VL_SSC_ExternalTriggerStopEvent);
  EXPECT_EQ(milliseconds(bench.after(3)), every(100, 3500, 5500));
}

TEST(Trigger, GatesTheTimeSeparationAndStartsOnALowLineWhereThatIsSet) {
  TriggerBench bench(VL_TM_InternalClockWithExternalStartStop, VL_TSS_Low);
  auto expected = every(20, 0, 500);
  const auto again = every(20, 2500, 3500);
  expected.insert(expected.end(), again.begin(), again.end());
  EXPECT_EQ(milliseconds(bench.measure(4)), expected);
}

TEST(Trigger, MarksPulsesThatComeTooSoon) {
  for (const auto& [least_delay, mark] : {std::pair{100, VL_MS_AllOK}, {101, VL_MS_TriggerTimeViolation}}) {
    Codes marks;
    TriggerBench bench(VL_TM_EventTrigger, VL_TSS_High, VL_CT_Positive, least_delay, 5);
    for (const MeasValueT& each : points(bench.measure(2))) marks.push_back(each.status);
    EXPECT_EQ(marks, (Codes{VL_MS_AllOK, mark, mark, mark, mark}));
  }
}

TEST(Trigger, ReachesTheCountAndStopsInTheMidstOfAGate) {
  TriggerBench counted(VL_TM_ContinuousExternalClockWithStartStop, VL_TSS_High, VL_CT_Positive, 1, 25);
  const auto packets = counted.measure(10);
  EXPECT_EQ(points(packets).size(), 25u);
  EXPECT_EQ(changes(packets).back(), VL_SSC_MeasStatus_Ready);
  TriggerBench stopped(VL_TM_InternalClockWithExternalStartStop, VL_TSS_High);
  stopped.measure(1.25);
  EXPECT_NEAR(milliseconds(stopped.ask(build_StopMeasurement())).back(), 1240, 20);
  EXPECT_TRUE(changes(stopped.after(5)).empty());
}

TEST(Trigger, SendsMessagesOnlyWhereThatIsItsUse) {
  TriggerBench bench(VL_TM_EventTrigger, VL_TSS_High, VL_CT_Positive, 1, 10);
  bench.set_up({build_SetTriggerSource(VL_TS_External_EventMessage)});
  EXPECT_EQ(changes(bench.after(1.05)), Codes(10, VL_SSC_ExternalTriggerEvent));
  EXPECT_EQ(milliseconds(bench.measure(1)), every(20, 0, 200));  // measurements are the application's own
  bench.set_up({build_SetTriggerSource(VL_TS_Internal_Application)});
  bench.after(0.1);
  EXPECT_TRUE(bench.after(2).empty());
}

}  // namespace
}  // namespace kestrine::simulator
