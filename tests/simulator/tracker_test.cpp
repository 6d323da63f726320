// Moving the head, the state that is announced, the inclination sensor, the compensations and the camera.
#include <cmath>
#include <numbers>
#include <string>

#include "bench.h"
#include "simulator/tracker/drive.h"
#include "simulator/tracker/inclination.h"

namespace kestrine::simulator {
namespace {

constexpr double kPi = std::numbers::pi;

struct Listening : Bench {
  Listening() { listen(); }
  Vector direction() {
    const auto aim = answer<GetDirectionRT>(build_GetDirection());
    return vector(aim.dHzAngle, aim.dVtAngle, 0);
  }
  Vector prism() { return values_of(answer<GetCurrentPrismPositionRT>(build_GetCurrentPrismPosition())); }
  Vector reading_at(int position) {
    set_up({build_GoTiltraPosition(static_cast<VL_TiltraPosition>(position))});
    const auto packets = ask(build_StartTiltraMeasurement());
    EXPECT_EQ(packets.size(), 2u);
    const auto result = first<TiltraResultT>(packets, VL_DT_TiltraResult);
    return vector(result.dXTilt, result.dYTilt, 0);
  }
};

TEST(Initialize, MakesTheTrackerReadyAndSaysSoToThoseWhoAsked) {
  Bench bench({set_system_settings(told(true))});
  const auto silent = bench.add_client();
  const auto state = [&] { return bench.answer<GetTrackerStatusRT>(build_GetTrackerStatus()).trackerStatus; };
  EXPECT_EQ(state(), VL_TS_NotReady);
  EXPECT_EQ(bench.announced(build_Initialize()),
            (Codes{VL_SSC_MeasStatus_Busy, VL_SSC_InitializationStatusChanged, VL_SSC_MeasStatus_Ready}));
  EXPECT_TRUE(silent->packets.empty());
  EXPECT_EQ(state(), VL_TS_Ready);
  const auto info = bench.answer<GetMeasurementStatusInfoRT>(build_GetMeasurementStatusInfo());
  for (const auto flag : {VL_MSI_Initialized, VL_MSI_ReflectorFound}) EXPECT_TRUE(info.lMeasurementStatusInfo & flag);
  for (const auto& each : {bench.client, silent}) {
    const auto own = first<GetSystemSettingsRT>(bench.ask(build_GetSystemSettings(), each)).systemSettings;
    EXPECT_EQ(own.bSendUnsolicitedMessages, each == bench.client);
  }
}

using Moves = BenchTest<Listening>;

TEST_F(Moves, RefuseEachOtherWhileTheHeadIsUnderWay) {
  const auto other = add_client();
  begin(build_PointLaser(-3, 0.1, 0), client);
  scheduler.advance(0.2);
  EXPECT_EQ(status_of(ask(build_GoBirdBath(), other).at(0)), VL_RS_ServerBusy);
  EXPECT_EQ(status_of(ask(build_GetUnits(), other).at(0)), VL_RS_AllOK);
  scheduler.advance(3);
  EXPECT_TRUE(client->is_answered);
}

TEST_F(Moves, EndWhereTheyWereSentTo) {
  set_units(VL_LU_Millimeter);
  set_up({build_PointLaserHVD(30, 80, 4000), build_PositionRelativeHV(-50, 5)});
  expect_near(direction(), {-20, 85, 0});
  set_up({build_GoPosition(2500, 5, 150, 1)});
  expect_near(prism(), {2500, 0, 150});
  const auto seen = answer<LookForTargetRT>(build_LookForTarget(2200, 400, 100, 30));
  EXPECT_NEAR(seen.dHzAngle, std::atan2(0.4, 2.2) * 180 / kPi, 1e-9);
}

TEST_F(Moves, FindTheReflectorNearTheBeam) {
  ask(build_PointLaser(2.5, 0.03, 0.15));
  EXPECT_EQ(statuses({build_StartMeasurement(), build_FindReflector(2.5)}), (Codes{VL_RS_NoDistanceSet, VL_RS_AllOK}));
  EXPECT_EQ(prism().y(), 0);
}

TEST_F(Moves, ChangeTheFaceUntilInitializeTurnsItBack) {
  for (const auto& back : {build_ChangeFace(), build_Initialize()}) {
    ask(build_ChangeFace());
    EXPECT_EQ(answer<GetFaceRT>(build_GetFace()).trackerFace, VL_TF_Face2);
    const Codes codes = announced(back);
    EXPECT_EQ(std::count(codes.begin(), codes.end(), VL_SSC_IsFace1), 1);
  }
}

TEST_F(Moves, GoOnFreelyUntilTheyAreStopped) {
  set_up({build_MoveHV(50, 0)});
  after(2);
  set_up({build_MoveHV(0, 0)});
  for (int i = 0; i < 2; ++i) {
    EXPECT_NEAR(direction().x(), kPi / 9, 0.02);  // half of 20 degrees per second, for two seconds
    after(2);
  }
}

TEST_F(Moves, ReportTheEndOfTheRangeAndStopThatAxisAlone) {
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

TEST_F(Moves, AreShownThriceASecondToThoseWhoAskedAndKeepUp) {
  EXPECT_TRUE(after(1).empty());
  ask(set_system_settings(told(false, true)));
  const auto shown = only(after(2.01), VL_DT_ReflectorPosResult);
  EXPECT_NEAR(static_cast<double>(shown.size()), 6, 1);
  EXPECT_NEAR(first<ReflectorPosResultT>(shown, VL_DT_ReflectorPosResult).dVal1, 0.26, 1e-9);
  client->unread = 1;
  EXPECT_TRUE(after(2).empty());
}

using StatusChanges = BenchTest<Listening>;

TEST_F(StatusChanges, FollowTheLaserThroughItsWarmingUp) {
  const auto laser = [&] { return answer<GetSystemStatusRT>(build_GetSystemStatus()).laserStatus; };
  EXPECT_EQ(laser(), VL_LPS_LaserReady);
  EXPECT_TRUE(announced(build_SwitchLaser(true)).empty());
  ask(build_SwitchLaser(false));
  EXPECT_EQ(laser(), VL_LPS_LaserOff);
  EXPECT_EQ(changes(ask(build_SwitchLaser(true))).at(0), VL_SSC_LaserNotStabilized);
  EXPECT_EQ(laser(), VL_LPS_LaserHeatingUp);
  EXPECT_EQ(changes(after(5)), Codes{VL_SSC_LaserWarmedUp});
  EXPECT_EQ(laser(), VL_LPS_LaserReady);
}

TEST_F(StatusChanges, ReportWhatHasComeOrGone) {
  const std::pair<protocol::Request, Codes> requests[]{
      {set_system_settings({.bSendUnsolicitedMessages = 1, .bHasVideoCamera = 1}),
       {VL_SSC_SystemSettingsChanged, VL_SSC_TiltraSensorChanged}},
      {set_system_settings({.bSendUnsolicitedMessages = 1}),
       {VL_SSC_SystemSettingsChanged, VL_SSC_OverviewCameraChanged}},
      {build_SetLongSystemParameter(VL_SP_InclinationSensorState, VL_ISS_MonitoringOnly),
       {VL_SSC_TiltSensorStatusChanged}},
      {build_SetEnvironmentParams(20, 1000, 50), {VL_SSC_EnvironmentParamsChanged}},
      {build_SetEnvironmentParams(21, 1000, 50), {VL_SSC_EnvironmentParamsChanged, VL_SSC_ObjectTemperatureChanged}},
  };
  for (const auto& [request, expected] : requests) EXPECT_EQ(announced(request), expected);
  // What is gone cannot be used.
  EXPECT_EQ(
      statuses({build_StartTiltraMeasurement(), build_CallOrientToGravity(), build_CallInclinationSensorCompensation(),
                build_GetStillImage(VL_SI_Jpeg), build_GetOverviewCameraInfo()}),
      (Codes{VL_RS_NoTiltra, VL_RS_NoTiltra, VL_RS_NoTiltra, VL_RS_NoVideoCamera, VL_RS_NoOVC}));
}

TEST_F(StatusChanges, OfRestoredStartupConditionsAreThoseThatDiffer) {
  set_up({build_SetReflector(3), build_SetCoordinateSystemType(VL_CS_SCC),
          build_SetStatisticMode(VL_SM_Standard, VL_SM_Standard)});
  Codes codes = announced(build_RestoreStartupConditions());
  std::sort(codes.begin(), codes.end());
  // The settings' wish for messages is the client's own, but the record holds it too.
  EXPECT_EQ(codes, (Codes{VL_SSC_ReflectorChanged, VL_SSC_SystemSettingsChanged, VL_SSC_CoordinateSystemTypeChanged}));
}

TEST_F(StatusChanges, AnnounceTheEndAfterWhichEverythingIsForgotten) {
  const std::pair<protocol::Request, Codes> ends[]{
      {build_SystemPowerDown(), {VL_SSC_TPConnectionClosing, VL_SSC_ServerClosing}},
      {build_ExitApplication(), {VL_SSC_ServerClosing}}};
  for (const auto& [request, expected] : ends) {
    const auto other = add_client();
    set_up({build_SetReflector(3)});
    const auto packets = ask(request);
    EXPECT_EQ(packets.size(), expected.size() + 1);
    EXPECT_EQ(changes(packets), expected);
    EXPECT_TRUE(client->is_closed && other->is_closed);
    client = add_client();
    EXPECT_EQ(status(build_StartMeasurement()), VL_RS_TrackerNotInitialized);
    EXPECT_EQ(answer<GetReflectorRT>(build_GetReflector()).iInternalReflectorId, 1);
    listen();
  }
}

constexpr double kSlack = 5 * kSensorNoise;
const Vector kTilt{kOutOfLevel.along, kOutOfLevel.across, 0};

using InclinationSensor = BenchTest<Listening>;

TEST_F(InclinationSensor, IsReadWithTheSensorsIndexUntilThatIsCompensated) {
  const Vector there = reading_at(0), turned = reading_at(2);
  EXPECT_NEAR((there.x() + turned.x()) / 2, kSensorIndex.along, kSlack);
  EXPECT_NEAR((there.x() - turned.x()) / 2, kOutOfLevel.along, kSlack);
  const auto found = answer<CallInclinationSensorCompensationRT>(build_CallInclinationSensorCompensation());
  expect_near(vector(found.dInclinationIndexL, found.dInclinationIndexC, 0), (there + turned) / 2, kSlack);
  expect_near(reading_at(0), kTilt, kSlack);
  EXPECT_NEAR(reading_at(2).x(), -kTilt.x(), kSlack);
}

TEST_F(InclinationSensor, OrientsToGravityWithoutTheIndexInTheUnitsSet) {
  ask(build_GoPosition(2.5, 0, 0.15, 1));
  set_units(VL_LU_Meter, VL_AU_Gon);
  const double before = scheduler.now();
  const auto packets = ask(build_CallOrientToGravity());
  EXPECT_NEAR(scheduler.now() - before, 7, 1.5);
  EXPECT_EQ(changes(packets), (Codes{VL_SSC_MeasStatus_Busy, VL_SSC_MeasStatus_Ready}));
  const auto found = first<CallOrientToGravityRT>(packets);
  expect_near(kPi / 200 * vector(found.dOmega, found.dPhi, 0), kTilt, kSlack);
  EXPECT_NEAR(prism().x(), 2.5, 1e-9);  // the beam is back on its target
  EXPECT_NEAR(direction().x(), 0, 1e-9);
}

using Compensations = BenchTest<Listening>;

TEST_F(Compensations, RefuseOtherWorkMeanwhileAndSayWhenTheyBeginAndEnd) {
  const auto other = add_client();
  begin(build_CallInclinationSensorCompensation(), client);
  scheduler.advance(0.5);
  for (const auto& request : {build_StartMeasurement(), build_CallOrientToGravity()})
    EXPECT_EQ(status_of(ask(request, other).at(0)), VL_RS_InCompensationMode);
  scheduler.advance(20);
  EXPECT_EQ(changes(client->packets),
            (Codes{VL_SSC_CompensationModeStart, VL_SSC_MeasStatus_Busy, VL_SSC_CompensationModeEnd,
                   VL_SSC_CompensatorStatusChanged, VL_SSC_MeasStatus_Ready}));
  set_up({build_StartMeasurement()});
}

TEST_F(Compensations, DriveToEveryPointAndReportWhatTheTwoFacesLeave) {
  const auto compensate = build_CallIntermediateCompensation();
  for (const double y : {0.4, -0.4}) ask(build_AddDrivePoint(1, 2.2, y, 0.1));
  EXPECT_EQ(status(compensate), VL_RS_InvalidInputData);
  ask(build_AddDrivePoint(1, 2.5, 0.01, 0.15));
  const double before = scheduler.now();
  const auto found = answer<CallIntermediateCompensationRT>(compensate);
  EXPECT_NEAR(scheduler.now() - before, 3 * 2.7 + 0.3, 0.3);
  EXPECT_GT(double{found.dTotalRMS}, 2e-6);
  EXPECT_LT(double{found.dMaxDev}, 120e-6);
  ask(build_AddDrivePoint(1, 3, 3, 0));  // where nothing is
  const auto failed = ask(compensate);
  EXPECT_EQ(status_of(only(failed, VL_DT_Command).at(0)), VL_RS_NoStationaryResult);
  EXPECT_EQ(changes(failed).at(2), VL_SSC_CompensationModeEnd);
}

TEST_F(Compensations, OfTheTargetRecognitionHoldUntilTheNext) {
  const auto with = [&](VL_ATR_Module module) {
    return answer<CallATRCompensationRT>(build_CallATRCompensation(module));
  };
  const double factory = with(AM_CurrentOnAxisValues).dZeroPixelX;
  ask(build_GoPosition(2.5, 0, 0.15, 1));
  const auto found = with(AM_OnAxis);
  EXPECT_NE(double{found.dZeroPixelX}, factory);
  EXPECT_EQ(double{with(AM_CurrentOnAxisValues).dZeroPixelX}, double{found.dZeroPixelX});
  ask(build_PointLaser(2, 2, 0));
  EXPECT_EQ(with(AM_WideAngle).packetInfo.status, VL_RS_NoDistanceSet);
}

TEST(StillImage, IsAWholeBitmapOrAJpegFileOfTheSameSize) {
  Bench bench;
  const auto file = [&](VL_StillImageFileType type) {
    const Bytes answer = bench.ask(build_GetStillImage(type)).at(0);
    EXPECT_EQ(wire::load_u32(answer.data() + 20), answer.size() - 24);
    EXPECT_EQ(wire::load_i32(answer.data() + 16), type);
    return std::string(answer.begin() + 24, answer.end());
  };
  const std::string bitmap = file(VL_SI_Bitmap), jpeg = file(VL_SI_Jpeg);
  std::string head("BM\0\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\xA0\0\0\0\x78\0\0\0\x01\0\x18\0", 30);
  wire::store_i32(reinterpret_cast<std::uint8_t*>(&head[2]), 54 + 160 * 120 * 3);
  EXPECT_EQ(bitmap.substr(0, 30), head);
  EXPECT_EQ(bitmap.size(), 54u + 160 * 120 * 3);
  EXPECT_EQ((Codes{std::uint8_t(bitmap[54]), std::uint8_t(bitmap.back())}), (Codes{90, 209}));  // brighter at the top
  EXPECT_TRUE(jpeg.starts_with("\xFF\xD8") && jpeg.ends_with("\xFF\xD9"));
  EXPECT_NE(jpeg.find(std::string("\0\x78\0\xA0\x03", 5)), std::string::npos);  // lines, columns and colours
}

}  // namespace
}  // namespace kestrine::simulator
