// Points at the pace of the trigger inputs: ten pulses a second, and a start line that is high from 0.5 s to 2.5 s
// after the start and every three seconds again.
#include "bench.h"

namespace kestrine::simulator {
namespace {

struct TriggerBench : Bench {
  TriggerBench(VL_TriggerMode mode, VL_TriggerStartSignal level, VL_ClockTransition clock = VL_CT_Positive,
               std::int32_t least_delay = 1, std::int32_t count = 0, Options with = {})
      : Bench(std::move(with)) {
    set_up({build_Initialize(), request_of(VL_C_SetSystemSettings, client_settings(true)),
            build_SetContinuousTimeModeParams(20, count, 0, VL_RT_Sphere),
            build_SetMeasurementMode(VL_MM_ContinuousTime),
            build_SetExternTriggerParams(clock, mode, level, least_delay), build_SetTriggerSource(VL_TS_External)});
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

TEST(Trigger, AnnouncesStartAndStopAlsoWhereTimeIsNotTaken) {
  TriggerBench bench(VL_TM_ContinuousExternalClockWithStartStop, VL_TSS_High, VL_CT_Positive, 1, 30, {.time_scale = 0});
  EXPECT_EQ(changes(bench.measure(0.1)),
            (Codes{VL_SSC_MeasStatus_Busy, VL_SSC_ExternalTriggerStartEvent, VL_SSC_ExternalTriggerStopEvent,
                   VL_SSC_ExternalTriggerStartEvent, VL_SSC_MeasurementCountReached, VL_SSC_MeasStatus_Ready}));
}

TEST(Trigger, SendsMessagesOnlyWhereThatIsItsUse) {
  TriggerBench bench(VL_TM_EventTrigger, VL_TSS_High, VL_CT_Positive, 1, 10);
  ASSERT_EQ(bench.status(build_SetTriggerSource(VL_TS_External_EventMessage)), VL_RS_AllOK);
  EXPECT_EQ(changes(bench.after(1.05)), Codes(10, VL_SSC_ExternalTriggerEvent));
  EXPECT_EQ(milliseconds(bench.measure(1)), every(20, 0, 200));  // measurements are the application's own
  ASSERT_EQ(bench.status(build_SetTriggerSource(VL_TS_Internal_Application)), VL_RS_AllOK);
  bench.after(0.1);
  EXPECT_TRUE(bench.after(2).empty());
  EXPECT_EQ(bench.status(build_SetTriggerSource(VL_TS_Undefined)), VL_RS_ProblemSettingTriggerSource);
  EXPECT_EQ(bench.answer<GetTriggerBoardInfoRT>(build_GetTriggerBoardInfo()).triggerCardType, VL_TCT_SingleTracker);
}

}  // namespace
}  // namespace kestrine::simulator
