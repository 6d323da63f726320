// The inclination sensor and the compensations: what they find, how long they take, who hears of it.
#include <cmath>

#include "bench.h"
#include "simulator/tracker/inclination.h"

namespace kestrine::simulator {
namespace {

constexpr double kSlack = 5 * kSensorNoise;

struct Ready : ReadyBench {
  Ready() { listen(); }
  Vector reading_at(VL_TiltraPosition position) {
    set_up({build_GoTiltraPosition(position)});
    const auto packets = ask(build_StartTiltraMeasurement());
    EXPECT_EQ(packets.size(), 2u);
    const auto result = first<TiltraResultT>(packets, VL_DT_TiltraResult);
    return vector(result.dXTilt, result.dYTilt, 0);
  }
  double seconds_of(const protocol::Request& request) {
    const double before = scheduler.now();
    EXPECT_EQ(status(request), VL_RS_AllOK);
    return scheduler.now() - before;
  }
};

using InclinationSensor = BenchTest<Ready>;

TEST_F(InclinationSensor, IsReadWithTheSensorsIndexUntilThatIsCompensated) {
  const auto front = static_cast<VL_TiltraPosition>(0), back = static_cast<VL_TiltraPosition>(2);
  const Vector there = reading_at(front), turned = reading_at(back);
  EXPECT_NEAR((there.x() + turned.x()) / 2, kSensorIndex.along, kSlack);
  EXPECT_NEAR((there.x() - turned.x()) / 2, kOutOfLevel.along, kSlack);
  const auto found = answer<CallInclinationSensorCompensationRT>(build_CallInclinationSensorCompensation());
  expect_near(vector(found.dInclinationIndexL, found.dInclinationIndexC, 0), (there + turned) / 2, kSlack);
  expect_near(reading_at(front), {kOutOfLevel.along, kOutOfLevel.across, 0}, kSlack);
  EXPECT_NEAR(reading_at(back).x(), -kOutOfLevel.along, kSlack);
}

TEST_F(InclinationSensor, OrientsToGravityWithoutTheIndexInTheUnitsSet) {
  ask(build_GoPosition(2.5, 0, 0.15, 1));
  set_units(VL_LU_Meter, VL_AU_Gon, VL_TU_Celsius);
  const double before = scheduler.now();
  const auto packets = ask(build_CallOrientToGravity());
  EXPECT_NEAR(scheduler.now() - before, 7, 1.5);
  EXPECT_EQ(changes(packets), (Codes{VL_SSC_MeasStatus_Busy, VL_SSC_MeasStatus_Ready}));
  const auto found = first<CallOrientToGravityRT>(packets);
  expect_near(std::numbers::pi / 200 * vector(found.dOmega, found.dPhi, 0), {kOutOfLevel.along, kOutOfLevel.across, 0},
              kSlack);
  // The beam is back on its target.
  EXPECT_NEAR(answer<GetCurrentPrismPositionRT>(build_GetCurrentPrismPosition()).dVal1, 2.5, 1e-9);
  EXPECT_NEAR(answer<GetDirectionRT>(build_GetDirection()).dHzAngle, 0, 1e-9);
}

TEST_F(InclinationSensor, IsRefusedByATrackerWithoutTheSensor) {
  ask(request_of(VL_C_SetSystemSettings, SystemSettingsDataT{}));
  EXPECT_EQ(statuses({build_StartTiltraMeasurement(), build_CallOrientToGravity(),
                      build_CallInclinationSensorCompensation()}),
            Codes(3, VL_RS_NoTiltra));
}

using Compensations = BenchTest<Ready>;

TEST_F(Compensations, RefuseOtherWorkMeanwhileAndSayWhenTheyBeginAndEnd) {
  const auto other = add_client();
  client->packets.clear();
  begin(client, build_CallInclinationSensorCompensation());
  scheduler.advance(0.5);
  for (const auto& request : {build_StartMeasurement(), build_CallOrientToGravity()})
    EXPECT_EQ(status_of(ask(*other, other, request).at(0)), VL_RS_InCompensationMode);
  scheduler.advance(20);
  EXPECT_EQ(changes(client->packets),
            (Codes{VL_SSC_CompensationModeStart, VL_SSC_MeasStatus_Busy, VL_SSC_CompensationModeEnd,
                   VL_SSC_CompensatorStatusChanged, VL_SSC_MeasStatus_Ready}));
  EXPECT_TRUE(only(other->packets, VL_DT_SystemStatusChange).empty());
  EXPECT_EQ(status(build_StartMeasurement()), VL_RS_AllOK);
}

TEST_F(Compensations, DriveToEveryPointAndReportWhatTheTwoFacesLeave) {
  const auto compensate = build_CallIntermediateCompensation();
  EXPECT_EQ(statuses({build_AddDrivePoint(5, 2.2, 0.4, 0.1), build_AddDrivePoint(1, 100, 0, 0)}),
            (Codes{VL_RS_WrongParameter1, VL_RS_Parameter4OutOfRangeNOK}));
  for (const double y : {0.4, -0.4}) ask(build_AddDrivePoint(1, 2.2, y, 0.1));
  EXPECT_EQ(status(compensate), VL_RS_InvalidInputData);
  ask(build_AddDrivePoint(1, 2.5, 0.01, 0.15));
  EXPECT_NEAR(seconds_of(compensate), 3 * 2.7 + 0.3, 0.3);
  const auto found = answer<CallIntermediateCompensationRT>(compensate);
  EXPECT_GT(double{found.dTotalRMS}, 2e-6);
  EXPECT_LT(double{found.dMaxDev}, 120e-6);
  EXPECT_LE(double{found.dTotalRMS}, double{found.dMaxDev});
  EXPECT_EQ(found.lWarningFlags, 0);
  ask(build_AddDrivePoint(1, 3, 3, 0));  // where nothing is
  const auto failed = ask(compensate);
  EXPECT_EQ(status_of(only(failed, VL_DT_Command).at(0)), VL_RS_NoStationaryResult);
  EXPECT_EQ(changes(failed).at(2), VL_SSC_CompensationModeEnd);
  ask(build_ClearDrivePointList());
  EXPECT_EQ(status(compensate), VL_RS_InvalidInputData);
}

TEST_F(Compensations, OfTheTargetRecognitionHoldUntilTheNext) {
  const auto current = build_CallATRCompensation(AM_CurrentOnAxisValues);
  const double factory = answer<CallATRCompensationRT>(current).dZeroPixelX;
  ask(build_GoPosition(2.5, 0, 0.15, 1));
  const auto found = answer<CallATRCompensationRT>(build_CallATRCompensation(AM_OnAxis));
  EXPECT_NEAR(found.dZeroPixelX, factory, 5 * found.dStdDevZeroPixelX);
  EXPECT_NE(double{found.dZeroPixelX}, factory);
  EXPECT_NEAR(found.dDistance, std::hypot(2.5, 0.15), 1e-9);
  EXPECT_NEAR(answer<CallATRCompensationRT>(current).dZeroPixelX, found.dZeroPixelX, 0);
  ask(build_PointLaser(2, 2, 0));
  EXPECT_EQ(status(build_CallATRCompensation(AM_WideAngle)), VL_RS_NoDistanceSet);
}

}  // namespace
}  // namespace kestrine::simulator
