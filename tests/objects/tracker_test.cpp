// A tracker as C++ programs have it, against the simulator.
#include "kestrine/tracker.h"

#include <gtest/gtest.h>

#include <optional>
#include <type_traits>

#include "environment.h"
#include "kestrine/simulator.h"
#include "scripted_peer.h"

namespace kestrine::test {
namespace {

static_assert(!std::is_copy_constructible_v<Tracker> && std::is_nothrow_move_constructible_v<Tracker>);

std::optional<Error> error_of(const std::function<void()>& call) {
  try {
    call();
  } catch (const Error& error) {
    return error;
  }
  return std::nullopt;
}

class TrackerTest : public testing::Test {
 protected:
  void tell_changes() {
    tracker.SetSystemSettings(VL_WMS_NotConnected, false, false, true, true, false, false, false, true);
  }

  Environment environment;
  simulator::Simulator simulator{{.time_scale = 0}};
  Tracker tracker{"127.0.0.1", simulator.port()};
};

TEST_F(TrackerTest, ReturnsValuesStructsTextsListsAndRecords) {
  tracker.Initialize();
  tracker.SetMeasurementMode(VL_MM_Stationary);
  EXPECT_EQ(tracker.GetMeasurementMode(), VL_MM_Stationary);
  tracker.SetEnvironmentParams(21.5, 1'000, 50);
  EXPECT_EQ(tracker.GetEnvironmentParams().temperature, 21.5);
  EXPECT_EQ(tracker.GetSystemSoftwareVersion(), "3.8.680");
  const auto reflectors = tracker.GetReflectors();
  ASSERT_EQ(reflectors.size(), 4u);
  EXPECT_EQ(reflectors[2].reflectorName, "Cat's eye 75 mm");
  EXPECT_FALSE(tracker.MeasureStationaryPoint().isTryMode);
  EXPECT_NEAR(tracker.MeasureStationaryPointEx().dVal1, 0.26, 0.01);
  EXPECT_FALSE(tracker.GetSystemSettings().sendUnsolicitedMessages);
  tell_changes();
  EXPECT_TRUE(tracker.GetSystemSettings().sendUnsolicitedMessages);
  const auto image = tracker.GetStillImage(VL_SI_Jpeg);
  EXPECT_EQ(image.fileData.size(), static_cast<std::size_t>(image.fileSize));
  EXPECT_EQ(image.fileData[0], 0xFF);
}

TEST_F(TrackerTest, ThrowsWhatFailedWhereAndOnceClosed) {
  const auto refused = error_of([&] { Tracker("127.0.0.1", unused_port()); });
  ASSERT_TRUE(refused);
  EXPECT_EQ(refused->host(), "127.0.0.1");
  EXPECT_EQ(refused->status(), VL_RS_Unknown);
  const auto bad = error_of([&] { tracker.SetStationaryModeParams(-5, true); });
  ASSERT_TRUE(bad);
  EXPECT_EQ(bad->status(), VL_RS_Parameter1OutOfRangeNOK);
  EXPECT_EQ(bad->command(), VL_C_SetStationaryModeParams);
  EXPECT_EQ(error_of([&] { static_cast<void>(tracker.GetTransformedPoints()); })->status(), VL_RS_UsageConflict);
  Tracker other = std::move(tracker);
  EXPECT_FALSE(tracker.is_connected());
  EXPECT_TRUE(error_of([&] { static_cast<void>(tracker.GetUnits()); }));
  EXPECT_EQ(other.GetUnits().lengthUnit, VL_LU_Meter);
  other = Tracker("localhost", simulator.port());
  EXPECT_EQ(other.host(), "localhost");
  other.close();
  EXPECT_TRUE(error_of([&] { other.Initialize(); }));
}

TEST_F(TrackerTest, CallsHandlersAsLongAsTheirHandlesLive) {
  tracker.Initialize();
  tell_changes();
  tracker.SetMeasurementMode(VL_MM_ContinuousTime);
  tracker.SetContinuousTimeModeParams(1, 100, false, VL_RT_Sphere);
  std::size_t points = 0;
  std::vector<VL_SystemStatusChange> changes;
  const auto status = tracker.on_status([&](VL_SystemStatusChange change) { changes.push_back(change); });
  auto stream = tracker.on_points([&](const ContinuousView<MultiMeasResultT>& block) { points += block.size(); });
  tracker.StartContinuousPointMeasurement();
  EXPECT_TRUE(pump_until([&] { return points == 100; }));
  EXPECT_TRUE(pump_until([&] { return std::ranges::count(changes, VL_SSC_MeasurementCountReached) == 1; }));
  stream.end();
  tracker.StartContinuousPointMeasurement();
  EXPECT_TRUE(pump_until([&] { return std::ranges::count(changes, VL_SSC_MeasurementCountReached) == 2; }));
  EXPECT_EQ(points, 100u);
}

TEST_F(TrackerTest, StreamsForATimeOrANumberOfPointsOrUntilTheStreamIsLeft) {
  using namespace std::chrono_literals;
  tracker.Initialize();
  const auto points_of = [&](const StreamOptions& options) {
    std::size_t points = 0;
    for (const auto& block : tracker.stream(options)) points += block.size();
    return points;
  };
  EXPECT_EQ(points_of({.interval = 1ms, .points = 2'500}), 2'500u);
  EXPECT_GT(points_of({.interval = 1ms, .duration = 20ms}), 0u);
  for (const auto& block : tracker.stream({.interval = 1ms})) {
    EXPECT_EQ(block[0].lTime1, 0);
    break;
  }
  EXPECT_GT(points_of({.duration = 1ms}), 0u) << "the mode stays as it is";
  tracker.SetMeasurementMode(VL_MM_Stationary);
  EXPECT_TRUE(error_of([&] { static_cast<void>(points_of({})); }));
}

TEST(TrackerWarnings, AreToldAndTheResultsAreGood) {
  ScriptedPeer peer;
  peer.run([](ScriptedPeer& server) {
    server.accept();
    for (const std::int32_t status : {static_cast<std::int32_t>(VL_RS_Parameter1OutOfRangeOK), 0}) {
      Bytes units = packet(32, VL_DT_Command);
      put_i32(units, 8, get_i32(server.receive_request(), 8));
      put_i32(units, 12, status);
      put_i32(units, 16, VL_LU_Foot);
      server.send(units);
    }
  });
  Tracker tracker("127.0.0.1", peer.port());
  int warnings = 0;
  tracker.on_warning([&](const Error& warning) { warnings += warning.status() == VL_RS_Parameter1OutOfRangeOK; });
  EXPECT_EQ(tracker.GetUnits().lengthUnit, VL_LU_Foot);
  EXPECT_EQ(tracker.last_warning()->command(), VL_C_GetUnits);
  EXPECT_EQ(tracker.GetUnits().lengthUnit, VL_LU_Foot);
  EXPECT_FALSE(tracker.last_warning());
  EXPECT_EQ(warnings, 1);
}

}  // namespace
}  // namespace kestrine::test
