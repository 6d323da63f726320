// Moving the head, and who hears what of it.
#include <cmath>
#include <numbers>

#include "bench.h"
#include "simulator/tracker/drive.h"

namespace kestrine::simulator {
namespace {

constexpr double kPi = std::numbers::pi;

GetDirectionRT direction(Bench& bench) {
  return bench.answer<GetDirectionRT>(build_GetDirection());
}

using Initialize = BenchTest<>;

TEST_F(Initialize, MakesTheTrackerReadyAndSaysSoToThoseWhoAsked) {
  const auto silent = add_client();
  ask(request_of(VL_C_SetSystemSettings, client_settings(true)));
  EXPECT_EQ(answer<GetTrackerStatusRT>(build_GetTrackerStatus()).trackerStatus, VL_TS_NotReady);
  const auto packets = ask(build_Initialize());
  EXPECT_EQ(changes(packets),
            (Codes{VL_SSC_MeasStatus_Busy, VL_SSC_InitializationStatusChanged, VL_SSC_MeasStatus_Ready}));
  EXPECT_TRUE(silent->packets.empty());
  EXPECT_EQ(answer<GetTrackerStatusRT>(build_GetTrackerStatus()).trackerStatus, VL_TS_Ready);
  const auto info = answer<GetMeasurementStatusInfoRT>(build_GetMeasurementStatusInfo());
  EXPECT_TRUE(info.lMeasurementStatusInfo & VL_MSI_Initialized);
  EXPECT_TRUE(info.lMeasurementStatusInfo & VL_MSI_ReflectorFound);
}

using Moves = BenchTest<>;

TEST_F(Moves, RefuseEachOtherWhileTheHeadIsUnderWay) {
  initialise();
  const auto other = add_client();
  const protocol::Request far = build_PointLaser(-3, 0.1, 0);
  execute(tracker, client, Bytes(far.bytes.begin(), far.bytes.begin() + far.size));
  scheduler.advance(0.2);
  other->packets.clear();
  const auto refused = ask(*other, other, build_GoBirdBath());
  EXPECT_EQ(status_of(refused.at(0)), VL_RS_ServerBusy);
  const auto answered = ask(*other, other, build_GetUnits());
  EXPECT_EQ(status_of(answered.at(0)), VL_RS_AllOK);
  scheduler.advance(3);
  EXPECT_TRUE(client->is_answered);
}

TEST_F(Moves, EndWhereTheyWereSentTo) {
  initialise();
  set_units(VL_LU_Millimeter);
  EXPECT_EQ(status(build_PointLaserHVD(30, 80, 4000)), VL_RS_AllOK);
  EXPECT_EQ(status(build_PositionRelativeHV(-50, 5)), VL_RS_AllOK);
  EXPECT_NEAR(direction(*this).dHzAngle, -20, 1e-9);
  EXPECT_NEAR(direction(*this).dVtAngle, 85, 1e-9);
  EXPECT_EQ(status(build_PositionRelativeHV(0, -60)), kVerticalRangeEnds);
  EXPECT_EQ(status(build_GoPositionHVD(-20, 85, 5, 1)), VL_RS_Parameter3OutOfRangeNOK);
  EXPECT_EQ(status(build_GoPosition(2500, 5, 150, 1)), VL_RS_AllOK);
  const auto prism = answer<GetCurrentPrismPositionRT>(build_GetCurrentPrismPosition());
  EXPECT_NEAR(prism.dVal1, 2500, 1e-9);
  EXPECT_NEAR(prism.dVal2, 0, 1e-9);
  const auto seen = answer<LookForTargetRT>(build_LookForTarget(2200, 400, 100, 30));
  EXPECT_NEAR(seen.dHzAngle, std::atan2(0.4, 2.2) * 180 / kPi, 1e-9);
}

TEST_F(Moves, FindTheReflectorNearTheBeam) {
  initialise();
  ask(build_PointLaser(2.5, 0.03, 0.15));
  EXPECT_EQ(status(build_StartMeasurement()), VL_RS_NoDistanceSet);
  EXPECT_EQ(status(build_FindReflector(2.5)), VL_RS_AllOK);
  EXPECT_NEAR(answer<GetCurrentPrismPositionRT>(build_GetCurrentPrismPosition()).dVal2, 0, 0);
  ask(build_PointLaser(2.5, 0.2, 0.15));
  EXPECT_EQ(status(build_FindReflector(2.5)), VL_RS_NoDistanceSet);
}

TEST_F(Moves, ChangeTheFace) {
  initialise();
  ask(request_of(VL_C_SetSystemSettings, client_settings(true)));
  ask(build_ChangeFace());
  EXPECT_EQ(answer<GetFaceRT>(build_GetFace()).trackerFace, VL_TF_Face2);
  const auto packets = ask(build_ChangeFace());
  EXPECT_EQ(changes(packets).at(1), VL_SSC_IsFace1);
}

using FreeRunning = BenchTest<>;

TEST_F(FreeRunning, GoesOnUntilItIsStopped) {
  initialise();
  const double before = direction(*this).dHzAngle;
  EXPECT_EQ(status(build_MoveHV(50, 0)), VL_RS_AllOK);
  after(2);
  EXPECT_EQ(status(build_MoveHV(0, 0)), VL_RS_AllOK);
  const double moved = direction(*this).dHzAngle - before;
  EXPECT_NEAR(moved, kPi / 9, 0.02);  // half of 20 degrees per second, for two seconds
  after(2);
  EXPECT_NEAR(direction(*this).dHzAngle - before, moved, 0.02);
  EXPECT_EQ(status(build_MoveHV(101, 0)), VL_RS_Parameter1OutOfRangeNOK);
}

TEST_F(FreeRunning, ReportsTheEndOfTheRangeAndStopsThatAxisAlone) {
  initialise();
  ask(build_MoveHV(10, -100));
  const auto errors = only(after(10), VL_DT_Error);
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(code_of(errors[0]), VL_C_Unknown);
  EXPECT_EQ(status_of(errors[0]), kVerticalRangeEnds);
  EXPECT_NEAR(direction(*this).dVtAngle, kPi / 4, 1e-9);
  const auto later = only(after(200), VL_DT_Error);
  ASSERT_EQ(later.size(), 1u);
  EXPECT_EQ(status_of(later[0]), kHorizontalRangeEnds);
  EXPECT_TRUE(only(after(200), VL_DT_Error).empty());
}

using ShownPosition = BenchTest<>;

TEST_F(ShownPosition, ComesThriceASecondToThoseWhoAskedAndKeepUp) {
  initialise();
  EXPECT_TRUE(after(1).empty());
  ask(request_of(VL_C_SetSystemSettings, client_settings(false, true)));
  const auto shown = only(after(2.01), VL_DT_ReflectorPosResult);
  EXPECT_NEAR(static_cast<double>(shown.size()), 6, 1);
  EXPECT_EQ(shown.at(0).size(), 36u);
  EXPECT_NEAR(read_as<ReflectorPosResultT>(shown.at(0).data()).dVal1, 0.26, 1e-9);
  client->unread = 1;
  EXPECT_TRUE(after(2).empty());
}

using Restart = BenchTest<>;

TEST_F(Restart, ForgetsEverythingAndLetsTheClientsGo) {
  initialise();
  const auto other = add_client();
  ask(request_of(VL_C_SetSystemSettings, client_settings(true)));
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
