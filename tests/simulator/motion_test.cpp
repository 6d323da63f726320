// Moving the head, and who hears what of it.
#include <cmath>
#include <numbers>

#include "bench.h"
#include "simulator/tracker/drive.h"

namespace kestrine::simulator {
namespace {

constexpr double kPi = std::numbers::pi;

struct ReadyHead : ReadyBench {
  Vector direction() {
    const auto aim = answer<GetDirectionRT>(build_GetDirection());
    return vector(aim.dHzAngle, aim.dVtAngle, 0);
  }
  Vector prism() { return values_of(answer<GetCurrentPrismPositionRT>(build_GetCurrentPrismPosition())); }
};

using Initialize = BenchTest<>;

TEST_F(Initialize, MakesTheTrackerReadyAndSaysSoToThoseWhoAsked) {
  const auto silent = add_client();
  listen();
  const auto state = [&] { return answer<GetTrackerStatusRT>(build_GetTrackerStatus()).trackerStatus; };
  EXPECT_EQ(state(), VL_TS_NotReady);
  EXPECT_EQ(announced(build_Initialize()),
            (Codes{VL_SSC_MeasStatus_Busy, VL_SSC_InitializationStatusChanged, VL_SSC_MeasStatus_Ready}));
  EXPECT_TRUE(silent->packets.empty());
  EXPECT_EQ(state(), VL_TS_Ready);
  const auto info = answer<GetMeasurementStatusInfoRT>(build_GetMeasurementStatusInfo());
  for (const auto flag : {VL_MSI_Initialized, VL_MSI_ReflectorFound}) EXPECT_TRUE(info.lMeasurementStatusInfo & flag);
}

using Moves = BenchTest<ReadyHead>;

TEST_F(Moves, RefuseEachOtherWhileTheHeadIsUnderWay) {
  const auto other = add_client();
  begin(client, build_PointLaser(-3, 0.1, 0));
  scheduler.advance(0.2);
  EXPECT_EQ(status_of(ask(*other, other, build_GoBirdBath()).at(0)), VL_RS_ServerBusy);
  EXPECT_EQ(status_of(ask(*other, other, build_GetUnits()).at(0)), VL_RS_AllOK);
  scheduler.advance(3);
  EXPECT_TRUE(client->is_answered);
}

TEST_F(Moves, EndWhereTheyWereSentTo) {
  set_units(VL_LU_Millimeter);
  set_up({build_PointLaserHVD(30, 80, 4000), build_PositionRelativeHV(-50, 5)});
  expect_near(direction(), {-20, 85, 0});
  EXPECT_EQ(status(build_PositionRelativeHV(0, -60)), kVerticalRangeEnds);
  EXPECT_EQ(status(build_GoPositionHVD(-20, 85, 5, 1)), VL_RS_Parameter3OutOfRangeNOK);
  EXPECT_EQ(status(build_GoPosition(2500, 5, 150, 1)), VL_RS_AllOK);
  expect_near(prism(), {2500, 0, 150});
  const auto seen = answer<LookForTargetRT>(build_LookForTarget(2200, 400, 100, 30));
  EXPECT_NEAR(seen.dHzAngle, std::atan2(0.4, 2.2) * 180 / kPi, 1e-9);
}

TEST_F(Moves, FindTheReflectorNearTheBeam) {
  ask(build_PointLaser(2.5, 0.03, 0.15));
  EXPECT_EQ(statuses({build_StartMeasurement(), build_FindReflector(2.5)}), (Codes{VL_RS_NoDistanceSet, VL_RS_AllOK}));
  EXPECT_EQ(prism().y(), 0);
  ask(build_PointLaser(2.5, 0.2, 0.15));
  EXPECT_EQ(status(build_FindReflector(2.5)), VL_RS_NoDistanceSet);
}

TEST_F(Moves, ChangeTheFace) {
  listen();
  ask(build_ChangeFace());
  EXPECT_EQ(answer<GetFaceRT>(build_GetFace()).trackerFace, VL_TF_Face2);
  EXPECT_EQ(announced(build_ChangeFace()).at(1), VL_SSC_IsFace1);
}

using FreeRunning = BenchTest<ReadyHead>;

TEST_F(FreeRunning, GoesOnUntilItIsStopped) {
  const double before = direction().x();
  set_up({build_MoveHV(50, 0)});
  after(2);
  set_up({build_MoveHV(0, 0)});
  const double moved = direction().x() - before;
  EXPECT_NEAR(moved, kPi / 9, 0.02);  // half of 20 degrees per second, for two seconds
  after(2);
  EXPECT_NEAR(direction().x() - before, moved, 0.02);
  EXPECT_EQ(status(build_MoveHV(101, 0)), VL_RS_Parameter1OutOfRangeNOK);
}

TEST_F(FreeRunning, ReportsTheEndOfTheRangeAndStopsThatAxisAlone) {
  const auto range_ends = [&](double seconds) {
    Codes ends;
    for (const Bytes& error : only(after(seconds), VL_DT_Error)) {
      EXPECT_EQ(code_of(error), VL_C_Unknown);
      ends.push_back(status_of(error));
    }
    return ends;
  };
  ask(build_MoveHV(10, -100));
  EXPECT_EQ(range_ends(10), Codes{kVerticalRangeEnds});
  EXPECT_NEAR(direction().y(), kPi / 4, 1e-9);
  EXPECT_EQ(range_ends(200), Codes{kHorizontalRangeEnds});
  EXPECT_EQ(range_ends(200), Codes{});
}

using ShownPosition = BenchTest<ReadyHead>;

TEST_F(ShownPosition, ComesThriceASecondToThoseWhoAskedAndKeepUp) {
  EXPECT_TRUE(after(1).empty());
  ask(request_of(VL_C_SetSystemSettings, client_settings(false, true)));
  const auto shown = only(after(2.01), VL_DT_ReflectorPosResult);
  EXPECT_NEAR(static_cast<double>(shown.size()), 6, 1);
  EXPECT_NEAR(first<ReflectorPosResultT>(shown, VL_DT_ReflectorPosResult).dVal1, 0.26, 1e-9);
  client->unread = 1;
  EXPECT_TRUE(after(2).empty());
}

using Restart = BenchTest<ReadyHead>;

TEST_F(Restart, ForgetsEverythingAndLetsTheClientsGo) {
  const auto other = add_client();
  listen();
  ask(build_SetReflector(3));
  const auto packets = ask(build_ExitApplication());
  ASSERT_EQ(packets.size(), 2u);
  EXPECT_EQ(type_of(packets[0]), VL_DT_Command);
  EXPECT_EQ(changes(packets), Codes{VL_SSC_ServerClosing});
  EXPECT_TRUE(client->is_closed && other->is_closed);
  client = add_client();
  EXPECT_EQ(status(build_StartMeasurement()), VL_RS_TrackerNotInitialized);
  EXPECT_EQ(answer<GetReflectorRT>(build_GetReflector()).iInternalReflectorId, 1);
}

}  // namespace
}  // namespace kestrine::simulator
