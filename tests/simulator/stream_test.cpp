// Continuous measurements: count, order, time, stop, and clients that do not read.
#include <cmath>

#include "bench.h"
#include "simulator/world.h"

namespace kestrine::simulator {
namespace {

struct StreamBench : Bench {
  explicit StreamBench(std::int32_t separation, std::int32_t count, Options with = {}) : Bench(std::move(with)) {
    initialise();
    ask(protocol::build_SetContinuousTimeModeParams(separation, count, 0, VL_RT_Sphere));
    ask(protocol::build_SetMeasurementMode(VL_MM_ContinuousTime));
  }
  // From the acknowledgement on, for a while.
  std::vector<Bytes> stream(double seconds) {
    std::vector<Bytes> packets = ask(protocol::build_StartMeasurement());
    const auto more = after(seconds);
    packets.insert(packets.end(), more.begin(), more.end());
    return packets;
  }
};

std::int64_t micros(const auto& point) {
  return point.lTime1 * std::int64_t{1000000} + point.lTime2;
}

TEST(Stream, SendsTheCountInOrderInBlocksOfAHundredMilliseconds) {
  StreamBench bench(10, 205);
  bench.ask(request_of(VL_C_SetSystemSettings, wishes(true)));
  const auto packets = bench.stream(5);
  const auto all = points(packets);
  ASSERT_EQ(all.size(), 205u);
  for (std::size_t i = 0; i < all.size(); ++i) {
    EXPECT_EQ(micros(all[i]), static_cast<std::int64_t>(i) * 10000);
    const Vector off = Vector{all[i].dVal1, all[i].dVal2, all[i].dVal3} - path_at(static_cast<double>(i) / 100);
    EXPECT_LT(length(off), 200e-6);
  }
  EXPECT_EQ(only(packets, VL_DT_MultiMeasResult).size(), 21u);
  EXPECT_EQ(type_of(packets.front()), VL_DT_Command);
  EXPECT_EQ(changes(packets), (std::vector<std::int32_t>{VL_SSC_MeasStatus_Busy, VL_SSC_MeasurementCountReached,
                                                         VL_SSC_MeasStatus_Ready}));
}

TEST(Stream, KeepsTheTimeItIsSet) {
  StreamBench bench(250, 0);
  EXPECT_EQ(points(bench.stream(0.99)).size(), 4u);
  EXPECT_EQ(points(bench.after(10)).size(), 40u);
}

TEST(Stream, HandsOutTheRestBeforeTheStopIsAcknowledged) {
  StreamBench bench(10, 0);
  std::vector<Bytes> packets = bench.stream(0.234);
  const auto last = bench.ask(protocol::build_StopMeasurement());
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
  std::vector<Bytes> packets = bench.stream(1);
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
  EXPECT_TRUE(points(bench.stream(2.5)).empty());
  EXPECT_EQ(points(bench.ask(protocol::build_StopMeasurement())).size(), 100u);
}

TEST(Stream, FillsBlocksAsTheOptionsSay) {
  Options options;
  options.block_points = 1000;
  StreamBench bench(0, 2500, options);
  const auto blocks = only(bench.stream(0.1), VL_DT_MultiMeasResult);
  ASSERT_EQ(blocks.size(), 3u);
  EXPECT_EQ(blocks[0].size(), 36048u);
  EXPECT_EQ(blocks[2].size(), 48u + 36 * 500);
}

TEST(Stream, CarriesAprioriCovariancesInTheExtendedStatisticMode) {
  StreamBench bench(10, 30);
  bench.ask(protocol::build_SetStatisticMode(VL_SM_Standard, VL_SM_Extended));
  const auto packets = bench.stream(2);
  EXPECT_TRUE(points(packets).empty());
  const auto all = elements<MultiMeasResult2T, MeasValue2T>(packets, VL_DT_MultiMeasResult2);
  ASSERT_EQ(all.size(), 30u);
  const double across = 15e-6 + 6e-6 * length(path_at(0));
  EXPECT_NEAR(all[0].dAprioriStdTotal, std::sqrt(2 * across * across + 1e-10), 1e-8);
}

TEST(Stream, TakesAPointWhereverTheReflectorHasComeFarEnough) {
  StreamBench bench(10, 0);
  bench.ask(protocol::build_SetMeasurementMode(VL_MM_ContinuousDistance));
  bench.ask(protocol::build_SetContinuousDistanceModeParams(0.02, 50, 0, VL_RT_Sphere));
  const auto by_distance = points(bench.stream(20));
  ASSERT_EQ(by_distance.size(), 50u);
  for (std::size_t i = 1; i < by_distance.size(); ++i) {
    const Vector step{by_distance[i].dVal1 - by_distance[i - 1].dVal1, by_distance[i].dVal2 - by_distance[i - 1].dVal2,
                      by_distance[i].dVal3 - by_distance[i - 1].dVal3};
    EXPECT_NEAR(length(step), 0.02, 0.0006);
  }
  bench.ask(protocol::build_SetMeasurementMode(VL_MM_Grid));
  bench.ask(protocol::build_SetGridModeParams(0, 0, 0.05, 20, 0, VL_RT_Sphere));
  EXPECT_EQ(points(bench.stream(60)).size(), 20u);
}

TEST(Stream, LeavesOutWhatLiesOutsideTheRegion) {
  StreamBench bench(10, 0);
  bench.ask(protocol::build_SetBoxRegionParams(2, -1, -1, 3, 1, 1));  // half of the circle
  bench.ask(protocol::build_SetContinuousTimeModeParams(10, 0, 1, VL_RT_Box));
  bench.stream(10);
  auto packets = bench.after(10);
  const auto inside = points(packets);
  EXPECT_NEAR(static_cast<double>(inside.size()), 500, 12);
  for (const MeasValueT& point : inside) EXPECT_GE(double{point.dVal1}, 2);
  bench.ask(protocol::build_StopMeasurement());
  bench.ask(protocol::build_SetSphereRegionParams(0, 0, 0, 0.1));  // nothing of it
  bench.ask(protocol::build_SetContinuousTimeModeParams(10, 0, 1, VL_RT_Sphere));
  EXPECT_TRUE(points(bench.stream(10)).empty());
}

TEST(Stream, EndsWithItsClient) {
  StreamBench bench(10, 0);
  bench.stream(1);
  const auto other = bench.add_client();
  bench.tracker.leave(*bench.client);
  EXPECT_EQ(bench.tracker.readiness(), VL_TS_Ready);
  const auto started = bench.ask(*other, other, protocol::build_StartMeasurement());
  EXPECT_EQ(status_of(started.at(0)), VL_RS_AllOK);
}

}  // namespace
}  // namespace kestrine::simulator
