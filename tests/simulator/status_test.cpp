// Who is told when the tracker's state changes, and that a change without a difference is none.
#include "bench.h"

namespace kestrine::simulator {
namespace {

using Codes = std::vector<std::int32_t>;

struct Listening : Bench {
  Listening() { ask(request_of(VL_C_SetSystemSettings, wishes(true))); }
  Codes told(const protocol::Request& request) { return changes(ask(request)); }
};

TEST(StatusChanges, FollowTheLaserThroughItsWarmingUp) {
  Listening bench;
  const auto laser = [&] { return bench.answer<GetSystemStatusRT>(protocol::build_GetSystemStatus()).laserStatus; };
  EXPECT_EQ(laser(), VL_LPS_LaserReady);
  EXPECT_TRUE(bench.told(protocol::build_SwitchLaser(true)).empty());
  EXPECT_TRUE(bench.told(protocol::build_SwitchLaser(false)).empty());
  EXPECT_EQ(laser(), VL_LPS_LaserOff);
  EXPECT_EQ(bench.told(protocol::build_SwitchLaser(true)), Codes{VL_SSC_LaserNotStabilized});
  EXPECT_EQ(laser(), VL_LPS_LaserHeatingUp);
  EXPECT_EQ(changes(bench.after(5)), Codes{VL_SSC_LaserWarmedUp});
  EXPECT_EQ(laser(), VL_LPS_LaserReady);
  bench.ask(protocol::build_SwitchLaser(true));
  bench.ask(protocol::build_SwitchLaser(false));
  EXPECT_TRUE(bench.after(5).empty());
}

TEST(StatusChanges, TellWhatHasComeOrGone) {
  Listening bench;
  SystemSettingsDataT settings = wishes(true);
  settings.bHasTiltra = 0;
  EXPECT_EQ(bench.told(request_of(VL_C_SetSystemSettings, settings)),
            (Codes{VL_SSC_SystemSettingsChanged, VL_SSC_TiltraSensorChanged}));
  settings.bHasVideoCamera = 0;
  EXPECT_EQ(bench.told(request_of(VL_C_SetSystemSettings, settings)),
            (Codes{VL_SSC_SystemSettingsChanged, VL_SSC_OverviewCameraChanged}));
  EXPECT_EQ(bench.told(protocol::build_SetLongSystemParameter(VL_SP_InclinationSensorState, VL_ISS_MonitoringOnly)),
            Codes{VL_SSC_TiltSensorStatusChanged});
  EXPECT_EQ(bench.told(protocol::build_SetEnvironmentParams(20, 1000, 50)), Codes{VL_SSC_EnvironmentParamsChanged});
  EXPECT_EQ(bench.told(protocol::build_SetEnvironmentParams(21, 1000, 50)),
            (Codes{VL_SSC_EnvironmentParamsChanged, VL_SSC_ObjectTemperatureChanged}));
}

TEST(StatusChanges, OfTheFaceComeAlsoFromInitialize) {
  Listening bench;
  bench.initialise();
  bench.ask(protocol::build_ChangeFace());
  const Codes told = bench.told(protocol::build_Initialize());
  EXPECT_EQ(std::count(told.begin(), told.end(), VL_SSC_IsFace1), 1);
}

TEST(StatusChanges, OfRestoredStartupConditionsAreThoseThatDiffer) {
  Listening bench;
  bench.ask(protocol::build_SetReflector(3));
  bench.ask(protocol::build_SetCoordinateSystemType(VL_CS_SCC));
  bench.ask(protocol::build_SetStatisticMode(VL_SM_Standard, VL_SM_Standard));
  Codes told = bench.told(protocol::build_RestoreStartupConditions());
  std::sort(told.begin(), told.end());
  // The settings' wish for messages is the client's own, but the record holds it too.
  EXPECT_EQ(told, (Codes{VL_SSC_ReflectorChanged, VL_SSC_SystemSettingsChanged, VL_SSC_CoordinateSystemTypeChanged}));
}

TEST(StatusChanges, AnnounceTheTrackersGoingBeforeTheServers) {
  Listening bench;
  EXPECT_EQ(bench.told(protocol::build_SystemPowerDown()), (Codes{VL_SSC_TPConnectionClosing, VL_SSC_ServerClosing}));
}

}  // namespace
}  // namespace kestrine::simulator
