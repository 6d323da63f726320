// Points at the pace of the trigger inputs: ten pulses a second, and a start line that is high from 0.5 s to 2.5 s
// after the start and every three seconds again.
#include "bench.h"

namespace kestrine::simulator {
namespace {

struct TriggerBench : Bench {
  TriggerBench(VL_TriggerMode mode, VL_TriggerStartSignal level, VL_ClockTransition clock = VL_CT_Positive,
               std::int32_t least_delay = 1, std::int32_t count = 0, Options with = {})
      : Bench(std::move(with)) {
    initialise();
    ask(request_of(VL_C_SetSystemSettings, client_settings(true)));
    ask(build_SetContinuousTimeModeParams(20, count, 0, VL_RT_Sphere));
    ask(build_SetMeasurementMode(VL_MM_ContinuousTime));
    EXPECT_EQ(status(build_SetExternTriggerParams(clock, mode, level, least_delay)), VL_RS_AllOK);
    EXPECT_EQ(status(build_SetTriggerSource(VL_TS_External)), VL_RS_AllOK);
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
  TriggerBench rising(VL_TM_EventTrigger, VL_TSS_High);
  EXPECT_EQ(milliseconds(rising.measure(1.97)), every(100, 0, 2000));
  TriggerBench falling(VL_TM_EventTrigger, VL_TSS_High, VL_CT_Negative);
  EXPECT_EQ(milliseconds(falling.measure(1.97)), every(100, 50, 2000));
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
  TriggerBench slow(VL_TM_EventTrigger, VL_TSS_High, VL_CT_Positive, 100, 5),
      fast(VL_TM_EventTrigger, VL_TSS_High, VL_CT_Positive, 101, 5);
  for (const MeasValueT& each : points(slow.measure(2))) EXPECT_EQ(each.status, VL_MS_AllOK);
  const auto marked = points(fast.measure(2));
  ASSERT_EQ(marked.size(), 5u);
  EXPECT_EQ(marked[0].status, VL_MS_AllOK);
  for (std::size_t i = 1; i < 5; ++i) EXPECT_EQ(marked[i].status, VL_MS_TriggerTimeViolation);
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
  Options options;
  options.time_scale = 0;
  TriggerBench bench(VL_TM_ContinuousExternalClockWithStartStop, VL_TSS_High, VL_CT_Positive, 1, 30, options);
  const auto announced = changes(bench.measure(0.1));
  EXPECT_EQ(announced,
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
  const auto board = bench.answer<GetTriggerBoardInfoRT>(build_GetTriggerBoardInfo());
  EXPECT_EQ(board.triggerCardType, VL_TCT_SingleTracker);
}

}  // namespace
}  // namespace kestrine::simulator
