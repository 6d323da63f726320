// Moving the head, and who is told what about it.
#include <cmath>
#include <numbers>

#include "bench.h"
#include "simulator/drive.h"

namespace kestrine::simulator {
namespace {

constexpr double kPi = std::numbers::pi;

GetDirectionRT direction(Bench& bench) {
  return bench.answer<GetDirectionRT>(protocol::build_GetDirection());
}

TEST(Initialize, MakesTheTrackerReadyAndSaysSoToThoseWhoAsked) {
  Bench bench;
  const auto silent = bench.add_client();
  bench.ask(request_of(VL_C_SetSystemSettings, wishes(true)));
  EXPECT_EQ(bench.answer<GetTrackerStatusRT>(protocol::build_GetTrackerStatus()).trackerStatus, VL_TS_NotReady);
  const auto packets = bench.ask(protocol::build_Initialize());
  EXPECT_EQ(changes(packets), (std::vector<std::int32_t>{VL_SSC_MeasStatus_Busy, VL_SSC_InitializationStatusChanged,
                                                         VL_SSC_MeasStatus_Ready}));
  EXPECT_TRUE(silent->packets.empty());
  EXPECT_EQ(bench.answer<GetTrackerStatusRT>(protocol::build_GetTrackerStatus()).trackerStatus, VL_TS_Ready);
  const auto info = bench.answer<GetMeasurementStatusInfoRT>(protocol::build_GetMeasurementStatusInfo());
  EXPECT_TRUE(info.lMeasurementStatusInfo & VL_MSI_Initialized);
  EXPECT_TRUE(info.lMeasurementStatusInfo & VL_MSI_ReflectorFound);
}

TEST(Moves, RefuseEachOtherWhileTheHeadIsUnderWay) {
  Bench bench;
  bench.initialise();
  const auto other = bench.add_client();
  const protocol::Request far = protocol::build_PointLaser(-3, 0.1, 0);
  bench.tracker.execute(bench.client, Bytes(far.bytes.begin(), far.bytes.begin() + far.size));
  bench.scheduler.advance(0.2);
  other->packets.clear();
  const auto refused = bench.ask(*other, other, protocol::build_GoBirdBath());
  EXPECT_EQ(status_of(refused.at(0)), VL_RS_ServerBusy);
  const auto answered = bench.ask(*other, other, protocol::build_GetUnits());
  EXPECT_EQ(status_of(answered.at(0)), VL_RS_AllOK);
  bench.scheduler.advance(3);
  EXPECT_TRUE(bench.client->is_answered);
}

TEST(Moves, EndWhereTheyWereSentTo) {
  Bench bench;
  bench.initialise();
  bench.ask(protocol::build_SetUnits(VL_LU_Millimeter, VL_AU_Degree, VL_TU_Celsius, VL_PU_Mbar, VL_HU_RH));
  EXPECT_EQ(bench.status(protocol::build_PointLaserHVD(30, 80, 4000)), VL_RS_AllOK);
  EXPECT_EQ(bench.status(protocol::build_PositionRelativeHV(-50, 5)), VL_RS_AllOK);
  EXPECT_NEAR(direction(bench).dHzAngle, -20, 1e-9);
  EXPECT_NEAR(direction(bench).dVtAngle, 85, 1e-9);
  EXPECT_EQ(bench.status(protocol::build_PositionRelativeHV(0, -60)), kVerticalRangeEnds);
  EXPECT_EQ(bench.status(protocol::build_GoPositionHVD(-20, 85, 5, 1)), VL_RS_Parameter3OutOfRangeNOK);
  EXPECT_EQ(bench.status(protocol::build_GoPosition(2500, 5, 150, 1)), VL_RS_AllOK);
  const auto prism = bench.answer<GetCurrentPrismPositionRT>(protocol::build_GetCurrentPrismPosition());
  EXPECT_NEAR(prism.dVal1, 2500, 1e-9);
  EXPECT_NEAR(prism.dVal2, 0, 1e-9);
  const auto seen = bench.answer<LookForTargetRT>(protocol::build_LookForTarget(2200, 400, 100, 30));
  EXPECT_NEAR(seen.dHzAngle, std::atan2(0.4, 2.2) * 180 / kPi, 1e-9);
}

TEST(Moves, FindTheReflectorNearTheBeam) {
  Bench bench;
  bench.initialise();
  bench.ask(protocol::build_PointLaser(2.5, 0.03, 0.15));
  EXPECT_EQ(bench.status(protocol::build_StartMeasurement()), VL_RS_NoDistanceSet);
  EXPECT_EQ(bench.status(protocol::build_FindReflector(2.5)), VL_RS_AllOK);
  EXPECT_NEAR(bench.answer<GetCurrentPrismPositionRT>(protocol::build_GetCurrentPrismPosition()).dVal2, 0, 0);
  bench.ask(protocol::build_PointLaser(2.5, 0.2, 0.15));
  EXPECT_EQ(bench.status(protocol::build_FindReflector(2.5)), VL_RS_NoDistanceSet);
}

TEST(Moves, ChangeTheFace) {
  Bench bench;
  bench.initialise();
  bench.ask(request_of(VL_C_SetSystemSettings, wishes(true)));
  bench.ask(protocol::build_ChangeFace());
  EXPECT_EQ(bench.answer<GetFaceRT>(protocol::build_GetFace()).trackerFace, VL_TF_Face2);
  const auto packets = bench.ask(protocol::build_ChangeFace());
  EXPECT_EQ(changes(packets).at(1), VL_SSC_IsFace1);
}

TEST(FreeRunning, GoesOnUntilItIsStopped) {
  Bench bench;
  bench.initialise();
  const double before = direction(bench).dHzAngle;
  EXPECT_EQ(bench.status(protocol::build_MoveHV(50, 0)), VL_RS_AllOK);
  bench.after(2);
  EXPECT_EQ(bench.status(protocol::build_MoveHV(0, 0)), VL_RS_AllOK);
  const double moved = direction(bench).dHzAngle - before;
  EXPECT_NEAR(moved, kPi / 9, 0.02);  // half of 20 degrees per second, for two seconds
  bench.after(2);
  EXPECT_NEAR(direction(bench).dHzAngle - before, moved, 0.02);
  EXPECT_EQ(bench.status(protocol::build_MoveHV(101, 0)), VL_RS_Parameter1OutOfRangeNOK);
}

TEST(FreeRunning, ReportsTheEndOfTheRangeAndStopsThatAxisAlone) {
  Bench bench;
  bench.initialise();
  bench.ask(protocol::build_MoveHV(10, -100));
  const auto errors = only(bench.after(10), VL_DT_Error);
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(code_of(errors[0]), VL_C_Unknown);
  EXPECT_EQ(status_of(errors[0]), kVerticalRangeEnds);
  EXPECT_NEAR(direction(bench).dVtAngle, kPi / 4, 1e-9);
  const auto later = only(bench.after(200), VL_DT_Error);
  ASSERT_EQ(later.size(), 1u);
  EXPECT_EQ(status_of(later[0]), kHorizontalRangeEnds);
  EXPECT_TRUE(only(bench.after(200), VL_DT_Error).empty());
}

TEST(PositionDisplay, ComesThriceASecondToThoseWhoAskedAndKeepUp) {
  Bench bench;
  bench.initialise();
  EXPECT_TRUE(bench.after(1).empty());
  bench.ask(request_of(VL_C_SetSystemSettings, wishes(false, true)));
  const auto shown = only(bench.after(2.01), VL_DT_ReflectorPosResult);
  EXPECT_NEAR(static_cast<double>(shown.size()), 6, 1);
  EXPECT_EQ(shown.at(0).size(), 36u);
  EXPECT_NEAR(read_as<ReflectorPosResultT>(shown.at(0).data()).dVal1, 0.26, 1e-9);
  bench.client->unread = 1;
  EXPECT_TRUE(bench.after(2).empty());
}

TEST(Restart, ForgetsEverythingAndLetsTheClientsGo) {
  Bench bench;
  bench.initialise();
  const auto other = bench.add_client();
  bench.ask(request_of(VL_C_SetSystemSettings, wishes(true)));
  bench.ask(protocol::build_SetReflector(3));
  const auto packets = bench.ask(protocol::build_ExitApplication());
  ASSERT_EQ(packets.size(), 2u);
  EXPECT_EQ(type_of(packets[0]), VL_DT_Command);
  EXPECT_EQ(changes(packets), std::vector<std::int32_t>{VL_SSC_ServerClosing});
  EXPECT_TRUE(bench.client->is_closed && other->is_closed);
  bench.client = bench.add_client();
  EXPECT_EQ(bench.status(protocol::build_StartMeasurement()), VL_RS_TrackerNotInitialized);
  EXPECT_EQ(bench.answer<GetReflectorRT>(protocol::build_GetReflector()).iInternalReflectorId, 1);
}

}  // namespace
}  // namespace kestrine::simulator
