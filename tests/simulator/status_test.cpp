// Who hears of it when the tracker's state changes, and that a change without a difference is none.
#include "bench.h"

namespace kestrine::simulator {
namespace {

struct Listening : Bench {
  Listening() { listen(); }
};

using StatusChanges = BenchTest<Listening>;

TEST_F(StatusChanges, FollowTheLaserThroughItsWarmingUp) {
  const auto laser = [&] { return answer<GetSystemStatusRT>(build_GetSystemStatus()).laserStatus; };
  EXPECT_EQ(laser(), VL_LPS_LaserReady);
  for (const bool on : {true, false}) EXPECT_TRUE(announced(build_SwitchLaser(on)).empty());
  EXPECT_EQ(laser(), VL_LPS_LaserOff);
  EXPECT_EQ(announced(build_SwitchLaser(true)), Codes{VL_SSC_LaserNotStabilized});
  EXPECT_EQ(laser(), VL_LPS_LaserHeatingUp);
  EXPECT_EQ(changes(after(5)), Codes{VL_SSC_LaserWarmedUp});
  EXPECT_EQ(laser(), VL_LPS_LaserReady);
  set_up({build_SwitchLaser(true), build_SwitchLaser(false)});
  EXPECT_TRUE(after(5).empty());
}

TEST_F(StatusChanges, ReportWhatHasComeOrGone) {
  SystemSettingsDataT no_sensor = client_settings(true);
  no_sensor.bHasTiltra = 0;
  SystemSettingsDataT no_camera = no_sensor;
  no_camera.bHasVideoCamera = 0;
  const std::pair<protocol::Request, Codes> requests[]{
      {request_of(VL_C_SetSystemSettings, no_sensor), {VL_SSC_SystemSettingsChanged, VL_SSC_TiltraSensorChanged}},
      {request_of(VL_C_SetSystemSettings, no_camera), {VL_SSC_SystemSettingsChanged, VL_SSC_OverviewCameraChanged}},
      {build_SetLongSystemParameter(VL_SP_InclinationSensorState, VL_ISS_MonitoringOnly),
       {VL_SSC_TiltSensorStatusChanged}},
      {build_SetEnvironmentParams(20, 1000, 50), {VL_SSC_EnvironmentParamsChanged}},
      {build_SetEnvironmentParams(21, 1000, 50), {VL_SSC_EnvironmentParamsChanged, VL_SSC_ObjectTemperatureChanged}},
  };
  for (const auto& [request, expected] : requests) EXPECT_EQ(announced(request), expected);
}

TEST_F(StatusChanges, OfTheFaceComeAlsoFromInitialize) {
  initialise();
  ask(build_ChangeFace());
  const Codes codes = announced(build_Initialize());
  EXPECT_EQ(std::count(codes.begin(), codes.end(), VL_SSC_IsFace1), 1);
}

TEST_F(StatusChanges, OfRestoredStartupConditionsAreThoseThatDiffer) {
  set_up({build_SetReflector(3), build_SetCoordinateSystemType(VL_CS_SCC),
          build_SetStatisticMode(VL_SM_Standard, VL_SM_Standard)});
  Codes codes = announced(build_RestoreStartupConditions());
  std::sort(codes.begin(), codes.end());
  // The settings' wish for messages is the client's own, but the record holds it too.
  EXPECT_EQ(codes, (Codes{VL_SSC_ReflectorChanged, VL_SSC_SystemSettingsChanged, VL_SSC_CoordinateSystemTypeChanged}));
}

TEST_F(StatusChanges, AnnounceTheTrackersGoingBeforeTheServers) {
  EXPECT_EQ(announced(build_SystemPowerDown()), (Codes{VL_SSC_TPConnectionClosing, VL_SSC_ServerClosing}));
}

}  // namespace
}  // namespace kestrine::simulator
