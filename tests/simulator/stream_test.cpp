// Continuous measurements: count, order, time, stop, and clients that do not read.
#include <cmath>

#include "bench.h"
#include "simulator/tracker/world.h"

namespace kestrine::simulator {
namespace {

struct StreamBench : Bench {
  explicit StreamBench(std::int32_t separation, std::int32_t count, Options with = {}) : Bench(std::move(with)) {
    initialise();
    ask(build_SetContinuousTimeModeParams(separation, count, 0, VL_RT_Sphere));
    ask(build_SetMeasurementMode(VL_MM_ContinuousTime));
  }
};

std::int64_t micros(const auto& point) {
  return point.lTime1 * std::int64_t{1000000} + point.lTime2;
}

TEST(Stream, SendsTheCountInOrderInBlocksOfAHundredMilliseconds) {
  StreamBench bench(10, 205);
  bench.ask(request_of(VL_C_SetSystemSettings, client_settings(true)));
  const auto packets = bench.measure(5);
  const auto all = points(packets);
  ASSERT_EQ(all.size(), 205u);
  for (std::size_t i = 0; i < all.size(); ++i) {
    EXPECT_EQ(micros(all[i]), static_cast<std::int64_t>(i) * 10000);
    const Vector off = values_of(all[i]) - path_at(static_cast<double>(i) / 100);
    EXPECT_LT(length(off), 200e-6);
  }
  EXPECT_EQ(only(packets, VL_DT_MultiMeasResult).size(), 21u);
  EXPECT_EQ(type_of(packets.front()), VL_DT_Command);
  EXPECT_EQ(changes(packets), (Codes{VL_SSC_MeasStatus_Busy, VL_SSC_MeasurementCountReached, VL_SSC_MeasStatus_Ready}));
}

TEST(Stream, KeepsTheTimeItIsSet) {
  StreamBench bench(250, 0);
  EXPECT_EQ(points(bench.measure(0.99)).size(), 4u);
  EXPECT_EQ(points(bench.after(10)).size(), 40u);
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
  bench.client->packets.clear();
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
  for (std::size_t i = 0; i < all.size(); ++i) ASSERT_EQ(micros(all[i]), static_cast<std::int64_t>(i) * 1000);
}

TEST(Stream, HandsOutWhatWasReadyForAStalledClientWhenItStops) {
  StreamBench bench(1, 0);
  bench.client->unread = 1 << 20;
  EXPECT_TRUE(points(bench.measure(2.5)).empty());
  EXPECT_EQ(points(bench.ask(build_StopMeasurement())).size(), 100u);
}

TEST(Stream, FillsBlocksAsTheOptionsSay) {
  Options options;
  options.block_points = 1000;
  StreamBench bench(0, 2500, options);
  const auto blocks = only(bench.measure(0.1), VL_DT_MultiMeasResult);
  ASSERT_EQ(blocks.size(), 3u);
  EXPECT_EQ(blocks[0].size(), 36048u);
  EXPECT_EQ(blocks[2].size(), 48u + 36 * 500);
}

TEST(Stream, CarriesAprioriCovariancesInTheExtendedStatisticMode) {
  StreamBench bench(10, 30);
  bench.ask(build_SetStatisticMode(VL_SM_Standard, VL_SM_Extended));
  const auto packets = bench.measure(2);
  EXPECT_TRUE(points(packets).empty());
  const auto all = elements<MultiMeasResult2T, MeasValue2T>(packets, VL_DT_MultiMeasResult2);
  ASSERT_EQ(all.size(), 30u);
  const double across = 15e-6 + 6e-6 * length(path_at(0));
  EXPECT_NEAR(all[0].dAprioriStdTotal, std::sqrt(2 * across * across + 1e-10), 1e-8);
}

TEST(Stream, TakesAPointWhereverTheReflectorHasComeFarEnough) {
  StreamBench bench(10, 0);
  bench.ask(build_SetMeasurementMode(VL_MM_ContinuousDistance));
  bench.ask(build_SetContinuousDistanceModeParams(0.02, 50, 0, VL_RT_Sphere));
  const auto by_distance = points(bench.measure(20));
  ASSERT_EQ(by_distance.size(), 50u);
  for (std::size_t i = 1; i < by_distance.size(); ++i) {
    EXPECT_NEAR(length(values_of(by_distance[i]) - values_of(by_distance[i - 1])), 0.02, 0.0006);
  }
  bench.ask(build_SetMeasurementMode(VL_MM_Grid));
  bench.ask(build_SetGridModeParams(0, 0, 0.05, 20, 0, VL_RT_Sphere));
  EXPECT_EQ(points(bench.measure(60)).size(), 20u);
}

TEST(Stream, LeavesOutWhatLiesOutsideTheRegion) {
  StreamBench bench(10, 0);
  bench.ask(build_SetBoxRegionParams(2, -1, -1, 3, 1, 1));  // half of the circle
  bench.ask(build_SetContinuousTimeModeParams(10, 0, 1, VL_RT_Box));
  bench.measure(10);
  auto packets = bench.after(10);
  const auto inside = points(packets);
  EXPECT_NEAR(static_cast<double>(inside.size()), 500, 12);
  for (const MeasValueT& point : inside) EXPECT_GE(double{point.dVal1}, 2);
  bench.ask(build_StopMeasurement());
  bench.ask(build_SetSphereRegionParams(0, 0, 0, 0.1));  // nothing of it
  bench.ask(build_SetContinuousTimeModeParams(10, 0, 1, VL_RT_Sphere));
  EXPECT_TRUE(points(bench.measure(10)).empty());
  bench.ask(build_StopMeasurement());
  bench.ask(build_SetContinuousTimeModeParams(10, 0, 0, VL_RT_Sphere));  // no region at all
  EXPECT_FALSE(points(bench.measure(1)).empty());
}

TEST(Stream, EndsWithItsClient) {
  StreamBench bench(10, 0);
  bench.measure(1);
  const auto other = bench.add_client();
  bench.tracker.leave(*bench.client);
  EXPECT_EQ(bench.tracker.readiness(), VL_TS_Ready);
  const auto started = bench.ask(*other, other, build_StartMeasurement());
  EXPECT_EQ(status_of(started.at(0)), VL_RS_AllOK);
}

}  // namespace
}  // namespace kestrine::simulator
